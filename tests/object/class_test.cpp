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

// A chain of three types: Base (adds a slot), Middle, Leaf (adds one more).
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

// New descriptors for each test. They are never freed, because the registry refers to them.
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
    static auto* families = new std::deque<Family>;  // never freed: the registry refers to them
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

// The record still names the parent while the base initialisers run, and the type itself afterwards.
std::vector<const WiqType*> g_types_seen;

i32 see_type(WiqClass* klass) {
    g_types_seen.push_back(klass->type);
    return 0;
}

TEST(Class, TheTypePointerIsThatOfTheParentUntilTheBaseInitialisersAreDone) {
    Family& family = new_family();
    family.base.class_init = see_type;
    family.base.class_base_init = see_type;
    family.middle.class_base_init = see_type;
    family.leaf.class_init = see_type;
    family.init();
    g_types_seen.clear();
    WiqObject* object = object_new(&family.leaf);
    ASSERT_NE(object, nullptr);
    // Base's own class; Middle's, a copy of Base's record; Leaf's, a copy of Middle's, twice; then Leaf
    // itself.
    EXPECT_EQ(g_types_seen, (std::vector<const WiqType*>{&family.base, &family.base, &family.middle,
                                                         &family.middle, &family.leaf}));
    EXPECT_EQ(family.middle.klass->type, &family.middle);
    object_unref(object);
}

TEST(Class, ATypePointerThatABaseInitialiserWroteIsReplaced) {
    Family& family = new_family();
    family.base.class_base_init = [](WiqClass* klass) {
        klass->type = nullptr;
        return 0;
    };
    family.init();
    WiqObject* object = object_new(&family.leaf);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->klass->type, &family.leaf);
    object_unref(object);
}

// --- Initialisers that make objects --------------------------------------------------------------------

Family* g_family;
std::vector<std::string> g_made;

void try_to_make(const char* name, WiqType* type) {
    WiqObject* object = object_new(type);
    g_made.push_back(std::string(name) + (object == nullptr ? " not" : ""));
    object_unref(object);
}

i32 make_each(WiqClass*) {
    try_to_make("object", &ObjectType);
    try_to_make("base", &g_family->base);
    try_to_make("middle", &g_family->middle);
    try_to_make("leaf", &g_family->leaf);
    return 0;
}

TEST(Class, InitialisersCanMakeObjectsOfFinishedClassesOnly) {
    struct Row {
        WiqClassInitFn WiqType::*initialiser;
        WiqType Family::*type;  // whose initialiser makes the objects
        Log made;
    };
    const Log nothing_yet = {"object", "base not", "middle not", "leaf not"};
    const Log base = {"object", "base", "middle not", "leaf not"};
    const Log but_the_leaf = {"object", "base", "middle", "leaf not"};
    Log all_base_inits = base;  // Base's runs for Middle's class, then for Leaf's
    all_base_inits.insert(all_base_inits.end(), but_the_leaf.begin(), but_the_leaf.end());
    for (const Row& row : {Row{&WiqType::class_init, &Family::base, nothing_yet},
                           Row{&WiqType::class_init, &Family::middle, base},
                           Row{&WiqType::class_init, &Family::leaf, but_the_leaf},
                           Row{&WiqType::class_base_init, &Family::base, all_base_inits},
                           Row{&WiqType::class_base_init, &Family::middle, but_the_leaf},
                           Row{&WiqType::class_base_init, &Family::leaf, {}}}) {
        Family& family = new_family();
        family.base.class_init = nullptr;
        family.base.class_base_init = nullptr;
        family.middle.class_base_init = nullptr;
        family.leaf.class_init = nullptr;
        family.*row.type.*row.initialiser = make_each;
        family.init();
        g_family = &family;
        g_made.clear();
        WiqObject* object = object_new(&family.leaf);
        EXPECT_NE(object, nullptr);
        EXPECT_EQ(g_made, row.made);
        for (const WiqType* type : {&family.base, &family.middle, &family.leaf})
            EXPECT_EQ(type->initialised, 1) << type->name;
        object_unref(object);
    }
}

