// A start line at which threads wait for each other, once, so that they begin together. std::barrier would
// do, but with libstdc++ 12 for Windows a thread occasionally never wakes up (seen under Wine).
#pragma once

#include <atomic>
#include <thread>

class StartLine {
  public:
    explicit StartLine(int threads) : missing_(threads) {}

    // Returns when the expected number of threads have called it.
    void arrive_and_wait() {
        --missing_;
        while (missing_ > 0)
            std::this_thread::yield();
    }

  private:
    std::atomic<int> missing_;
};
