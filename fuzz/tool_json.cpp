// The tool's edits of JSON texts: a value that is set or removed is where the library's own edit puts it, and
// a patch made from two documents turns one into the other.
#include "failure.h"
#include "input.h"
#include "json/tree.h"
#include "json_diff.h"
#include "json_edit.h"
#include "json_equal.h"
#include "json_merge.h"
#include "json_patch.h"

namespace {

using tree::parse;
using tree::Tree;

// The tool treats empty steps differently, because it supports empty keys, and allows "#" only for reading.
// It writes a non-ASCII key unescaped, which the library cannot read.
bool is_plain(const std::string& pointer) {
    for (const char c : pointer) {
        if (c <= 0)
            return false;
    }
    return !pointer.empty() && pointer[0] == '/' && pointer.back() != '/' &&
           pointer.find("//") == std::string::npos;
}

void check_set(const std::string& text, const std::string& pointer, const std::string& value) {
    const Tree tree = parse(text);
    wiq_json_t* node = wiq_json_loads(value.c_str(), 0, nullptr);
    CHECK(node != nullptr);
    const i32 status = wiq_json_ptr_put(tree.get(), pointer.c_str(), node);
    if (status != 0)
        wiq_json_unref(node);
    const tool::Document document("text", text);
    try {
        const tool::Splices splices = tool::plan_set(document, tool::parse_pointer(pointer), value);
        CHECK(status == 0);
        CHECK(splices.size() == 1);
        const Tree after = parse(tool::spliced(text, splices));
        CHECK(after != nullptr);
        CHECK(dump(after.get(), WIQ_JSON_DUMP_SORT_KEYS) ==
              dump(tree.get(), WIQ_JSON_DUMP_SORT_KEYS));
    } catch (const tool::Failure&) {
        CHECK(status != 0);
    }
}

void check_remove(const std::string& text, const std::string& pointer) {
    const Tree tree = parse(text);
    const tool::Document document("text", text);
    u32 err = 0;
    wiq_json_t* node = wiq_json_ptr_get(tree.get(), pointer.c_str(), &err, nullptr);
    try {
        const std::string after =
            tool::spliced(text, tool::plan_remove(document, tool::parse_pointer(pointer)));
        CHECK(node != nullptr);
        const std::string outer = pointer.substr(0, pointer.rfind('/'));
        wiq_json_t* parent = wiq_json_ptr_get(tree.get(), outer.c_str(), &err, nullptr);
        if (const char* key = wiq_json_parent_key(node))
            wiq_json_obj_remove(parent, key);
        else
            wiq_json_array_filter(
                parent, [](wiq_json_t* elem, void* gone) { return elem != gone; }, node);
        CHECK(dump(parse(after).get(), WIQ_JSON_DUMP_SORT_KEYS) ==
              dump(tree.get(), WIQ_JSON_DUMP_SORT_KEYS));
    } catch (const tool::Failure&) {
        CHECK(node == nullptr);
    }
}

void check_difference(const std::string& a, const std::string& b) {
    const tool::Document from("a", a);
    const tool::Document to("b", b);
    const bool equal = tool::is_equal(from, from.root(), to, to.root());
    const std::string patch = tool::difference_patch(from, to);
    CHECK((patch == "[]") == equal);
    CHECK(tool::first_difference(from, to).empty() == equal);
    const tool::Document change("patch", patch);
    tool::Input input{"a", "", a, tool::Encoding::utf8};
    const std::string after = tool::apply_patch(input, change);
    const tool::Document result("result", after);
    CHECK(tool::is_equal(result, result.root(), to, to.root()));
}

// Merging twice has the same result as merging once, and a patch without nulls is contained in it.
void check_merge(const std::string& a, const std::string& b) {
    const tool::Document patch("patch", b);
    tool::Input first{"a", "", a, tool::Encoding::utf8};
    const std::string once = tool::apply_merge(first, patch);
    tool::Input second{"a", "", once, tool::Encoding::utf8};
    const std::string twice = tool::apply_merge(second, patch);
    const tool::Document x("once", once);
    const tool::Document y("twice", twice);
    CHECK(tool::is_equal(x, x.root(), y, y.root()));
}

// Any patch is applied completely or not at all.
void try_patch(const std::string& text, const std::string& change) {
    try {
        const tool::Document patch("patch", change);
        tool::Input input{"text", "", text, tool::Encoding::utf8};
        const std::string after = tool::apply_patch(input, patch);
        CHECK(parse(after) != nullptr);
    } catch (const tool::Failure& failure) {
        CHECK(!failure.message.empty());
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    if (size > 1000)
        return 0;
    Input input(data, size);
    const std::string pointer = input.line().c_str();
    const std::string value = input.line().c_str();
    const std::string text = input.rest().c_str();
    // The library accepts only ASCII; the tool also accepts other characters.
    if (parse(text) == nullptr || parse(value) == nullptr)
        return 0;
    if (is_plain(pointer)) {
        check_set(text, pointer, value);
        check_remove(text, pointer);
    }
    check_difference(text, value);
    check_merge(text, value);
    try_patch(text, value);
    return 0;
}
