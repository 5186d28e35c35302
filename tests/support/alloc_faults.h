// Makes allocations fail on purpose, and counts live blocks, for programs that link the library statically
// with -Wl,--wrap=malloc,--wrap=calloc,--wrap=realloc,--wrap=free,--wrap=strdup (and _strdup on Windows):
// every call of these functions in the library and in the tests goes through here, while the C library's
// own inner allocations do not. Works on Linux, with the sanitizers, and on Windows.
//
//   SweepAllocations([&](AllocFaults& faults) {
//       Thing before = ...;                        // prepared with the faults off
//       faults.arm();                              // the nth allocation from here on fails
//       i32 status = wiq_thing_grow(&thing);
//       faults.disarm();
//       if (faults.fired()) { EXPECT_EQ(status, WIQ_ERR_NO_MEMORY); /* and unchanged state */ }
//       else { EXPECT_EQ(status, 0); }
//       wiq_thing_finalize(&thing);                // blocks still live after the body are a leak
//   });
//
// The body runs with the 1st, 2nd, 3rd ... allocation failing, once with that one alone failing
// (transient) and once with it and all after it failing (persistent), until a run in which none fired.
// Each run is checked for leaks. SweepAllocations returns the number of failure points covered.
#pragma once

#include <cstddef>
#include <functional>

class AllocFaults {
  public:
    enum Mode { kTransient, kPersistent };

    AllocFaults(size_t nth, Mode mode) : nth_(nth), mode_(mode) {}
    void arm();
    void disarm();
    bool fired() const { return fired_; }
    size_t nth() const { return nth_; }
    Mode mode() const { return mode_; }

    // Asked by the wrapped functions: whether this allocation is to fail.
    bool should_fail();

  private:
    size_t nth_;
    Mode mode_;
    size_t seen_ = 0;
    bool fired_ = false;
};

// Called before every allocation of a thread that has armed faults, unless it is nullptr: for what only another
// thread could do in the middle of a call otherwise.
extern void (*g_on_allocation)();

// malloc() that no armed faults make fail; the block is counted.
void* malloc_without_fault(size_t size);

// Blocks that the wrapped functions have handed out and not yet got back.
long live_blocks();
// The same in bytes, as the runtime rounds them.
long live_bytes();

// While it is true, libuv makes no mutexes. Has no effect on Windows, where its DLL is out of reach.
extern bool g_fail_mutex_init;

// Runs the body as described above; `limit` bounds the number of failure points (a body that never runs
// free of faults fails the test).
size_t SweepAllocations(const std::function<void(AllocFaults&)>& body, size_t limit = 100000);
