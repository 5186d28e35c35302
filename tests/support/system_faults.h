// Makes calls of the system fail on purpose, for programs that link the library statically with -Wl,--wrap for each
// of the functions named in system_faults.cpp. It works as alloc_faults.h does: the first, second, third ... call of
// a body fails, once by itself and once with all that follow, until a run in which none failed.
#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <string>

class SystemFaults {
  public:
    enum Mode { kTransient, kPersistent };

    SystemFaults(size_t nth, Mode mode, int reason) : nth_(nth), mode_(mode), reason_(reason) {}
    ~SystemFaults() { disarm(); }
    SystemFaults(const SystemFaults&) = delete;
    SystemFaults& operator=(const SystemFaults&) = delete;

    // Calls of this thread fail from here on, as the sweep has it. With a function, only its calls count.
    void arm(const char* function = nullptr);
    void disarm();
    // Calls of this function fail as well, always, for a reason of their own.
    void fail_also(const char* function, int reason);
    // The functions that have failed.
    const std::set<std::string>& fired() const { return fired_; }
    Mode mode() const { return mode_; }

    // Asked by the wrapped functions: whether this call is to fail, and why (0: it is not).
    int reason_to_fail(const char* function);

  private:
    size_t nth_;
    Mode mode_;
    int reason_;
    const char* only_ = nullptr;
    const char* also_ = nullptr;
    int also_reason_ = 0;
    size_t seen_ = 0;
    std::set<std::string> fired_;
};

// Runs the body with each of its calls failing, for each of some reasons (EINTR, EIO, ENOMEM, EMFILE, ENOSPC).
// Returns the functions that have failed.
std::set<std::string> SweepSystemCalls(const std::function<void(SystemFaults&)>& body);
