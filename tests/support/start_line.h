// Where threads wait for each other, once, so that they begin together. std::barrier would do, but that of
// libstdc++ 12 for Windows leaves a thread asleep now and then (seen under Wine).
#pragma once

#include <atomic>
#include <thread>

class StartLine {
  public:
    explicit StartLine(int threads) : missing_(threads) {}

    // Returns when as many threads as were said have called it.
    void arrive_and_wait() {
        --missing_;
        while (missing_ > 0)
            std::this_thread::yield();
    }

  private:
    std::atomic<int> missing_;
};
