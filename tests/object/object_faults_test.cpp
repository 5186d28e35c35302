// Fails every allocation of the object system and of tagged values once.
#include <gtest/gtest.h>

#include <string>

#include "ke_utils/core.h"
#include "ke_utils/json.h"
#include "ke_utils/mtype.h"
#include "ke_utils/object.h"
#include "support/alloc_faults.h"

namespace {

TEST(StaticObject, BuiltInTypesAreRegisteredInTheStaticLibraryToo) {
    u32 count = 0;
    WiqType** types = type_list(&count);
    ASSERT_EQ(count, 6u);
    EXPECT_STREQ(types[0]->name, "JsonDumpVisitor");
    EXPECT_EQ(types[4], &WiqJsonVisitorType);
    EXPECT_EQ(types[5], &ObjectType);
}

// The first object makes the class records of the built-in types, which are kept and are not leaks.
TEST(ObjectFaults, NewReturnsNull) {
    object_delete(object_new(&WiqJsonVisitorType));
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        faults.arm();
        WiqObject* object = object_new(&WiqJsonVisitorType);
        faults.disarm();
        EXPECT_EQ(object == nullptr, faults.fired());
        object_unref(object);
    });
    EXPECT_EQ(points, 2u);
}

TEST(ObjectFaults, AFailedBuildLeavesNoPartialClass) {
    for (size_t nth = 1; nth <= 3; ++nth) {
        // Descriptors live as long as the registry.
        auto* parent = new WiqType{};  // NOLINT
        auto* child = new WiqType{};   // NOLINT
        parent->name = "Parent";
        child->name = "Child";
        ASSERT_EQ(type_init(parent, &ObjectType), 0);
        ASSERT_EQ(type_init(child, parent), 0);
        AllocFaults faults(nth, AllocFaults::kTransient);
        faults.arm();
        WiqObject* object = object_new(child);
        faults.disarm();
        EXPECT_TRUE(faults.fired());
        EXPECT_EQ(object, nullptr);
        // Allocated in this order: the child's record, the parent's, the instance.
        EXPECT_EQ(child->klass != nullptr, nth == 3);
        EXPECT_EQ(parent->klass != nullptr, nth == 3);
        object = object_new(child);
        EXPECT_NE(object, nullptr) << "a later try succeeds";
        object_unref(object);
    }
}

TEST(ObjectFaults, ATypeWithoutALockIsNotInitialised) {
    static WiqType type = {};
    type.name = "Lockless";
    u32 before = 0;
    type_list(&before);
    g_fail_mutex_init = true;
    EXPECT_EQ(type_init(&type, &ObjectType), WIQ_ERR_LOCK_INIT);
    g_fail_mutex_init = false;
    EXPECT_EQ(type.initialised, 0);
    u32 after = 0;
    type_list(&after);
    EXPECT_EQ(after, before);
    EXPECT_EQ(object_new(&type), nullptr);
    EXPECT_EQ(type_init(&type, &ObjectType), 0) << "a later try succeeds";
}

// A setter that fails clears the value, which can be set again.
void sweep_setter(i32 (*set)(wiq_mtype* value)) {
    const size_t points = SweepAllocations([set](AllocFaults& faults) {
        wiq_mtype value;
        wiq_mtype_init(&value);
        ASSERT_EQ(wiq_mtype_set_utf8(&value, "before", 1), 0);
        faults.arm();
        const i32 status = set(&value);
        faults.disarm();
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        EXPECT_EQ(wiq_mtype_set_int32(&value, 5), 0);
        EXPECT_EQ(wiq_mtype_finalize(&value), 0);
    });
    EXPECT_GE(points, 2u);
}

TEST(MtypeFaults, Setters) {
    static const std::string longer(70000, 'x');
    sweep_setter([](wiq_mtype* v) { return wiq_mtype_set_utf8(v, "text", 1); });
    sweep_setter([](wiq_mtype* v) { return wiq_mtype_set_uint128(v, {1, 2}); });
    sweep_setter([](wiq_mtype* v) { return wiq_mtype_set_blob(v, "text", 4, 1, 1); });
    sweep_setter(
        [](wiq_mtype* v) { return wiq_mtype_set_blob(v, longer.data(), longer.size(), 1, 1); });
    sweep_setter(
        [](wiq_mtype* v) { return wiq_mtype_set_blob(v, longer.data(), longer.size(), 0, 0); });
}

