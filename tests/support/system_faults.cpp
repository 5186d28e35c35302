// See system_faults.h.
#include "support/system_faults.h"

#include <dirent.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "support/system_calls.h"

namespace {

thread_local SystemFaults* t_armed = nullptr;

// Returns the number of open descriptors.
size_t open_descriptors() {
    size_t count = 0;
    DIR* dir = opendir("/proc/self/fd");
    while (readdir(dir) != nullptr)
        ++count;
    closedir(dir);
    return count;
}

}  // namespace

int reason_to_fail(const char* function) {
    return t_armed == nullptr ? 0 : t_armed->reason_to_fail(function);
}

void SystemFaults::arm(const char* function) {
    only_ = function;
    t_armed = this;
}

void SystemFaults::disarm() {
    t_armed = nullptr;
}

void SystemFaults::fail_also(const char* function, int reason) {
    also_[function] = reason;
}

int SystemFaults::reason_to_fail(const char* function) {
    const auto also = also_.find(function);
    if (also != also_.end()) {
        fired_.insert(function);
        return also->second;
    }
    if (only_ != nullptr && strcmp(only_, function) != 0)
        return 0;
    ++seen_;
    const bool strike = mode_ == kTransient ? seen_ == nth_ : seen_ >= nth_;
    if (!strike)
        return 0;
    fired_.insert(function);
    return reason_;
}

std::set<std::string> SweepSystemCalls(const std::function<void(SystemFaults&)>& body) {
    constexpr size_t kLimit = 1000;
    std::set<std::string> all;
    for (int reason : {EINTR, EIO, ENOMEM, EMFILE, ENOSPC}) {
        for (SystemFaults::Mode mode : {SystemFaults::kTransient, SystemFaults::kPersistent}) {
            for (size_t nth = 1;; ++nth) {
                if (nth > kLimit) {
                    ADD_FAILURE() << "still failing at call " << nth;
                    return all;
                }
                SystemFaults faults(nth, mode, reason);
                const size_t before = open_descriptors();
                body(faults);
                faults.disarm();
                std::string names;
                for (const std::string& name : faults.fired())
                    names += " " + name;
                EXPECT_EQ(open_descriptors(), before) << "left open after" << names;
                if (testing::Test::HasFailure()) {
                    ADD_FAILURE() << (mode == SystemFaults::kTransient ? "only" : "from")
                                  << " call " << nth << " failing with " << strerror(reason) << ":"
                                  << names;
                    return all;
                }
                if (faults.fired().empty())
                    break;
                all.insert(faults.fired().begin(), faults.fired().end());
            }
        }
    }
    return all;
}
