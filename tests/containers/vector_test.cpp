// Tests of the vector: sizes and capacities step by step, the order of construction and destruction, indexes,
// and reference counts.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <thread>
#include <vector>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"

namespace {

// The addresses for which the callbacks were called, in order.
std::vector<void*> g_made;
std::vector<void*> g_dropped;

void make(void* elem) {
    g_made.push_back(elem);
    *static_cast<int*>(elem) = 7;
}

void drop(void* elem) {
    g_dropped.push_back(elem);
}

class Vector : public testing::Test {
  protected:
    void SetUp() override {
        g_made.clear();
        g_dropped.clear();
    }

    // Returns a vector of ints with the values 0 .. size-1.
    static wiq_vector counted(i32 size) {
        wiq_vector vec;
        EXPECT_EQ(wiq_vector_init(&vec, sizeof(int), size, nullptr, nullptr), 0);
        for (int i = 0; i < size; ++i)
            *static_cast<int*>(wiq_vector_get(&vec, i)) = i;
        return vec;
    }

    static std::vector<void*> addresses(const wiq_vector& vec, std::vector<i32> indexes) {
        std::vector<void*> list;
        for (i32 index : indexes)
            list.push_back(static_cast<int*>(vec.data) + index);
        return list;
    }
};

TEST_F(Vector, RecordLayout) {
    EXPECT_EQ(offsetof(wiq_vector, elem_size), 0u);
    EXPECT_EQ(offsetof(wiq_vector, capacity), 8u);
    EXPECT_EQ(offsetof(wiq_vector, size), 12u);
    EXPECT_EQ(offsetof(wiq_vector, init_cb), 16u);
    EXPECT_EQ(offsetof(wiq_vector, free_cb), 24u);
    EXPECT_EQ(offsetof(wiq_vector, data), 32u);
    EXPECT_EQ(offsetof(wiq_vector, refcount), 40u);
    EXPECT_EQ(sizeof(wiq_vector), 48u);
}

TEST_F(Vector, InitConstructsItsFirstElements) {
    wiq_vector vec;
    ASSERT_EQ(wiq_vector_init(&vec, sizeof(int), 3, make, drop), 0);
    EXPECT_EQ(vec.size, 3);
    EXPECT_EQ(vec.capacity, 3);
    EXPECT_EQ(vec.elem_size, sizeof(int));
    EXPECT_EQ(vec.refcount, 1);
    EXPECT_EQ(g_made, addresses(vec, {0, 1, 2}));
    const std::vector<void*> last_first = addresses(vec, {2, 1, 0});
    EXPECT_EQ(wiq_vector_finalize(&vec), 0);
    EXPECT_EQ(g_dropped, last_first);
}

TEST_F(Vector, InitEmptyHoldsNoBlock) {
    wiq_vector vec;
    memset(&vec, 0xAA, sizeof(vec));
    ASSERT_EQ(wiq_vector_init(&vec, 1, 0, make, drop), 0);
    EXPECT_EQ(vec.size, 0);
    EXPECT_EQ(vec.capacity, 0);
    EXPECT_EQ(vec.data, nullptr);
    EXPECT_EQ(vec.init_cb, make);
    EXPECT_EQ(vec.free_cb, drop);
    EXPECT_EQ(vec.refcount, 1);
}

TEST_F(Vector, InitRefusesBadArguments) {
    wiq_vector vec;
    EXPECT_EQ(wiq_vector_init(nullptr, 4, 0, nullptr, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_vector_init(&vec, 4, -1, nullptr, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_vector_init(&vec, 0, 0, nullptr, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_vector_new(0, 0, nullptr, nullptr), nullptr);
    EXPECT_EQ(wiq_vector_new(4, -1, nullptr, nullptr), nullptr);
}

TEST_F(Vector, PushDoublesTheCapacity) {
    wiq_vector vec = counted(0);
    std::vector<i32> capacities;
    for (int i = 0; i < 9; ++i) {
        void* elem = wiq_vector_push(&vec);
        ASSERT_NE(elem, nullptr);
        EXPECT_EQ(elem, wiq_vector_get(&vec, -1));
        *static_cast<int*>(elem) = i;
        capacities.push_back(vec.capacity);
    }
    EXPECT_EQ(capacities, (std::vector<i32>{1, 2, 4, 4, 8, 8, 8, 8, 16}));
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(*static_cast<int*>(wiq_vector_get(&vec, i)), i);
    wiq_vector_finalize(&vec);
    EXPECT_EQ(wiq_vector_push(nullptr), nullptr);
}

TEST_F(Vector, ResizeTakesTheLargerOfSizeAndDouble) {
    struct Row {
        i32 from, to, capacity;
    };
    for (const Row& row : {Row{4, 5, 8}, Row{4, 100, 100}, Row{4, 4, 4}, Row{4, 2, 4}, Row{4, 0, 4},
                           Row{0, 3, 3}, Row{1, 2, 2}}) {
        wiq_vector vec = counted(row.from);
        EXPECT_EQ(wiq_vector_resize(&vec, row.to), 0);
        EXPECT_EQ(vec.size, row.to);
        EXPECT_EQ(vec.capacity, row.capacity) << row.from << " to " << row.to;
        wiq_vector_finalize(&vec);
    }
}

TEST_F(Vector, ResizeConstructsUpwardsAndDestroysDownwards) {
    wiq_vector vec;
    ASSERT_EQ(wiq_vector_init(&vec, sizeof(int), 2, make, drop), 0);
    g_made.clear();
    EXPECT_EQ(wiq_vector_resize(&vec, 5), 0);
    EXPECT_EQ(g_made, addresses(vec, {2, 3, 4}));
    EXPECT_EQ(wiq_vector_resize(&vec, 1), 0);
    EXPECT_EQ(g_dropped, addresses(vec, {4, 3, 2, 1}));
    wiq_vector_finalize(&vec);
}

TEST_F(Vector, ResizeRefusesBadArguments) {
    wiq_vector vec = counted(2);
    EXPECT_EQ(wiq_vector_resize(nullptr, 1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_vector_resize(&vec, -1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(vec.size, 2);
    wiq_vector_finalize(&vec);
}

TEST_F(Vector, ImpossibleGrowthIsRefused) {
    wiq_vector vec;
    ASSERT_EQ(wiq_vector_init(&vec, UINT64_MAX / 2, 0, nullptr, nullptr), 0);
    EXPECT_EQ(wiq_vector_resize(&vec, 3), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(wiq_vector_extra_capacity(&vec, 3), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(wiq_vector_push(&vec), nullptr);
    EXPECT_EQ(vec.size, 0);
    EXPECT_EQ(vec.capacity, 0);
    EXPECT_EQ(vec.data, nullptr);
}

TEST_F(Vector, PopDestroysTheLastElements) {
    wiq_vector vec;
    ASSERT_EQ(wiq_vector_init(&vec, sizeof(int), 4, make, drop), 0);
    EXPECT_EQ(wiq_vector_pop(&vec, 0), 0);
    EXPECT_EQ(vec.size, 4);
    EXPECT_EQ(wiq_vector_pop(&vec, 2), 0);
    EXPECT_EQ(g_dropped, addresses(vec, {3, 2}));
    EXPECT_EQ(wiq_vector_pop(&vec, 3), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_vector_pop(&vec, -1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_vector_pop(nullptr, 0), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(vec.size, 2);
    EXPECT_EQ(vec.capacity, 4);
    wiq_vector_finalize(&vec);
}

TEST_F(Vector, GetCountsFromBothEnds) {
    wiq_vector vec = counted(5);
    struct Row {
        i32 index;
        int value;  // -1 means no element
    };
    for (const Row& row : {Row{0, 0}, Row{4, 4}, Row{5, -1}, Row{-1, 4}, Row{-5, 0}, Row{-6, -1},
                           Row{INT32_MAX, -1}, Row{INT32_MIN, -1}}) {
        const void* elem = wiq_vector_get(&vec, row.index);
        EXPECT_EQ(wiq_vector_get_const(&vec, row.index), elem);
        if (row.value < 0)
            EXPECT_EQ(elem, nullptr) << row.index;
        else
            EXPECT_EQ(*static_cast<const int*>(elem), row.value) << row.index;
    }
    wiq_vector_finalize(&vec);
    for (i32 index : {0, 1, -1})
        EXPECT_EQ(wiq_vector_get(&vec, index), nullptr);
    EXPECT_EQ(wiq_vector_get(nullptr, 0), nullptr);
    EXPECT_EQ(wiq_vector_get_const(nullptr, 0), nullptr);
}

TEST_F(Vector, SizeOfNullIsAStatus) {
    wiq_vector vec = counted(3);
    EXPECT_EQ(wiq_vector_size(&vec), 3);
    wiq_vector_finalize(&vec);
    EXPECT_EQ(wiq_vector_size(&vec), 0);
    EXPECT_EQ(wiq_vector_size(nullptr), -7000);
}

TEST_F(Vector, ExtraCapacityIsExact) {
    wiq_vector vec = counted(3);
    EXPECT_EQ(wiq_vector_extra_capacity(&vec, 7), 0);
    EXPECT_EQ(vec.capacity, 10);
    EXPECT_EQ(wiq_vector_extra_capacity(&vec, 0), 0);
    EXPECT_EQ(vec.capacity, 3);
    EXPECT_EQ(vec.size, 3);
    EXPECT_EQ(*static_cast<int*>(wiq_vector_get(&vec, 2)), 2);
    EXPECT_EQ(wiq_vector_extra_capacity(&vec, -1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_vector_extra_capacity(nullptr, 0), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_vector_extra_capacity(&vec, INT32_MAX), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(vec.capacity, 3);
    EXPECT_EQ(wiq_vector_resize(&vec, 0), 0);
    EXPECT_EQ(wiq_vector_extra_capacity(&vec, 0), 0);
    EXPECT_EQ(vec.capacity, 0);
    EXPECT_EQ(vec.data, nullptr);
}

TEST_F(Vector, FinalizeLeavesAnEmptyUsableVector) {
    wiq_vector vec;
    ASSERT_EQ(wiq_vector_init(&vec, sizeof(int), 2, make, drop), 0);
    EXPECT_EQ(wiq_vector_finalize(&vec), 0);
    EXPECT_EQ(vec.size, 0);
    EXPECT_EQ(vec.capacity, 0);
    EXPECT_EQ(vec.data, nullptr);
    EXPECT_EQ(vec.elem_size, sizeof(int));
    EXPECT_EQ(vec.init_cb, make);
    EXPECT_NE(wiq_vector_push(&vec), nullptr);
    EXPECT_EQ(wiq_vector_finalize(&vec), 0);
    EXPECT_EQ(wiq_vector_finalize(nullptr), WIQ_ERR_INVALID_ARG);
}

TEST_F(Vector, UnrefDestroysWithTheLastOwner) {
    wiq_vector* vec = wiq_vector_new(sizeof(int), 3, nullptr, drop);
    ASSERT_NE(vec, nullptr);
    EXPECT_EQ(vec->refcount, 1);
    wiq_vector_ref(vec);
    EXPECT_EQ(vec->refcount, 2);
    wiq_vector_unref(vec);
    EXPECT_TRUE(g_dropped.empty());
    const std::vector<void*> last_first = addresses(*vec, {2, 1, 0});
    wiq_vector_unref(vec);
    EXPECT_EQ(g_dropped, last_first);
}

TEST_F(Vector, DeleteIgnoresTheCount) {
    wiq_vector* vec = wiq_vector_new(sizeof(int), 1, nullptr, drop);
    wiq_vector_ref(vec);
    wiq_vector_delete(vec);
    EXPECT_EQ(g_dropped.size(), 1u);
    wiq_vector_delete(nullptr);
}

// --- Callbacks that change their vector ------------------------------------------------------------------

wiq_vector* g_vec;

void take_and_give_up(void* elem) {
    wiq_vector_ref(g_vec);
    wiq_vector_unref(g_vec);
    g_dropped.push_back(elem);
}

TEST_F(Vector, CallbacksMayTakeAndReleaseAReference) {
    using End = void (*)(wiq_vector*);
    for (const End end : {End{wiq_vector_unref}, End{wiq_vector_delete}}) {
        g_dropped.clear();
        g_vec = wiq_vector_new(sizeof(int), 0, nullptr, take_and_give_up);
        ASSERT_NE(g_vec, nullptr);
        g_vec->init_cb = take_and_give_up;
        ASSERT_EQ(wiq_vector_resize(g_vec, 5), 0);
        ASSERT_EQ(wiq_vector_pop(g_vec, 2), 0);
        EXPECT_EQ(g_vec->refcount, 1);
        EXPECT_EQ(g_dropped.size(), 7u);
        end(g_vec);
        EXPECT_EQ(g_dropped.size(), 10u) << "each element goes once";
    }
}

// This is not allowed, but detected: the walk over the elements stops, and nothing outside the block is
// touched.
TEST_F(Vector, ACallbackThatChangesTheVectorIsDetected) {
    const wiq_vector_elem_fn changes[] = {
        [](void*) {
            g_vec->init_cb = nullptr;
            g_vec->free_cb = nullptr;
            EXPECT_EQ(wiq_vector_finalize(g_vec), 0);
        },
        [](void*) {
            g_vec->init_cb = nullptr;
            g_vec->free_cb = nullptr;
            EXPECT_EQ(wiq_vector_resize(g_vec, 1), 0);
            EXPECT_EQ(wiq_vector_extra_capacity(g_vec, 0), 0);
        },
    };
    for (const wiq_vector_elem_fn change : changes) {
        const i32 size_after = change == changes[0] ? 0 : 1;
        wiq_vector vec = counted(3);
        g_vec = &vec;
        vec.init_cb = change;
        EXPECT_EQ(wiq_vector_resize(&vec, 6), WIQ_ERR_FAILED);
        EXPECT_EQ(vec.size, size_after);
        EXPECT_EQ(vec.capacity, size_after);
        EXPECT_EQ(wiq_vector_finalize(&vec), 0);

        vec = counted(3);
        vec.init_cb = change;
        EXPECT_EQ(wiq_vector_push(&vec), nullptr);
        EXPECT_EQ(vec.size, size_after);
        EXPECT_EQ(wiq_vector_finalize(&vec), 0);

        using Shrink = i32 (*)(wiq_vector*);
        for (const Shrink shrink : {Shrink{[](wiq_vector* v) { return wiq_vector_resize(v, 0); }},
                                    Shrink{[](wiq_vector* v) { return wiq_vector_pop(v, 2); }},
                                    Shrink{wiq_vector_finalize}}) {
            vec = counted(3);
            vec.free_cb = change;
            EXPECT_EQ(shrink(&vec), WIQ_ERR_FAILED);
            EXPECT_EQ(vec.size, size_after);
            EXPECT_EQ(vec.capacity, size_after);
            EXPECT_EQ(wiq_vector_finalize(&vec), 0);
        }
    }
}

TEST(VectorThreads, OwnersOnEightThreads) {
    g_dropped.clear();
    wiq_vector* vec = wiq_vector_new(sizeof(int), 4, nullptr, drop);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        wiq_vector_ref(vec);
        threads.emplace_back([vec] {
            for (int k = 0; k < 1000; ++k) {
                wiq_vector_ref(vec);
                wiq_vector_unref(vec);
            }
            wiq_vector_unref(vec);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(vec->refcount, 1);
    wiq_vector_unref(vec);
    EXPECT_EQ(g_dropped.size(), 4u);
}

}  // namespace