// Until a setter succeeds, the tag is unchanged, whatever it was, and nothing is owned.
TEST(MtypeFaults, TheTagStaysUntilASetterSucceeds) {
    static const std::string longer(70000, 'x');
    static wiq_mtype sources[3];
    for (wiq_mtype& source : sources)
        wiq_mtype_init(&source);
    wiq_mtype_set_utf8(&sources[0], "text", 0);
    wiq_mtype_set_uint128(&sources[1], {1, 2});
    wiq_mtype_set_blob(&sources[2], longer.data(), longer.size(), 0, 0);
    using Set = i32 (*)(wiq_mtype * value);
    const Set kinds[] = {
        [](wiq_mtype* v) { return wiq_mtype_set_null(v); },
        [](wiq_mtype* v) { return wiq_mtype_set_bool(v, 1); },
        [](wiq_mtype* v) { return wiq_mtype_set_int32(v, 1); },
        [](wiq_mtype* v) { return wiq_mtype_set_int64(v, 1); },
        [](wiq_mtype* v) { return wiq_mtype_set_uint32(v, 1); },
        [](wiq_mtype* v) { return wiq_mtype_set_uint64(v, 1); },
        [](wiq_mtype* v) {
            return wiq_mtype_set_uint128(v, {1, 1});
        },
        [](wiq_mtype* v) { return wiq_mtype_set_float(v, 1); },
        [](wiq_mtype* v) { return wiq_mtype_set_double(v, 1); },
        [](wiq_mtype* v) { return wiq_mtype_set_utf8(v, "own", 1); },
        [](wiq_mtype* v) { return wiq_mtype_set_blob(v, "own", 3, 1, 1); },
        [](wiq_mtype* v) { return wiq_mtype_set_ptr(v, v, 0); },
        [](wiq_mtype* v) { return wiq_mtype_set_status(v, -7); },
        [](wiq_mtype* v) { return wiq_mtype_set_blob(v, longer.data(), longer.size(), 1, 1); },
    };
    const Set setters[] = {
        [](wiq_mtype* v) { return wiq_mtype_set_utf8(v, "text", 1); },
        [](wiq_mtype* v) {
            return wiq_mtype_set_uint128(v, {1, 2});
        },
        [](wiq_mtype* v) { return wiq_mtype_set_blob(v, "text", 4, 1, 1); },
        [](wiq_mtype* v) { return wiq_mtype_set_blob(v, longer.data(), longer.size(), 1, 1); },
        [](wiq_mtype* v) { return wiq_mtype_set_blob(v, longer.data(), longer.size(), 0, 0); },
        [](wiq_mtype* v) { return wiq_mtype_copy(&sources[0], v); },
        [](wiq_mtype* v) { return wiq_mtype_copy(&sources[1], v); },
        [](wiq_mtype* v) { return wiq_mtype_copy(&sources[2], v); },
        [](wiq_mtype* v) { return wiq_mtype_copy_ref(&sources[2], v); },
    };
    size_t failures = 0;
    for (const Set kind : kinds) {
        for (const Set setter : setters) {
            SweepAllocations([kind, setter, &failures](AllocFaults& faults) {
                wiq_mtype value;
                wiq_mtype_init(&value);
                ASSERT_EQ(kind(&value), 0);
                const u8 before = value.type;
                faults.arm();
                const i32 status = setter(&value);
                faults.disarm();
                EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
                if (faults.fired()) {
                    ++failures;
                    EXPECT_EQ(value.type, before);
                    EXPECT_EQ(value.flags, 0);
                    EXPECT_EQ(value.blob_len, 0);
                }
                EXPECT_EQ(wiq_mtype_finalize(&value), 0);
            });
        }
    }
    // The last setters make two allocations, the others one; each fails at least once for each kind of value.
    EXPECT_GE(failures, std::size(kinds) * std::size(setters));
    wiq_mtype_finalize(&sources[1]);
    wiq_mtype_finalize(&sources[2]);
}

TEST(MtypeFaults, CopyOntoItselfNeedsNoMemory) {
    wiq_mtype value;
    wiq_mtype_init(&value);
    ASSERT_EQ(wiq_mtype_set_utf8(&value, "text", 1), 0);
    AllocFaults faults(1, AllocFaults::kPersistent);
    faults.arm();
    EXPECT_EQ(wiq_mtype_copy(&value, &value), 0);
    faults.disarm();
    EXPECT_STREQ(wiq_mtype_get_utf8(&value), "text");
    EXPECT_EQ(wiq_mtype_finalize(&value), 0);
}

TEST(MtypeFaults, Copies) {
    static const std::string longer(70000, 'x');
    static wiq_mtype source;
    for (int kind = 0; kind < 4; ++kind) {
        wiq_mtype_init(&source);
        if (kind == 0)
            wiq_mtype_set_utf8(&source, "text", 0);
        else if (kind == 1)
            wiq_mtype_set_uint128(&source, {1, 2});
        else
            wiq_mtype_set_blob(&source, longer.data(), kind == 2 ? 5 : longer.size(), 0, 0);
        sweep_setter([](wiq_mtype* v) { return wiq_mtype_copy(&source, v); });
        if (kind == 3)
            sweep_setter([](wiq_mtype* v) { return wiq_mtype_copy_ref(&source, v); });
        wiq_mtype_finalize(&source);
    }
}

TEST(MtypeFaults, ACellThatCouldNotBeAllocatedReadsAsZero) {
    wiq_mtype value;
    wiq_mtype_init(&value);
    ASSERT_EQ(wiq_mtype_set_uint128(&value, {1, 2}), 0);
    AllocFaults faults(1, AllocFaults::kTransient);
    faults.arm();
    EXPECT_EQ(wiq_mtype_set_uint128(&value, {3, 4}), WIQ_ERR_NO_MEMORY);
    faults.disarm();
    EXPECT_TRUE(wiq_mtype_is_uint128(&value));
    EXPECT_EQ(wiq_mtype_get_uint128(&value).lo, 0u);
    EXPECT_EQ(wiq_mtype_set_uint128(&value, {5, 6}), 0);
    wiq_mtype_finalize(&value);
}

}  // namespace
