// Tests of instances: initialisers run root first, finalisers most derived first; reference counts.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "ke_utils/core.h"
#include "ke_utils/json.h"
#include "ke_utils/object.h"

namespace {

std::vector<std::string> g_log;
std::string g_failing;

template <char kName>
i32 init(WiqObject* object) {
    g_log.push_back(std::string("init ") + kName);
    EXPECT_EQ(object->refcount, 1);
    EXPECT_NE(object->klass, nullptr);
    return g_failing == std::string(1, kName) ? -9 : 0;
}

template <char kName>
void finalize(WiqObject*) {
    g_log.push_back(std::string("finalize ") + kName);
}

struct Instance {
    WiqObject object;
    u64 fields[4];
};

template <char kName>
WiqType new_type() {
    WiqType type = {};
    type.name = "Tested";
    type.instance_init = init<kName>;
    type.instance_finalize = finalize<kName>;
    return type;
}

class Object : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        a_.instance_size = sizeof(Instance);
        ASSERT_EQ(type_init(&a_, &ObjectType), 0);
        ASSERT_EQ(type_init(&b_, &a_), 0);
        ASSERT_EQ(type_init(&c_, &b_), 0);
    }
    void SetUp() override {
        g_log.clear();
        g_failing.clear();
    }

    static WiqType a_, b_, c_;
};

WiqType Object::a_ = new_type<'a'>();
WiqType Object::b_ = new_type<'b'>();
WiqType Object::c_ = new_type<'c'>();

using Log = std::vector<std::string>;

TEST_F(Object, IsInitialisedFromTheRootAndFinalisedFromTheLeaf) {
    WiqObject* object = object_new(&c_);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(g_log, (Log{"init a", "init b", "init c"}));
    EXPECT_EQ(object->refcount, 1);
    EXPECT_EQ(object_get_class(object), c_.klass);
    for (u64 field : reinterpret_cast<Instance*>(object)->fields)
        EXPECT_EQ(field, 0u) << "an instance is zeroed";
    g_log.clear();
    object_unref(object);
    EXPECT_EQ(g_log, (Log{"finalize c", "finalize b", "finalize a"}));
}

TEST_F(Object, AFailingInitialiserSkipsTheRestAndAllFinalisers) {
    struct Row {
        const char* failing;
        Log log;
    };
    for (const Row& row : {Row{"a", {"init a"}}, Row{"b", {"init a", "init b"}},
                           Row{"c", {"init a", "init b", "init c"}}}) {
        g_log.clear();
        g_failing = row.failing;
        EXPECT_EQ(object_new(&c_), nullptr);
        EXPECT_EQ(g_log, row.log);
    }
}

TEST_F(Object, LivesAsLongAsItIsReferenced) {
    WiqObject* object = object_new(&a_);
    object_ref(object);
    EXPECT_EQ(object->refcount, 2);
    g_log.clear();
    object_unref(object);
    EXPECT_TRUE(g_log.empty());
    object_unref(object);
    EXPECT_EQ(g_log, (Log{"finalize a"}));
    object_unref(nullptr);
}

TEST_F(Object, DeleteIgnoresTheCount) {
    WiqObject* object = object_new(&a_);
    object_ref(object);
    g_log.clear();
    object_delete(object);
    EXPECT_EQ(g_log, (Log{"finalize a"}));
}

// Takes a reference in each finaliser and releases it there.
template <char kName>
void finalize_and_refer(WiqObject* object) {
    object_ref(object);
    finalize<kName>(object);
    object_unref(object);
}

TEST_F(Object, FinalisersMayTakeAndReleaseAReference) {
    static WiqType parent = new_type<'p'>();
    static WiqType child = new_type<'q'>();
    parent.instance_finalize = finalize_and_refer<'p'>;
    child.instance_finalize = finalize_and_refer<'q'>;
    ASSERT_EQ(type_init(&parent, &ObjectType), 0);
    ASSERT_EQ(type_init(&child, &parent), 0);
    for (void (*end)(WiqObject*) : {object_unref, object_delete}) {
        WiqObject* object = object_new(&child);
        ASSERT_NE(object, nullptr);
        g_log.clear();
        end(object);
        EXPECT_EQ(g_log, (Log{"finalize q", "finalize p"})) << "each runs once";
    }
}

TEST_F(Object, InitialisersMayTakeAndReleaseAReference) {
    static WiqType type = {};
    type.name = "Referring";
    type.instance_init = [](WiqObject* object) {
        object_ref(object);
        object_unref(object);
        return 0;
    };
    type.instance_finalize = finalize<'r'>;
    ASSERT_EQ(type_init(&type, &ObjectType), 0);
    WiqObject* object = object_new(&type);
    ASSERT_NE(object, nullptr);
    EXPECT_TRUE(g_log.empty());
    EXPECT_EQ(object->refcount, 1);
    object_unref(object);
    EXPECT_EQ(g_log, (Log{"finalize r"}));
}

TEST_F(Object, OfTheRootTypeIsOnlyAHeader) {
    WiqObject* object = object_new(&ObjectType);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object_get_class(object)->type, &ObjectType);
    object_unref(object);
    EXPECT_EQ(object_new(nullptr), nullptr);
}

TEST_F(Object, BuiltInVisitorsCanBeChecked) {
    u32 count = 0;
    WiqType** types = type_list(&count);
    ASSERT_GE(count, 4u);
    WiqObject* str_visitor = object_new(types[1]);
    WiqObject* expander = object_new(types[3]);
    ASSERT_NE(str_visitor, nullptr);
    ASSERT_NE(expander, nullptr);
    EXPECT_EQ(object_check(str_visitor, &WiqJsonVisitorType), str_visitor);
    EXPECT_EQ(object_check(expander, types[0]), nullptr);
    EXPECT_EQ(class_get_super_class(object_get_class(str_visitor), types[0]), types[0]->klass);
    object_unref(str_visitor);
    object_unref(expander);
}

struct Counter {
    WiqObject base;
    int value;
};

// Whoever releases the object sees what the other owners have changed. The announcement is relaxed, so it does not
// order anything itself.
TEST(ObjectThreads, TheLastOwnerSeesTheChangesOfTheOthers) {
    static int finalized_with;
    static WiqType type = {};
    type.name = "Counter";
    type.instance_size = sizeof(Counter);
    type.instance_finalize = [](WiqObject* object) {
        finalized_with = reinterpret_cast<Counter*>(object)->value;
    };
    ASSERT_EQ(type_init(&type, &ObjectType), 0);
    WiqObject* object = object_new(&type);
    ASSERT_NE(object, nullptr);
    object_ref(object);
    std::atomic<bool> left{false};
    std::thread other([object, &left] {
        reinterpret_cast<Counter*>(object)->value = 5;
        object_unref(object);
        left.store(true, std::memory_order_relaxed);
    });
    while (!left.load(std::memory_order_relaxed))
        std::this_thread::yield();
    object_unref(object);
    EXPECT_EQ(finalized_with, 5);
    other.join();
}

TEST(ObjectThreads, OwnersOnEightThreads) {
    WiqObject* object = object_new(&WiqJsonVisitorType);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        object_ref(object);
        threads.emplace_back([object] {
            for (int k = 0; k < 1000; ++k) {
                object_ref(object);
                object_unref(object);
            }
            object_unref(object);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(object->refcount, 1);
    object_unref(object);
}

}  // namespace
