// Tests of class records: the order in which they are built, what fails, and threads that race to build one.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <deque>
#include <string>
#include <thread>
#include <vector>

#include "ke_utils/core.h"
#include "ke_utils/json.h"
#include "ke_utils/object.h"

namespace {

// A chain of three types of the tests' own: Base (adds a slot), Middle, Leaf (adds one more).
struct BaseClass {
    WiqClass base;
    int (*answer)();
};
struct LeafClass {
    BaseClass base;
    int (*extra)();
};

std::vector<std::string> g_log;
i32 g_fail_base_init;

int one() {
    return 1;
}
int two() {
    return 2;
}

i32 base_class_init(WiqClass* klass) {
    g_log.push_back("Base.class_init");
    reinterpret_cast<BaseClass*>(klass)->answer = one;
    return 0;
}
i32 base_class_base_init(WiqClass* klass) {
    g_log.push_back("Base.class_base_init");
    EXPECT_EQ(reinterpret_cast<BaseClass*>(klass)->answer, one)
        << "the parent's record is copied first";
    return 0;
}
i32 middle_class_base_init(WiqClass*) {
    g_log.push_back("Middle.class_base_init");
    return g_fail_base_init;
}
i32 leaf_class_init(WiqClass* klass) {
    g_log.push_back("Leaf.class_init");
    EXPECT_STREQ(klass->type->name, "Leaf") << "the type is set before";
    auto* leaf = reinterpret_cast<LeafClass*>(klass);
    EXPECT_EQ(leaf->extra, nullptr) << "the rest is zeroed";
    leaf->extra = two;
    return 0;
}

// Fresh descriptors for each test, kept for good: the registry refers to them.
struct Family {
    WiqType base = {};
    WiqType middle = {};
    WiqType leaf = {};

