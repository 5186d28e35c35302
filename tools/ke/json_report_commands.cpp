// ke json paths, types: commands that tell what a document holds. Both walk it with a to-do list of their
// own, so that a document may be nested as deep as it likes.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <deque>
#include <memory>
#include <vector>

#include "commands.h"
#include "failure.h"
#include "json_text.h"
#include "ke_utils.h"

namespace tool {

namespace {

bool is_leaf(const wiq_json_t* node) {
    return wiq_json_obj_size(node) <= 0 && wiq_json_array_size(node) <= 0;
}

// The children of a container, members in the order of their keys, elements in order.
std::vector<wiq_json_t*> children_of(wiq_json_t* node) {
    std::vector<wiq_json_t*> children;
    if (wiq_json_is_obj(node)) {
        const auto collect = [](const char*, wiq_json_t* child, void* user) {
            static_cast<std::vector<wiq_json_t*>*>(user)->push_back(child);
            return true;
        };
        wiq_json_obj_foreach(node, collect, &children);
        std::sort(children.begin(), children.end(), [](const wiq_json_t* a, const wiq_json_t* b) {
            return std::string_view(wiq_json_parent_key(a)) <
                   std::string_view(wiq_json_parent_key(b));
        });
    }
    for (i32 i = 0; i < wiq_json_array_size(node); ++i)
        children.push_back(wiq_json_array_get_ext(node, i, 0, nullptr));
    return children;
}

std::string pointer_of(const wiq_json_t* node) {
    char* text = nullptr;
    check("the document", wiq_json_ptr(node, &text));
    std::string pointer(text);
    free(text);
    return pointer;
}

std::string list_paths(wiq_json_t* root) {
    std::string text;
    std::vector<wiq_json_t*> todo = {root};
    while (!todo.empty()) {
        wiq_json_t* node = todo.back();
        todo.pop_back();
        if (is_leaf(node)) {
            text += pointer_of(node) + "\t" + dump_json(node, 0) + "\n";
            continue;
        }
        const std::vector<wiq_json_t*> children = children_of(node);
        todo.insert(todo.end(), children.rbegin(), children.rend());
    }
    return text;
}

// A visitor class of the tool's own. The base class would walk containers by recursion; this one puts
// their children on a list instead and leaves the dispatch by kind to the base.
struct Census {
    WiqJsonVisitor visitor;
    struct Counts* counts;
};

struct Counts {
    struct Item {
        wiq_json_t* node;
        size_t depth;
    };
    std::vector<Item> todo;
    size_t depth = 0, deepest = 0;
    size_t objects = 0, arrays = 0, strings = 0, integers = 0, reals = 0, references = 0,
           booleans = 0, nulls = 0;
    wiq_json_t* largest = nullptr;

