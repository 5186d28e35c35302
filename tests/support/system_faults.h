// Makes system calls fail on purpose, for programs that link the library statically with -Wl,--wrap for each
// of the functions in system_calls.h. It works like alloc_faults.h: the first, second, third ...
// call in a body fails, once alone and once with all later ones, until a run in which none failed.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>

class SystemFaults {
  public:
    enum Mode { kTransient, kPersistent };

    SystemFaults(size_t nth, Mode mode, int reason) : nth_(nth), mode_(mode), reason_(reason) {}
    ~SystemFaults() { disarm(); }
    SystemFaults(const SystemFaults&) = delete;
    SystemFaults& operator=(const SystemFaults&) = delete;

    // From here on, calls of this thread fail as the sweep demands. If a function is given, only its calls
    // count.
    void arm(const char* function = nullptr);
    void disarm();
    // In addition, every call of this function fails, for the given reason.
    void fail_also(const char* function, int reason);
    // The functions that have failed.
    const std::set<std::string>& fired() const { return fired_; }
    Mode mode() const { return mode_; }

    // Called by the wrapped functions; returns the reason why this call must fail, or 0 if it must not.
    int reason_to_fail(const char* function);

  private:
    size_t nth_;
    Mode mode_;
    int reason_;
    const char* only_ = nullptr;
    std::map<std::string, int> also_;
    size_t seen_ = 0;
    std::set<std::string> fired_;
};

// Runs the body with each of its calls failing, for each of several reasons (EINTR, EIO, ENOMEM, EMFILE,
// ENOSPC). Returns the functions that have failed.
std::set<std::string> SweepSystemCalls(const std::function<void(SystemFaults&)>& body);