    Family() {
        base.name = "Base";
        base.class_size = sizeof(BaseClass);
        base.instance_size = 32;
        base.class_init = base_class_init;
        base.class_base_init = base_class_base_init;
        middle.name = "Middle";
        middle.class_base_init = middle_class_base_init;
        leaf.name = "Leaf";
        leaf.class_size = sizeof(LeafClass);
        leaf.class_init = leaf_class_init;
    }
    void init() {
        EXPECT_EQ(type_init(&base, &ObjectType), 0);
        EXPECT_EQ(type_init(&middle, &base), 0);
        EXPECT_EQ(type_init(&leaf, &middle), 0);
    }
};

Family& new_family() {
    static auto* families = new std::deque<Family>;  // for good: the registry refers to them
    g_log.clear();
    g_fail_base_init = 0;
    return families->emplace_back();
}

using Log = std::vector<std::string>;

TEST(Class, IsBuiltFromTheRootDown) {
    Family& family = new_family();
    family.init();
    WiqObject* object = object_new(&family.leaf);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(g_log, (Log{"Base.class_init", "Base.class_base_init", "Base.class_base_init",
                          "Middle.class_base_init", "Leaf.class_init"}));
    auto* leaf = reinterpret_cast<LeafClass*>(object_get_class(object));
    EXPECT_EQ(leaf->base.answer(), 1);
    EXPECT_EQ(leaf->extra(), 2);
    EXPECT_EQ(leaf->base.base.type, &family.leaf);
    EXPECT_EQ(family.leaf.klass, &leaf->base.base);
    object_unref(object);
}

TEST(Class, IsBuiltOnce) {
    Family& family = new_family();
    family.init();
    object_delete(object_new(&family.leaf));
    g_log.clear();
    object_delete(object_new(&family.leaf));
    object_delete(object_new(&family.middle));
    EXPECT_TRUE(g_log.empty());
}

TEST(Class, SizesComeFromTheNearestAncestorAndAreStored) {
    Family& family = new_family();
    family.init();
    object_delete(object_new(&family.leaf));
    EXPECT_EQ(family.middle.class_size, sizeof(BaseClass));
    EXPECT_EQ(family.middle.instance_size, 32u);
    EXPECT_EQ(family.leaf.class_size, sizeof(LeafClass));
    EXPECT_EQ(family.leaf.instance_size, 32u);
    EXPECT_EQ(ObjectType.instance_size, sizeof(WiqObject));
}

TEST(Class, AFailingBaseInitStopsTheBuild) {
    Family& family = new_family();
    family.init();
    g_fail_base_init = -9;
    EXPECT_EQ(object_new(&family.leaf), nullptr);
    EXPECT_EQ(family.leaf.klass, nullptr);
    EXPECT_NE(family.middle.klass, nullptr) << "a type's own base init is for its descendants";
    EXPECT_EQ(g_log.back(), "Middle.class_base_init");
    g_fail_base_init = 0;
    object_delete(object_new(&family.leaf));
    EXPECT_NE(family.leaf.klass, nullptr);
}

TEST(Class, AFailingClassInitStopsTheBuild) {
    Family& family = new_family();
    family.base.class_init = [](WiqClass*) { return -9; };
    family.init();
    EXPECT_EQ(object_new(&family.leaf), nullptr);
    EXPECT_EQ(family.base.klass, nullptr);
    EXPECT_EQ(family.leaf.klass, nullptr);
}

TEST(Class, MistakesOfATypesAuthorAreAnswered) {
    Family& uninitialised = new_family();
    uninitialised.leaf.parent = &uninitialised.base;
    EXPECT_EQ(object_new(&uninitialised.leaf), nullptr);

    Family& nameless = new_family();
    nameless.leaf.name = nullptr;
    nameless.init();
    EXPECT_EQ(object_new(&nameless.leaf), nullptr);

    static WiqType orphan = {};
    orphan.name = "Orphan";
    orphan.class_size = sizeof(WiqClass);
    orphan.instance_size = sizeof(WiqObject);
    EXPECT_EQ(type_init(&orphan, nullptr), 0);
    EXPECT_EQ(object_new(&orphan), nullptr);

    Family& too_small = new_family();
    too_small.leaf.class_size = sizeof(WiqClass);
    too_small.init();
    EXPECT_EQ(object_new(&too_small.leaf), nullptr) << "a record that cannot hold its parent's";

    Family& half = new_family();
    half.init();
    type_uninit(&half.base);
    EXPECT_EQ(object_new(&half.leaf), nullptr) << "an ancestor that is not initialised";
}

TEST(Class, CheckedCasts) {
    Family& family = new_family();
    family.init();
    WiqObject* object = object_new(&family.leaf);
    WiqClass* klass = object_get_class(object);
    for (const WiqType* type : {&family.leaf, &family.middle, &family.base, &ObjectType}) {
        EXPECT_EQ(class_check(klass, type), klass) << type->name;
        EXPECT_EQ(class_get_super_class(klass, type), type->klass) << type->name;
        EXPECT_EQ(object_get_super_class(object, type), type->klass) << type->name;
        EXPECT_EQ(object_check(object, type), object) << type->name;
    }
    EXPECT_EQ(class_check(klass, &WiqJsonVisitorType), nullptr);
    EXPECT_EQ(class_get_super_class(klass, &WiqJsonVisitorType), nullptr);
    EXPECT_EQ(object_check(object, &WiqJsonVisitorType), nullptr);
    EXPECT_EQ(class_check(nullptr, &ObjectType), nullptr);
    EXPECT_EQ(class_check(klass, nullptr), nullptr);
    EXPECT_EQ(class_get_super_class(nullptr, &ObjectType), nullptr);
    EXPECT_EQ(object_check(nullptr, &ObjectType), nullptr);
    EXPECT_EQ(object_check(object, nullptr), nullptr);
    EXPECT_EQ(object_get_super_class(nullptr, &ObjectType), nullptr);
    EXPECT_EQ(object_get_class(nullptr), nullptr);
    object_unref(object);
}

TEST(Class, SuperClassHoldsTheParentsImplementation) {
    Family& family = new_family();
    family.leaf.class_init = [](WiqClass* klass) {
        reinterpret_cast<BaseClass*>(klass)->answer = two;
        return 0;
    };
    family.init();
    WiqObject* object = object_new(&family.leaf);
    EXPECT_EQ(reinterpret_cast<BaseClass*>(object_get_class(object))->answer(), 2);
    EXPECT_EQ(reinterpret_cast<BaseClass*>(object_get_super_class(object, &family.base))->answer(),
              1);
    object_unref(object);
}

std::atomic<int> g_built;

TEST(ClassThreads, EightThreadsBuildOneClass) {
    for (int round = 0; round < 5; ++round) {
        Family& family = new_family();
        g_built = 0;
        const auto count = [](WiqClass*) {
            ++g_built;
            return 0;
        };
        family.base.class_init = count;
        family.base.class_base_init = nullptr;
        family.middle.class_base_init = nullptr;
        family.leaf.class_init = count;
        family.init();
        std::array<WiqObject*, 8> objects = {};
        std::vector<std::thread> threads;
        for (size_t i = 0; i < objects.size(); ++i) {
            WiqType* type = i % 2 == 0 ? &family.leaf : &family.middle;
            threads.emplace_back([&objects, i, type] { objects[i] = object_new(type); });
        }
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(g_built, 2);
        for (size_t i = 0; i < objects.size(); ++i) {
            ASSERT_NE(objects[i], nullptr);
            EXPECT_EQ(objects[i]->klass, (i % 2 == 0 ? family.leaf : family.middle).klass);
            object_unref(objects[i]);
        }
    }
}

}  // namespace