    void add_child(wiq_json_t* child) { todo.push_back({child, depth + 1}); }
    void add_number(wiq_json_t* node);
};

Counts& counts_of(WiqJsonVisitor* self) {
    return *reinterpret_cast<Census*>(self)->counts;
}

// As far as a long double tells numbers apart.
long double magnitude(const wiq_json_t* node) {
    if (wiq_json_is_double_ext(node, false))
        return static_cast<long double>(wiq_json_double_get(node));
    if (wiq_json_is_i64_ext(node, false))
        return static_cast<long double>(wiq_json_i64_get(node));
    wiq_uint128 value;
    wiq_json_u128_get(&value, node);
    return std::ldexp(static_cast<long double>(value.hi), 64) + static_cast<long double>(value.lo);
}

void Counts::add_number(wiq_json_t* node) {
    if (largest == nullptr || magnitude(node) > magnitude(largest))
        largest = node;
}

i32 count_object(WiqJsonVisitor* self, wiq_json_t* obj) {
    Counts& counts = counts_of(self);
    ++counts.objects;
    const auto add = [](const char*, wiq_json_t* child, void* user) {
        static_cast<Counts*>(user)->add_child(child);
        return true;
    };
    return wiq_json_obj_foreach(obj, add, &counts);
}

i32 count_array(WiqJsonVisitor* self, wiq_json_t* array) {
    Counts& counts = counts_of(self);
    ++counts.arrays;
    for (i32 i = 0; i < wiq_json_array_size(array); ++i)
        counts.add_child(wiq_json_array_get_ext(array, i, 0, nullptr));
    return 0;
}

i32 count_string(WiqJsonVisitor* self, wiq_json_t*, const char*) {
    ++counts_of(self).strings;
    return 0;
}

i32 count_integer(WiqJsonVisitor* self, wiq_json_t* node) {
    ++counts_of(self).integers;
    counts_of(self).add_number(node);
    return 0;
}

i32 count_i64(WiqJsonVisitor* self, wiq_json_t* node, i64) {
    return count_integer(self, node);
}

i32 count_u64(WiqJsonVisitor* self, wiq_json_t* node, u64) {
    return count_integer(self, node);
}

i32 count_u128(WiqJsonVisitor* self, wiq_json_t* node, const wiq_uint128*) {
    return count_integer(self, node);
}

i32 count_double(WiqJsonVisitor* self, wiq_json_t* node, double) {
    ++counts_of(self).reals;
    counts_of(self).add_number(node);
    return 0;
}

i32 count_ref(WiqJsonVisitor* self, wiq_json_t*, const char*) {
    ++counts_of(self).references;
    return 0;
}

i32 count_bool(WiqJsonVisitor* self, wiq_json_t*, bool) {
    ++counts_of(self).booleans;
    return 0;
}

i32 count_null(WiqJsonVisitor* self, wiq_json_t*) {
    ++counts_of(self).nulls;
    return 0;
}

i32 census_class_init(WiqClass* klass) {
    auto* slots = reinterpret_cast<WiqJsonVisitorClass*>(klass);
    slots->visit_object = count_object;
    slots->visit_array = count_array;
    slots->visit_string = count_string;
    slots->visit_i64 = count_i64;
    slots->visit_u64 = count_u64;
    slots->visit_u128 = count_u128;
    slots->visit_double = count_double;
    slots->visit_ref = count_ref;
    slots->visit_bool = count_bool;
    slots->visit_null = count_null;
    return 0;
}

WiqType* census_type() {
    static WiqType type = [] {
        WiqType made = {};
        made.name = "KeCensus";
        made.instance_size = sizeof(Census);
        made.class_init = census_class_init;
        return made;
    }();
    check("ke", type_init(&type, &WiqJsonVisitorType));
    return &type;
}

Counts take_census(wiq_json_t* root) {
    struct UnrefObject {
        void operator()(WiqObject* object) const { object_unref(object); }
    };
    const std::unique_ptr<WiqObject, UnrefObject> object(object_new(census_type()));
    if (!object)
        throw failure("ke", WIQ_ERR_NO_MEMORY);
    Counts counts;
    auto* census = reinterpret_cast<Census*>(object.get());
    census->counts = &counts;
    auto* slots = reinterpret_cast<WiqJsonVisitorClass*>(
        class_check(object_get_class(object.get()), &WiqJsonVisitorType));
    counts.todo.push_back({root, 1});
    while (!counts.todo.empty()) {
        const Counts::Item item = counts.todo.back();
        counts.todo.pop_back();
        counts.depth = item.depth;
        counts.deepest = std::max(counts.deepest, item.depth);
        check("the document", slots->visit(&census->visitor, item.node));
    }
    return counts;
}

std::string describe(const Counts& counts) {
    struct Row {
        const char* name;
        size_t count;
    };
    std::string text;
    for (const Row& row : {Row{"objects", counts.objects}, Row{"arrays", counts.arrays},
                           Row{"strings", counts.strings}, Row{"integers", counts.integers},
                           Row{"reals", counts.reals}, Row{"references", counts.references},
                           Row{"booleans", counts.booleans}, Row{"nulls", counts.nulls},
                           Row{"depth", counts.deepest}})
        text += std::string(row.name) + "\t" + std::to_string(row.count) + "\n";
    if (counts.largest != nullptr)
        text +=
            "largest\t" + dump_json(counts.largest, 0) + "\t" + pointer_of(counts.largest) + "\n";
    return text;
}

void add_report(CLI::App& json, Session& session, const char* name, const char* help,
                std::string (*report)(wiq_json_t* root)) {
    auto file = std::make_shared<std::string>();
    CLI::App* command = json.add_subcommand(name, help);
    add_input(*command, *file);
    command->callback([file, report, &session] {
        session.action = [file, report, &session] {
            const Input input = read_input(*file, session.common);
            const Json root = parse_json(input.name, input.bytes);
            write_output(report(root.get()), input, session.common);
            return kExitOk;
        };
    });
}

}  // namespace

void add_json_report_commands(CLI::App& json, Session& session) {
    add_report(json, session, "paths", "Print the pointer of every leaf with its value",
               list_paths);
    add_report(json, session, "types", "Count values by kind; tell depth and largest number",
               [](wiq_json_t* root) { return describe(take_census(root)); });
}

}  // namespace tool
