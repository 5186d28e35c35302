// See json_patch.h. Pointers follow RFC 6901 to the letter here: an index has no sign, blank or zero in
// front.
#include "json_patch.h"

#include <algorithm>
#include <optional>

#include "failure.h"
#include "json_difference.h"
#include "json_edit.h"
#include "json_string.h"
#include "ke_utils/core.h"

namespace tool {

namespace {

bool is_plain_index(const std::string& name) {
    return !name.empty() && name.find_first_not_of("0123456789") == std::string::npos &&
           (name.size() == 1 || name[0] != '0') && name.size() < 10;
}

// One operation, read from the patch.
class Operation {
  public:
    Operation(const Document& patch, NodeId node) : patch_(patch), node_(node) {
        if (patch.kind(node) != Kind::object)
            throw patch.failure(node, "an operation is an object, {\"op\": ..., \"path\": ...}");
        name_ = text_member("op");
        path_ = pointer_member("path");
    }

    const std::string& name() const { return name_; }
    const Pointer& path() const { return path_; }
    Pointer from() const { return pointer_member("from"); }

    NodeId value() const {
        const std::optional<NodeId> value = patch_.member(node_, "value");
        if (!value)
            throw failure("the operation has no \"value\"");
        return *value;
    }
    std::string value_text() const { return std::string(patch_.text_of(value())); }
    const Document& document() const { return patch_; }

    Failure failure(const std::string& message) const { return patch_.failure(node_, message); }

  private:
    std::string text_member(const char* key) const {
        const std::optional<NodeId> member = patch_.member(node_, key);
        if (!member || patch_.kind(*member) != Kind::string)
            throw failure("the operation has no \"" + std::string(key) + "\" that is a text");
        return decode_string(patch_.text_of(*member));
    }

    Pointer pointer_member(const char* key) const {
        const std::string text = text_member(key);
        if (!text.empty() && text[0] != '/')
            throw failure("\"" + text + "\" is no JSON pointer: it begins with \"/\" or is empty");
        try {
            Pointer pointer = parse_pointer(text);
            for (Step& step : pointer.steps)
                step.is_index = step.is_index && is_plain_index(step.name);
            return pointer;
        } catch (const Failure& wrong) {
            throw failure(wrong.message);
        }
    }

    const Document& patch_;
    NodeId node_;
    std::string name_;
    Pointer path_;
};

u64 size_of(const Document& document, NodeId array) {
    u64 size = 0;
    for (NodeId child = document.first_child(array); child != document.end_of(array);
         child = document.next(child))
        ++size;
    return size;
}

// Adds, as RFC 6902 means it: into an array in front of what is there, into an object over it.
Splices plan_add(const Document& document, const Pointer& path, const std::string& value) {
    if (path.steps.empty())
        return plan_set(document, path, value);
    Pointer outer = path;
    outer.steps.pop_back();
    const NodeId container = document.find(outer);
    const Step& last = path.steps.back();
    if (document.kind(container) != Kind::array)
        return plan_set(document, path, value);
    const u64 size = size_of(document, container);
    if (!last.is_index && !last.is_append)
        throw pointer_failure(path, path.steps.size() - 1, WIQ_ERR_WRONG_TYPE);
    if (last.is_index && last.index > size)
        throw pointer_failure(path, path.steps.size() - 1, WIQ_ERR_INDEX_OUT_OF_RANGE);
    return plan_insert(document, container, last.is_index ? last.index : size, value);
}

Splices plan_replace(const Document& document, const Pointer& path, const std::string& value) {
    const NodeId node = document.find(path);
    return {{document.start(node), document.stop(node), value}};
}

bool is_inside(const Pointer& path, const Pointer& from) {
    return path.steps.size() > from.steps.size() &&
           path.text.compare(0, from.text.size(), from.text) == 0 &&
           path.text[from.text.size()] == '/';
}

// The text after one operation.
std::string apply(const std::string& name, const std::string& text, const Operation& operation) {
    const Document document(name, text);
    const Pointer& path = operation.path();
    const std::string& kind = operation.name();
    if (kind == "add")
        return spliced(text, plan_add(document, path, operation.value_text()));
    if (kind == "remove")
        return spliced(text, plan_remove(document, path));
    if (kind == "replace")
        return spliced(text, plan_replace(document, path, operation.value_text()));
    if (kind == "copy" || kind == "move") {
        const Pointer from = operation.from();
        const std::string value(document.text_of(document.find(from)));
        if (kind == "copy")
            return spliced(text, plan_add(document, path, value));
        if (is_inside(path, from))
            throw operation.failure("a value cannot be moved into itself");
        if (path.text == from.text)
            return text;
        const std::string without = spliced(text, plan_remove(document, from));
        const Document rest(name, without);
        return spliced(without, plan_add(rest, path, value));
    }
    if (kind != "test")
        throw operation.failure(
            "\"" + kind + "\" is no operation" +
            suggestion(kind, {"add", "remove", "replace", "move", "copy", "test"}));
    const NodeId node = document.find(path);
    if (!is_equal(document, node, operation.document(), operation.value()))
        throw operation.failure("the test fails: \"" + path.text + "\" is another value in " +
                                name);
    return text;
}

}  // namespace

std::string apply_patch(const Input& input, const Document& patch) {
    if (patch.kind(patch.root()) != Kind::array)
        throw patch.failure(patch.root(), "a JSON Patch is an array of operations");
    std::string text = input.bytes;
    const Document before(input.name,
                          text);  // a mistake in it is told even if there is nothing to do
    for (NodeId node : patch.children(patch.root())) {
        const Operation operation(patch, node);
        try {
            text = apply(input.name, text, operation);
        } catch (const Failure& wrong) {
            if (wrong.message.compare(0, 7, "pointer") == 0)
                throw operation.failure(wrong.message);
            throw;
        }
    }
    return text;
}

}  // namespace tool
