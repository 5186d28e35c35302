// Tests of type descriptors: the registry and descent. The built-in types are checked before any test adds
// its own.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "ke_utils/core.h"
#include "ke_utils/json.h"
#include "ke_utils/object.h"

namespace {

std::vector<std::string> registered() {
    u32 count = 0;
    WiqType** types = type_list(&count);
    std::vector<std::string> names;
    for (u32 i = 0; i < count; ++i)
        names.emplace_back(types[i]->name == nullptr ? "(no name)" : types[i]->name);
    return names;
}

// Read while the program starts: after the library has been loaded, before main().
const std::vector<std::string> kAtLoad = registered();

WiqType new_type(const char* name) {
    WiqType type = {};
    type.name = name;
    return type;
}

WiqType* find_type(const std::string& name) {
    u32 count = 0;
    WiqType** types = type_list(&count);
    for (u32 i = 0; i < count; ++i) {
        if (types[i]->name != nullptr && name == types[i]->name)
            return types[i];
    }
    return nullptr;
}

TEST(Type, RecordLayout) {
    EXPECT_EQ(offsetof(WiqType, name), 0u);
    EXPECT_EQ(offsetof(WiqType, parent), 8u);
    EXPECT_EQ(offsetof(WiqType, instance_size), 16u);
    EXPECT_EQ(offsetof(WiqType, instance_init), 24u);
    EXPECT_EQ(offsetof(WiqType, instance_finalize), 32u);
    EXPECT_EQ(offsetof(WiqType, class_size), 40u);
    EXPECT_EQ(offsetof(WiqType, class_init), 48u);
    EXPECT_EQ(offsetof(WiqType, class_base_init), 56u);
    EXPECT_EQ(offsetof(WiqType, klass), 64u);
    EXPECT_EQ(offsetof(WiqType, initialised), 72u);
    EXPECT_EQ(offsetof(WiqType, lock), 80u);
    EXPECT_EQ(offsetof(WiqObject, klass), 0u);
    EXPECT_EQ(offsetof(WiqObject, refcount), 8u);
    EXPECT_EQ(sizeof(WiqClass), 8u);
}

TEST(Type, BuiltInTypesInOrder) {
    EXPECT_EQ(kAtLoad, (std::vector<std::string>{"JsonDumpVisitor", "JsonDumpStrVisitor",
                                                 "JsonDumpFileVisitor", "ExpandVisitor",
                                                 "WiqJsonVisitor", "Object"}));
    EXPECT_NE(type_list(nullptr), nullptr);
}

TEST(Type, BuiltInParents) {
    EXPECT_EQ(ObjectType.parent, nullptr);
    EXPECT_EQ(WiqJsonVisitorType.parent, &ObjectType);
    EXPECT_EQ(find_type("JsonDumpVisitor")->parent, &WiqJsonVisitorType);
    EXPECT_EQ(find_type("ExpandVisitor")->parent, &WiqJsonVisitorType);
    EXPECT_EQ(find_type("JsonDumpStrVisitor")->parent, find_type("JsonDumpVisitor"));
    EXPECT_EQ(find_type("JsonDumpFileVisitor")->parent, find_type("JsonDumpVisitor"));
}

TEST(Type, InitRegistersOnce) {
    static WiqType type = new_type("Once");
    const size_t before = registered().size();
    EXPECT_EQ(type_init(&type, &ObjectType), 0);
    EXPECT_EQ(type.initialised, 1);
    EXPECT_EQ(type.parent, &ObjectType);
    EXPECT_EQ(type_init(&type, &WiqJsonVisitorType), 0);
    EXPECT_EQ(type.parent, &ObjectType) << "a type that is initialised already is left alone";
    EXPECT_EQ(registered().size(), before + 1);
    EXPECT_EQ(registered().back(), "Once");
    EXPECT_EQ(type_init(nullptr, nullptr), 0);
    EXPECT_EQ(type_init(nullptr, &ObjectType), 0);
    EXPECT_EQ(registered().size(), before + 1);
}

TEST(Type, InitKeepsTheDescriptorsOwnParent) {
    static WiqType type = new_type("OwnParent");
    type.parent = &WiqJsonVisitorType;
    EXPECT_EQ(type_init(&type, nullptr), 0);
    EXPECT_EQ(type.parent, &WiqJsonVisitorType);
}

TEST(Type, UninitKeepsTheEntry) {
    static WiqType type = new_type("Again");
    EXPECT_EQ(type_uninit(&type), 0) << "nothing to undo";
    EXPECT_EQ(type_init(&type, &ObjectType), 0);
    const size_t once = registered().size();
    EXPECT_EQ(type_uninit(&type), 0);
    EXPECT_EQ(type.initialised, 0);
    EXPECT_EQ(registered().size(), once);
    EXPECT_EQ(type_init(&type, &ObjectType), 0);
    EXPECT_EQ(registered().size(), once + 1) << "listed twice";
    EXPECT_EQ(type_uninit(nullptr), 0);
}

TEST(Type, ManyTypesAreListed) {
    static std::vector<WiqType> types(100, new_type("Many"));
    const size_t before = registered().size();
    for (WiqType& type : types)
        ASSERT_EQ(type_init(&type, &ObjectType), 0);
    EXPECT_EQ(registered().size(), before + 100);
}

TEST(Type, Descent) {
    WiqType* dump = find_type("JsonDumpVisitor");
    WiqType* dump_str = find_type("JsonDumpStrVisitor");
    WiqType* expand = find_type("ExpandVisitor");
    static WiqType stray = new_type("Stray");
    struct Row {
        const WiqType *parent, *child;
        bool is_child;
    };
    for (const Row& row : {
             Row{&ObjectType, &ObjectType, false},
             Row{&ObjectType, &WiqJsonVisitorType, true},
             Row{&WiqJsonVisitorType, &ObjectType, false},
             Row{&ObjectType, dump_str, true},
             Row{&WiqJsonVisitorType, dump_str, true},
             Row{dump, dump_str, true},
             Row{dump_str, dump, false},
             Row{dump_str, dump_str, false},
             Row{dump, expand, false},
             Row{&ObjectType, &stray, false},
             Row{nullptr, dump, false},
             Row{dump, nullptr, false},
             Row{nullptr, nullptr, false},
         })
        EXPECT_EQ(type_is_child(row.parent, row.child), row.is_child);
}

}  // namespace
