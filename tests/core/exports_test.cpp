// Tests of exported names as the system's loader sees them: the order of the slots in memory, their contents
// when the library is loaded, and functions that have two names. A program's own view could hide all of that,
// because a linker may give it copies of data and thunks for functions.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ke_utils/core.h"

namespace {

using Names = std::vector<std::string>;

class Library {
  public:
    Library() { loaded_ = wiq_dlopen_real(KE_TEST_LIBRARY, &lib_) == 0; }
    ~Library() {
        if (loaded_)
            wiq_dlclose_real(&lib_);
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    void* address(const std::string& name) {
        void* symbol = nullptr;
        if (loaded_)
            wiq_dlsym_real(&lib_, name.c_str(), &symbol);
        return symbol;
    }

  private:
    wiq_lib lib_ = {};
    bool loaded_ = false;
};

const Names kEntryPoints = {"wiq_sleep_real",  "wiq_time_real",    "wiq_gmtime_real",
                            "wiq_dlopen_real", "wiq_dlclose_real", "wiq_dlsym_real"};

// Whether each slot held the function of its name when this program started, before any test replaced one.
std::vector<bool> held_at_load() {
    Library library;
    std::vector<bool> held;
    for (const std::string& name : kEntryPoints) {
        void* const* slot = static_cast<void* const*>(library.address(name + "_ptr"));
        held.push_back(slot != nullptr && *slot != nullptr && *slot == library.address(name));
    }
    return held;
}
const std::vector<bool> kHeldAtLoad = held_at_load();

TEST(Exports, EntryPointSlotsHoldTheFunctionsOfTheirNames) {
    EXPECT_EQ(kHeldAtLoad, std::vector<bool>(kEntryPoints.size(), true));
}

void expect_ascending(const Names& names) {
    Library library;
    uintptr_t before = 0;
    for (const std::string& name : names) {
        const auto place = reinterpret_cast<uintptr_t>(library.address(name));
        ASSERT_NE(place, 0u) << name;
        EXPECT_GT(place, before) << name;
        before = place;
    }
}

TEST(Exports, HookSlotsLieInTheirOrder) {
    expect_ascending({"wiq_malloc_pre_cb", "wiq_malloc_post_cb", "wiq_realloc_pre_cb",
                      "wiq_realloc_post_cb", "wiq_aligned_alloc_pre_cb",
                      "wiq_aligned_alloc_post_cb", "wiq_free_cb", "wiq_aligned_free_cb",
                      "wiq_alloc_track_pause_cb", "wiq_alloc_track_resume_cb"});
}

TEST(Exports, EntryPointSlotsLieInTheirOrder) {
    Names slots;
    for (const std::string& name : kEntryPoints)
        slots.push_back(name + "_ptr");
    expect_ascending(slots);
}

TEST(Exports, OneFunctionUnderTwoNames) {
    Library library;
    ASSERT_NE(library.address("wiq_cmp_int"), nullptr);
    EXPECT_EQ(library.address("wiq_cmp_ptr"), library.address("wiq_cmp_int"));
    ASSERT_NE(library.address("wiq_vector_get"), nullptr);
    EXPECT_EQ(library.address("wiq_vector_get_const"), library.address("wiq_vector_get"));
    EXPECT_NE(library.address("wiq_cmp_str"), library.address("wiq_cmp_int"));
}

}  // namespace
