// Instances and class records of sizes beyond 31 and 32 bits.
#include "ke_utils/object.h"
#include "large/large_test.h"

namespace {

class ObjectLarge : public Large {};

size_t g_size = 0;
bool g_finalized = false;

char* last_byte(void* record) {
    return static_cast<char*>(record) + g_size - 1;
}

// The type and its class record live as long as the process.
TEST(ObjectLargeTypes, InstancesAndClassRecords) {
    static WiqType types[2] = {};
    WiqType* type = types;
    for (const size_t size : kLarge) {
        SCOPED_TRACE(size);
        g_size = size;
        g_finalized = false;
        type->name = "Large";
        type->instance_size = size;
        type->class_size = size;
        type->class_init = [](WiqClass* klass) {
            EXPECT_EQ(*last_byte(klass), 0);
            *last_byte(klass) = 'c';
            return 0;
        };
        type->instance_init = [](WiqObject* object) {
            EXPECT_EQ(*last_byte(object), 0);
            *last_byte(object) = 'i';
            return 0;
        };
        type->instance_finalize = [](WiqObject* object) {
            g_finalized = *last_byte(object) == 'i';
        };
        ASSERT_EQ(type_init(type, &ObjectType), 0);
        WiqObject* object = object_new(type);
        ASSERT_NE(object, nullptr);
        EXPECT_EQ(*last_byte(object), 'i');
        EXPECT_EQ(*last_byte(object_get_class(object)), 'c');
        object_unref(object);
        EXPECT_TRUE(g_finalized);
        ++type;
    }
}

}  // namespace
