// See json_edit.h.
#include "json_edit.h"

#include <algorithm>

#include "json_string.h"
#include "ke_utils/core.h"

namespace tool {

namespace {

// Wraps a value's text in the containers that are missing on the way to it, for the pointer's steps from
// `from` on. Each is written on several lines if the text around it is.
std::string wrapped(const Style& style, const Pointer& pointer, size_t from, std::string value,
                    const std::string& indentation, bool in_lines) {
    for (size_t i = pointer.steps.size(); i-- > from;) {
        const Step& step = pointer.steps[i];
        const bool array = step.is_index || step.is_append;
        if (step.is_index && step.index != 0)
            throw pointer_failure(pointer, i, WIQ_ERR_INDEX_OUT_OF_RANGE);
        std::string outer = indentation;
        for (size_t level = from; level < i; ++level)
            outer += style.unit();
        std::string container = array ? "[" : "{";
        if (in_lines)
            container.append(style.line_feed()).append(outer).append(style.unit());
        if (!array)
            container.append(encode_string(step.name)).append(style.colon());
        container += value;
        if (in_lines)
            container.append(style.line_feed()).append(outer);
        value = container + (array ? "]" : "}");
    }
    return value;
}

// Returns the blanks and tabs that start at a position.
std::string blanks_at(const std::string& text, size_t from) {
    const size_t stop = std::min(text.find_first_not_of(" \t", from), text.size());
    return text.substr(from, stop - from);
}

// Removes children, each with its comma: those before the first child that stays, up to the start of that
// child; the others from the end of the child before them. If no child stays, removes nothing and returns
// false.
bool cut(const Document& document, NodeId container, std::vector<NodeId> removed,
         Splices& splices) {
    std::sort(removed.begin(), removed.end());
    bool any_kept = false;
    const NodeId first = document.first_child(container);
    NodeId before = first;
    for (NodeId child = first; child != document.end_of(container); child = document.next(child)) {
        const bool kept = !std::binary_search(removed.begin(), removed.end(), child);
        if (kept && !any_kept && child != first)
            splices.push_back({document.member_start(first), document.member_start(child), ""});
        if (!kept && any_kept)
            splices.push_back({document.stop(before), document.stop(child), ""});
        any_kept = any_kept || kept;
        before = child;
    }
    return any_kept;
}

std::string joined(const ContainerEdit& edit, const std::string& separator,
                   const std::string& colon) {
    std::string text;
    if (edit.add)
        edit.add(text, separator, colon);
    return text;
}

// Adds one child; `key` is empty in arrays.
ContainerEdit adding(const std::string& key, const std::string& value) {
    return {{}, [&key, &value](std::string& text, const std::string&, const std::string& colon) {
                if (!key.empty())
                    text.append(key).append(colon);
                text += value;
            }};
}

// Returns the new contents of a container that was empty.
std::string first_children(const Style& style, NodeId container, const ContainerEdit& edit) {
    if (!style.in_lines())
        return joined(edit, style.colon().back() == ':' ? "," : ", ", style.colon());
    const std::string outer = style.indentation(style.document().member_start(container));
    const std::string inner = style.line_feed() + outer + style.unit();
    return inner + joined(edit, "," + inner, style.colon()) + style.line_feed() + outer;
}

NodeId last_child(const Document& document, NodeId container) {
    NodeId last = document.first_child(container);
    while (document.next(last) != document.end_of(container))
        last = document.next(last);
    return last;
}

// Plans where to add a value that does not exist yet.
Splices plan_addition(const Document& document, NodeId container, const Pointer& pointer,
                      size_t step, std::string_view value) {
    const Style style(document);
    const bool filled = document.has_children(container);
    const std::string separator = filled ? style.separator(container) : "";
    const bool in_lines = filled ? separator.find('\n') != std::string::npos : style.in_lines();
    std::string indentation;
    if (filled && in_lines)
        indentation = blanks_at(separator, separator.rfind('\n') + 1);
    else if (in_lines)
        indentation = style.indentation(document.member_start(container)) + style.unit();
    const std::string text =
        wrapped(style, pointer, step + 1, std::string(value), indentation, in_lines);
    const bool object = document.kind(container) == Kind::object;
    const std::string key = object ? encode_string(pointer.steps[step].name) : "";
    return plan_container(style, container, adding(key, text));
}

}  // namespace

Splices plan_container(const Style& style, NodeId container, const ContainerEdit& edit) {
    Splices splices;
    if (edit.removed.empty() && !edit.add)
        return splices;
    const Document& document = style.document();
    const size_t begin = document.start(container) + 1;
    const size_t end = document.stop(container) - 1;
    if (!document.has_children(container)) {
        if (edit.add)
            splices.push_back({begin, end, first_children(style, container, edit)});
        return splices;
    }
    const bool any_kept = cut(document, container, edit.removed, splices);
    if (!any_kept && !edit.add)
        return {{begin, end, ""}};
    const std::string separator = style.separator(container);
    const std::string added = joined(edit, separator, style.colon_in(container));
    const NodeId last = last_child(document, container);
    if (!any_kept)
        return {
            {document.member_start(document.first_child(container)), document.stop(last), added}};
    if (edit.add)
        splices.push_back({document.stop(last), document.stop(last), separator + added});
    return splices;
}

Splices plan_set(const Document& document, const Pointer& pointer, std::string_view value) {
    NodeId node = 0;
    size_t step = 0;
    const i32 status = document.find(pointer, &node, &step);
    if (status == 0)
        return {{document.start(node), document.stop(node), std::string(value)}};
    const Step& wanted = pointer.steps[step];
    const Kind kind = document.kind(node);
    if (status == WIQ_ERR_WRONG_TYPE)
        throw pointer_failure(pointer, step, status);
    if (kind == Kind::array && wanted.is_index && wanted.index != document.child_count(node))
        throw pointer_failure(pointer, step, status);
    return plan_addition(document, node, pointer, step, value);
}

Splices plan_remove(const Document& document, const Pointer& pointer) {
    const NodeId node = document.find(pointer);
    if (pointer.steps.empty())
        throw Failure{"pointer \"" + pointer.text + "\": the whole document cannot be removed"};
    Pointer outer = pointer;
    outer.steps.pop_back();
    const NodeId container = document.find(outer);
    ContainerEdit edit;
    if (document.kind(container) == Kind::array) {
        edit.removed = {node};
    } else {
        // If only the last member with this key were removed, an earlier one would take its place. So remove
        // all.
        for (NodeId child = document.first_child(container); child != document.end_of(container);
             child = document.next(child)) {
            if (stands_for(document.key(child), pointer.steps.back().name))
                edit.removed.push_back(child);
        }
    }
    return plan_container(Style(document), container, edit);
}

Splices plan_insert(const Document& document, NodeId array, u64 index, std::string_view value) {
    const std::optional<NodeId> next = document.element(array, index);
    if (!next)
        return plan_container(Style(document), array, adding("", std::string(value)));
    const size_t offset = document.start(*next);
    return {{offset, offset, std::string(value) + Style(document).separator(array)}};
}

std::string spliced(std::string_view text, const Splices& splices) {
    return spliced_part(text, 0, text.size(), splices);
}

std::string spliced_part(std::string_view text, size_t start, size_t stop, const Splices& splices) {
    size_t size = stop - start;
    for (const Splice& splice : splices)
        size += splice.text.size();
    std::string result;
    result.reserve(size);
    size_t at = start;
    for (const Splice& splice : splices) {
        result += text.substr(at, splice.start - at);
        result += splice.text;
        at = splice.stop;
    }
    result += text.substr(at, stop - at);
    return result;
}

void write_spliced(Sink& sink, std::string_view text, const Splices& splices) {
    size_t at = 0;
    for (const Splice& splice : splices) {
        sink.write(text.substr(at, splice.start - at));
        sink.write(splice.text);
        at = splice.stop;
    }
    sink.write(text.substr(at));
}

}  // namespace tool
