// Vectors of as many elements as an i32 can count, and of more than 4 GiB.
#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "large/large_test.h"

namespace {

class VectorLarge : public Large {};

TEST_F(VectorLarge, AsManyElementsAsThereCanBe) {
    wiq_vector vec;
    ASSERT_EQ(wiq_vector_init(&vec, 1, 1 << 30, nullptr, nullptr), 0);
    // From here, doubling would overflow, and growing one by one to the largest size would take forever.
    EXPECT_NE(wiq_vector_push(&vec), nullptr);
    EXPECT_EQ(vec.capacity, INT32_MAX);
    while (wiq_vector_size(&vec) < INT32_MAX)
        *static_cast<char*>(wiq_vector_push(&vec)) = 'x';
    char* const data = static_cast<char*>(vec.data);
    EXPECT_EQ(wiq_vector_get(&vec, -1), data + INT32_MAX - 1);
    EXPECT_EQ(wiq_vector_get(&vec, INT32_MAX - 1), data + INT32_MAX - 1);
    EXPECT_EQ(wiq_vector_get(&vec, INT32_MAX), nullptr);
    EXPECT_EQ(wiq_vector_get(&vec, -INT32_MAX), data);
    EXPECT_EQ(wiq_vector_get(&vec, INT32_MIN), nullptr);
    EXPECT_EQ(data[INT32_MAX - 1], 'x');
    EXPECT_EQ(wiq_vector_push(&vec), nullptr);
    EXPECT_EQ(wiq_vector_extra_capacity(&vec, 1), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(wiq_vector_extra_capacity(&vec, INT32_MAX), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(wiq_vector_size(&vec), INT32_MAX);
    EXPECT_EQ(wiq_vector_pop(&vec, INT32_MAX), 0);
    EXPECT_EQ(wiq_vector_size(&vec), 0);
    wiq_vector_finalize(&vec);
}

TEST_F(VectorLarge, ElementsBeyondFourGibibytes) {
    wiq_vector vec;
    ASSERT_EQ(wiq_vector_init(&vec, 4, (1 << 30) + 2, nullptr, nullptr), 0);
    EXPECT_EQ(wiq_vector_get(&vec, -1), static_cast<char*>(vec.data) + k4G + 4);
    memset(wiq_vector_get(&vec, -1), 1, 4);
    ASSERT_EQ(wiq_vector_resize(&vec, (1 << 30) + 3), 0)
        << "grows from a capacity that cannot double";
    EXPECT_EQ(vec.capacity, INT32_MAX);
    EXPECT_EQ(*static_cast<i32*>(wiq_vector_get(&vec, 1 << 30 | 1)), 0x01010101);
    EXPECT_EQ(wiq_vector_extra_capacity(&vec, 0), 0);
    wiq_vector_finalize(&vec);
    // Elements of more than 4 GiB.
    ASSERT_EQ(wiq_vector_init(&vec, k4G + 5, 2, nullptr, nullptr), 0);
    EXPECT_EQ(wiq_vector_get(&vec, 1), static_cast<char*>(vec.data) + k4G + 5);
    EXPECT_EQ(wiq_vector_resize(&vec, INT32_MAX), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(wiq_vector_size(&vec), 2);
    wiq_vector_finalize(&vec);
}

// From a capacity of 2^62 on, four thirds of it overflow 64 bits; for multiples of 2^62 the result is 0.
TEST_F(VectorLarge, CapacitiesOfAMap) {
    const auto hash = [](const void*) { return u32{0}; };
    const auto equal = [](const void*, const void*) { return true; };
    for (const u64 capacity : {u64{1} << 60, u64{1} << 61, (u64{1} << 62) - 1, UINT64_MAX})
        EXPECT_EQ(wiq_map_new(capacity, hash, equal, nullptr, nullptr), nullptr) << capacity;
    for (const u64 capacity : {u64{1} << 62, u64{1} << 63}) {
        wiq_map* map = wiq_map_new(capacity, hash, equal, nullptr, nullptr);
        ASSERT_NE(map, nullptr) << capacity;
        EXPECT_EQ(map->bucket_count, 1u);
        wiq_map_unref(map);
    }
}

}  // namespace
