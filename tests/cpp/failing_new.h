// Makes operator new fail as well, for sweeps of code that uses the standard library. In a program that
// contains failing_new.cpp, `new` takes all memory from malloc(), so live_blocks() counts it. While a
// FailingNew lives, `new` fails like the other functions (see alloc_faults.h).
#pragma once

class FailingNew {
  public:
    FailingNew() noexcept;
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;
    ~FailingNew();
};
