// Makes allocations fail on purpose and counts live blocks. It is for programs that link the library
// statically with -Wl,--wrap=malloc,--wrap=calloc,--wrap=realloc,--wrap=free,--wrap=strdup (and _strdup on
// Windows). All calls of these functions in the library and in the tests then go through here; allocations
// inside the C library do not. Works on Linux, also with the sanitizers, and on Windows.
//
//   SweepAllocations([&](AllocFaults& faults) {
//       Thing before = ...;                        // prepared before the faults are armed
//       faults.arm();                              // the nth allocation from here on fails
//       i32 status = wiq_thing_grow(&thing);
//       faults.disarm();
//       if (faults.fired()) { EXPECT_EQ(status, WIQ_ERR_NO_MEMORY); /* and unchanged state */ }
//       else { EXPECT_EQ(status, 0); }
//       wiq_thing_finalize(&thing);                // blocks that are live after the body are leaks
//   });
//
// The body runs with the 1st, 2nd, 3rd ... allocation failing, once with only that one failing (transient)
// and once with all later ones failing, too (persistent), until a run in which none failed. Each run is
// checked for leaks. SweepAllocations returns the number of failure points covered.
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

    // Called by the wrapped functions; returns whether this allocation must fail.
    bool should_fail();

  private:
    size_t nth_;
    Mode mode_;
    size_t seen_ = 0;
    bool fired_ = false;
};

// If set, is called before every allocation of a thread that has armed faults. A test uses it to do, in the
// middle of a call, what otherwise only another thread could do.
extern void (*g_on_allocation)();

// Like malloc(), but never fails because of armed faults. The block is counted.
void* malloc_without_fault(size_t size);

// Returns the number of blocks that the wrapped functions have allocated and not yet freed.
long live_blocks();
// As above, in bytes, as rounded by the runtime.
long live_bytes();
// The most bytes that were live at the same time since begin_peak(). While a block is reallocated, the old and
// the new one both count, as if it had to be copied.
long peak_bytes();
void begin_peak();

// While this is true, libuv fails to initialise mutexes.
extern bool g_fail_mutex_init;

// Runs the body as described above. `limit` bounds the number of failure points: a body that has faults in
// every run fails the test.
size_t SweepAllocations(const std::function<void(AllocFaults&)>& body, size_t limit = 100000);
