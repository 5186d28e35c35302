// Makes operator new fail as well, for sweeps of code that uses the standard library. A program that has
// failing_new.cpp in it takes all memory of `new` from malloc(), so that live_blocks() counts it; it is made to
// fail with the rest (alloc_faults.h) while a FailingNew lives.
#pragma once

class FailingNew {
  public:
    FailingNew() noexcept;
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;
    ~FailingNew();
};
