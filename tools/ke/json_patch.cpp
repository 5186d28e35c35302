// See json_patch.h. Here pointers follow RFC 6901 to the letter: an index has no sign and no leading blanks
// or zeros, and the members of a reference are ordinary members.
#include "json_patch.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "failure.h"
#include "json_edit.h"
#include "json_equal.h"
#include "json_string.h"
#include "ke_utils/core.h"

namespace tool {

namespace {

bool is_plain_index(const std::string& name) {
    return !name.empty() && name.find_first_not_of("0123456789") == std::string::npos &&
           (name.size() == 1 || name[0] != '0') && name.size() < 10;
}

// One operation of the patch.
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
            throw failure("\"" + text +
                          "\" is not a JSON pointer: one begins with \"/\" or is empty");
        try {
            Pointer pointer = parse_pointer(text);
            pointer.enters_references = true;
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

// Adds a value as RFC 6902 defines it: before an existing array element, or in place of an existing member.
Splices plan_add(const Document& document, const Pointer& path, const std::string& value) {
    if (path.steps.empty())
        return plan_set(document, path, value);
    Pointer outer = path;
    outer.steps.pop_back();
    const NodeId container = document.find(outer);
    const Step& last = path.steps.back();
    if (document.kind(container) != Kind::array)
        return plan_set(document, path, value);
    const u64 size = document.child_count(container);
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

Splices plan_one(const std::string& name, const std::string& text, const Operation& operation) {
    const Document document(name, text);
    const Pointer& path = operation.path();
    const std::string& kind = operation.name();
    if (kind == "add")
        return plan_add(document, path, operation.value_text());
    if (kind == "remove")
        return plan_remove(document, path);
    if (kind == "replace")
        return plan_replace(document, path, operation.value_text());
    if (kind == "copy")
        return plan_add(document, path,
                        std::string(document.text_of(document.find(operation.from()))));
    if (kind != "test")
        throw operation.failure(
            "\"" + kind + "\" is not an operation" +
            suggestion(kind, {"add", "remove", "replace", "move", "copy", "test"}));
    const NodeId node = document.find(path);
    if (!is_equal(document, node, operation.document(), operation.value()))
        throw operation.failure("the test fails: \"" + path.text + "\" is another value in " +
                                name);
    return {};
}

// Returns the text after a move: the value is removed, then added to what is left.
std::string moved(const std::string& name, std::string text, const Operation& operation) {
    const Pointer& path = operation.path();
    const Pointer from = operation.from();
    std::string value;
    Splices removal;
    {
        const Document document(name, text);
        value = document.text_of(document.find(from));
        if (is_inside(path, from))
            throw operation.failure("a value cannot be moved into itself");
        if (path.text == from.text)
            return text;
        removal = plan_remove(document, from);
    }
    text = spliced(text, removal);
    const Splices addition = plan_add(Document(name, text), path, value);
    return spliced(text, addition);
}

}  // namespace

std::string apply_patch(Input& input, const Document& patch) {
    if (patch.kind(patch.root()) != Kind::array)
        throw patch.failure(patch.root(), "a JSON Patch is an array of operations");
    std::string text = std::move(input.bytes);
    if (!patch.has_children(patch.root()))
        const Document before(input.name, text);  // only to report mistakes
    for (NodeId node : patch.children(patch.root())) {
        const Operation operation(patch, node);
        try {
            if (operation.name() == "move")
                text = moved(input.name, std::move(text), operation);
            else
                // plan_one() frees its Document before the text is copied.
                text = spliced(text, plan_one(input.name, text, operation));
        } catch (const Failure& wrong) {
            if (wrong.message.compare(0, 7, "pointer") == 0)
                throw operation.failure(wrong.message);
            throw;
        }
    }
    return text;
}

}  // namespace tool