// Two types whose initialisers make objects of each other: the second finds that the first is not ready.
TEST(Class, InitialisersThatNeedOneAnotherDoNotHang) {
    static WiqType first = {};
    static WiqType second = {};
    first.name = "First";
    first.class_init = [](WiqClass*) {
        try_to_make("second", &second);
        return 0;
    };
    second.name = "Second";
    second.class_init = [](WiqClass*) {
        try_to_make("first", &first);
        return 0;
    };
    ASSERT_EQ(type_init(&first, &ObjectType), 0);
    ASSERT_EQ(type_init(&second, &ObjectType), 0);
    g_made.clear();
    object_delete(object_new(&first));
    EXPECT_EQ(g_made, (Log{"first not", "second"}));
}

TEST(Class, InvalidTypesHaveNoClass) {
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
    EXPECT_EQ(object_new(&too_small.leaf), nullptr) << "a record smaller than its parent's";

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

i32 answer_two(WiqClass* klass) {
    reinterpret_cast<BaseClass*>(klass)->answer = two;
    return 0;
}

TEST(Class, SuperClassHoldsTheParentsImplementation) {
    Family& family = new_family();
    family.leaf.class_init = answer_two;
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

// While one thread runs the initialiser of a class, others request the class and wait for its lock; none of
// them builds it again.
std::atomic<int> g_waiting;

TEST(ClassThreads, WhoeverWaitedForTheLockFindsTheClassBuilt) {
    static WiqType type = {};
    type.name = "Slow";
    type.class_init = [](WiqClass*) {
        ++g_built;
        while (g_waiting < 8)
            std::this_thread::yield();
        // They have announced that they are about to request the class; give them time to do so.
        wiq_sleep_real(100);
        return 0;
    };
    ASSERT_EQ(type_init(&type, &ObjectType), 0);
    g_built = 0;
    g_waiting = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] {
            ++g_waiting;
            WiqObject* object = object_new(&type);
            EXPECT_NE(object, nullptr);
            object_unref(object);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(g_built, 1);
}

// A thread that finds the class built takes no lock. It must still see what the thread that built the class has
// written. The announcement is relaxed, so it does not order anything itself.
TEST(ClassThreads, ABuiltClassIsCompleteForEveryThread) {
    Family& family = new_family();
    family.leaf.class_init = answer_two;
    family.init();
    std::atomic<bool> built{false};
    std::thread reader([&family, &built] {
        while (!built.load(std::memory_order_relaxed))
            std::this_thread::yield();
        WiqObject* object = object_new(&family.leaf);
        EXPECT_EQ(reinterpret_cast<BaseClass*>(object_get_class(object))->answer(), 2);
        object_unref(object);
    });
    WiqObject* object = object_new(&family.leaf);
    built.store(true, std::memory_order_relaxed);
    reader.join();
    object_unref(object);
}

// A thread that holds a subtype's lock waits for the parent's class, whose initialiser, in another thread,
// requests an object of the subtype. There must be no deadlock.
TEST(ClassThreads, AnInitialiserThatAsksForASubtypeDoesNotHang) {
    static Family* family;
    static std::atomic<bool> in_initialiser;
    static std::atomic<bool> asking;
    static std::atomic<int> refused;
    family = &new_family();
    in_initialiser = false;
    asking = false;
    refused = 0;
    family->base.class_init = [](WiqClass*) {
        in_initialiser = true;
        while (!asking)
            std::this_thread::yield();
        wiq_sleep_real(100);  // until the other thread holds Leaf's lock and waits for this class
        refused += object_new(&family->leaf) == nullptr ? 1 : 0;
        return 0;
    };
    family->base.class_base_init = nullptr;
    family->middle.class_base_init = nullptr;
    family->leaf.class_init = nullptr;
    family->init();
    std::thread base([] { object_delete(object_new(&family->base)); });
    while (!in_initialiser)
        std::this_thread::yield();
    std::thread leaf([] {
        asking = true;
        WiqObject* object = object_new(&family->leaf);
        EXPECT_NE(object, nullptr);
        object_unref(object);
    });
    base.join();
    leaf.join();
    EXPECT_EQ(refused, 1);
}

}  // namespace
