// Maps with keys beyond 31 and 32 bits.
#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "large/large_test.h"

namespace {

class MapLarge : public Large {};

// The keys differ only in their last bytes.
TEST_F(MapLarge, Keys) {
    for (const size_t size : kLarge) {
        SCOPED_TRACE(size);
        Text one(size, 'x');
        Text other(size, 'x');
        other.ending("y");
        int value = 0;
        wiq_map map;
        ASSERT_EQ(wiq_map_init(&map, 0, wiq_hash_str, wiq_cmp_str, nullptr, nullptr), 0);
        EXPECT_EQ(wiq_map_put(&map, one.data(), &value), 0);
        EXPECT_EQ(wiq_map_get(&map, one.data()), &value);
        EXPECT_TRUE(wiq_map_test_key(&map, one.data()));
        EXPECT_FALSE(wiq_map_test_key(&map, other.data()));
        EXPECT_EQ(wiq_map_put(&map, other.data(), &map), 0);
        EXPECT_EQ(wiq_map_get(&map, other.data()), &map);
        EXPECT_EQ(wiq_map_get(&map, one.data()), &value);
        EXPECT_EQ(wiq_map_get(&map, "x"), nullptr);
        EXPECT_EQ(wiq_map_size(&map), 2u);
        EXPECT_EQ(wiq_map_remove(&map, one.data()), &value);
        EXPECT_FALSE(wiq_map_test_key(&map, one.data()));
        wiq_map_finalize(&map);
    }
}

}  // namespace
