// See json_select.h.
#include "json_select.h"

#include <algorithm>
#include <utility>

#include "failure.h"
#include "json_equal.h"
#include "json_string.h"

namespace tool {

namespace {

// The steps of a pattern at which a path can be, including those after a "**" that matches no step.
using States = std::vector<size_t>;

void add_state(const Pointer& pattern, States& states, size_t state) {
    for (;; ++state) {
        if (std::find(states.begin(), states.end(), state) != states.end())
            return;
        states.push_back(state);
        if (state == pattern.steps.size() || pattern.steps[state].name != "**")
            return;
    }
}

// Returns the states after one more step: a member's key or an element's index.
States advance(const Pointer& pattern, const States& states, bool element, std::string_view key,
               u64 index) {
    States next;
    for (size_t state : states) {
        if (state == pattern.steps.size())
            continue;
        const Step& step = pattern.steps[state];
        if (step.name == "**")
            add_state(pattern, next, state);
        else if (step.name == "*" ||
                 (element ? step.is_index && step.index == index : stands_for(key, step.name)))
            add_state(pattern, next, state + 1);
    }
    return next;
}

bool holds(const Document& document, const Condition& condition) {
    NodeId node = 0;
    size_t step = 0;
    if (document.find(condition.pointer, &node, &step) != 0)
        return false;
    if (document.kind(node) == Kind::string && stands_for(document.text_of(node), condition.value))
        return true;
    try {
        const Document wanted("VALUE", condition.value);
        return is_equal(document, node, wanted, wanted.root());
    } catch (const Failure&) {
        return false;  // a text without quotes; compared above
    }
}

u64 count_characters(const std::string& text) {
    return static_cast<u64>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<u8>(c) & 0xC0) != 0x80; }));
}

void print_keys(Sink& sink, const Document& document) {
    const NodeId root = document.root();
    if (document.kind(root) != Kind::object && document.kind(root) != Kind::array)
        throw Failure{"--keys: the value is neither an object nor an array"};
    u64 index = 0;
    for (NodeId child : document.children(root)) {
        sink.write(document.kind(root) == Kind::object ? decode_string(document.key(child))
                                                       : std::to_string(index));
        sink.put('\n');
        ++index;
    }
}

void print_length(Sink& sink, const Document& document) {
    const NodeId root = document.root();
    u64 length = 0;
    if (document.kind(root) == Kind::string)
        length = count_characters(decode_string(document.text_of(root)));
    else if (document.kind(root) == Kind::object || document.kind(root) == Kind::array)
        length = document.children(root).size();
    else
        throw Failure{"--length: the value is not an object, an array or a string"};
    sink.write(std::to_string(length) + "\n");
}

std::string_view name_of(Kind kind) {
    static constexpr std::string_view kNames[] = {"object", "array",   "string",
                                                  "number", "boolean", "null"};
    return kNames[static_cast<size_t>(kind)];
}

void print_whole(Sink& sink, std::string_view text, const Layout& layout) {
    JsonWriter writer(sink, layout);
    if (layout.sort_keys) {
        const Document document("the value", text);
        write_value(writer, document, document.root(), layout);
    } else {
        Source source("the value", text);
        Scanner scanner(source);
        for (Token token = scanner.next(); token != Token::end; token = scanner.next())
            writer.add(token, scanner.text());
    }
    writer.end_document();
}

}  // namespace

Condition parse_condition(const std::string& text) {
    const size_t equals = text.find('=');
    if (equals == std::string::npos)
        throw Failure{"--where " + text + ": write POINTER=VALUE, as /state=failed", kExitUsage};
    return {parse_pointer(text.substr(0, equals)), text.substr(equals + 1)};
}

u64 for_matches(const Document& document, const Pointer& pattern,
                const std::function<void(NodeId)>& report) {
    // An open container on the way, with the children that have yet to be visited.
    struct Level {
        std::vector<NodeId> members;  // of an object; elements follow one another in the text
        size_t done;
        NodeId next;
        NodeId end;
        States states;
    };
    std::vector<Level> levels;
    u64 found = 0;
    const auto visit = [&](NodeId node, States states) {
        if (std::find(states.begin(), states.end(), pattern.steps.size()) != states.end()) {
            ++found;
            report(node);
        }
        if (!document.has_children(node))
            return;
        const bool object = document.kind(node) == Kind::object;
        levels.push_back({object ? document.children(node) : std::vector<NodeId>(), 0,
                          document.first_child(node), document.end_of(node), std::move(states)});
    };
    States first;
    add_state(pattern, first, 0);
    visit(document.root(), std::move(first));
    while (!levels.empty()) {
        Level& level = levels.back();
        const bool array = level.members.empty();
        if (array ? level.next == level.end : level.done == level.members.size()) {
            levels.pop_back();
            continue;
        }
        const NodeId child = array ? level.next : level.members[level.done];
        level.next = document.next(child);
        States next = advance(pattern, level.states, array, document.key(child), level.done++);
        if (!next.empty())
            visit(child, std::move(next));
    }
    return found;
}

void print_view(Sink& sink, std::string_view text, const View& view, const Layout& layout) {
    if (!view.where.empty()) {
        const Document document("the value", text);
        for (const Condition& condition : view.where) {
            if (!holds(document, condition))
                return;
        }
    }
    if (view.keys || view.length || view.type) {
        const Document document("the value", text);
        if (view.keys)
            print_keys(sink, document);
        else if (view.length)
            print_length(sink, document);
        else
            sink.write(std::string(name_of(document.kind(document.root()))) + "\n");
    } else if (view.raw && text[0] == '"') {
        sink.write(decode_string(text));
        sink.put('\n');
    } else {
        print_whole(sink, text, layout);
    }
}

std::string value_of_argument(const std::string& name, const std::string& text) {
    const Document value(name, text);
    return std::string(value.text_of(value.root()));
}

}  // namespace tool
