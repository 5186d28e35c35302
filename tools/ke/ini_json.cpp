// See ini_json.h.
#include "ini_json.h"

#include <algorithm>

#include "json_string.h"

namespace tool {

namespace {

constexpr u32 kFile = 0;  // the node of the whole

// A name or a word that the parser has accepted, from where it starts.
std::string_view word_at(std::string_view text, size_t start) {
    const size_t stop = text.find_first_of(" \t\n\v\f\r\"#;=[]", start + 1);
    return text.substr(start, std::min(stop, text.size()) - start);
}

bool is_quoted(std::string_view text, size_t start) {
    return start > 0 && text[start - 1] == '"';
}

std::string_view quoted_at(std::string_view text, size_t start) {
    return text.substr(start, text.find('"', start) - start);
}

}  // namespace

IniTree::IniTree(const Input& input) : input_(input) {
    nodes_.push_back({0, kNone, kNone, kFile, 1});
    u32 holder = kFile;
    scan_ini(
        input,
        [&](const IniSection& section) {
            check_text(section.name);
            holder = child(kFile, section.name, true);
            if (section.argument) {
                check_text(*section.argument);
                holder = child(holder, *section.argument, true);
            }
        },
        [&](const IniKey& key) {
            check_text(key.name);
            check_text(key.value);
            const u32 line = child(holder, key.name, false);
            if (nodes_[line].link == kNone)
                nodes_[line].link = line;
            else
                add_value(line, key.name);
        });
}

// Whether a text can be a JSON string, told before anything is written.
void IniTree::check_text(std::string_view text) const {
    try {
        encode_string(text);
    } catch (const Failure& wrong) {
        throw failure_at(input_.name, {input_.bytes}, offset_in(input_, text), wrong.message);
    }
}

Failure IniTree::clash(std::string_view name) const {
    return failure_at(input_.name, {input_.bytes}, offset_in(input_, name),
                      "\"" + std::string(name) +
                          "\" is both a key and an argument of the section; rename one of them");
}

u32 IniTree::add_node(std::string_view name, bool is_object) {
    const auto node = static_cast<u32>(nodes_.size());
    nodes_.push_back({static_cast<u32>(offset_in(input_, name)), kNone});
    nodes_.back().is_object = is_object ? 1 : 0;
    return node;
}

// Returns the child with this name and adds it if it does not exist.
u32 IniTree::child(u32 holder, std::string_view name, bool is_object) {
    if ((named_ + 1) * 8 > slots_.size() * 7)
        grow();
    u32& slot = slot_of(holder, name);
    if (slot != kNone) {
        if ((nodes_[slot].is_object != 0) != is_object)
            throw clash(name);
        return slot;
    }
    const u32 node = add_node(name, is_object);
    slot = node;
    ++named_;
    Node& above = nodes_[holder];
    nodes_[node].holder = holder & 0x7FFFFFFF;
    nodes_[node].next = above.link == kNone ? node : nodes_[above.link].next;
    if (above.link != kNone)
        nodes_[above.link].next = node;
    above.link = node;
    return node;
}

// One more line of a key.
void IniTree::add_value(u32 first, std::string_view name) {
    const u32 line = add_node(name, false);
    const u32 last = nodes_[first].link;
    nodes_[line].link = last == first ? line : nodes_[last].link;
    if (last != first)
        nodes_[last].link = line;
    nodes_[first].link = line;
}

u32& IniTree::slot_of(u32 holder, std::string_view name) {
    const size_t mask = slots_.size() - 1;
    size_t at = (std::hash<std::string_view>()(name) + holder * size_t{0x9E3779B1}) & mask;
    while (slots_[at] != kNone &&
           (static_cast<u32>(nodes_[slots_[at]].holder) != holder || name_of(slots_[at]) != name))
        at = (at + 1) & mask;
    return slots_[at];
}

void IniTree::grow() {
    const size_t size = std::max<size_t>(64, slots_.size() * 2);
    slots_ = {};  // the old table is gone before there is a new one
    slots_.assign(size, kNone);
    for (u32 node = kFile + 1; node < nodes_.size(); ++node) {
        if (nodes_[node].next != kNone)
            slot_of(nodes_[node].holder, name_of(node)) = node;
    }
}

std::string_view IniTree::name_of(u32 node) const {
    const std::string_view text = input_.bytes;
    const size_t start = nodes_[node].offset;
    return is_quoted(text, start) ? quoted_at(text, start) : word_at(text, start);
}

// What stands behind the equals sign: a text in quotes, or all up to a comment or the end of the line.
std::string_view IniTree::value_of(u32 line) const {
    const std::string_view text = input_.bytes;
    const size_t equals = text.find('=', nodes_[line].offset + name_of(line).size());
    const size_t start = text.find_first_not_of(" \t", equals + 1);
    if (text[start] == '"')
        return quoted_at(text, start + 1);
    const size_t stop = std::min(text.find_first_of("#;\r\n", start), text.size());
    return text.substr(start, text.find_last_not_of(" \t", stop - 1) + 1 - start);
}

std::vector<u32> IniTree::children(u32 object, bool sorted) const {
    std::vector<u32> all;
    const u32 last = nodes_[object].link;
    for (u32 node = last; node != kNone && (all.empty() || node != last);) {
        node = nodes_[node].next;
        all.push_back(node);
    }
    if (sorted)
        std::sort(all.begin(), all.end(), [this](u32 a, u32 b) { return name_of(a) < name_of(b); });
    return all;
}

void IniTree::write(JsonWriter& writer, bool sorted) const {
    write_object(writer, kFile, sorted);
}

// NOLINTNEXTLINE(misc-no-recursion): three levels at most.
void IniTree::write_object(JsonWriter& writer, u32 object, bool sorted) const {
    writer.add(Token::open_object, "{");
    for (u32 node : children(object, sorted)) {
        writer.add(Token::key, encode_string(name_of(node)));
        if (nodes_[node].is_object != 0)
            write_object(writer, node, sorted);
        else
            write_values(writer, node);
    }
    writer.add(Token::close_object, "}");
}

void IniTree::write_values(JsonWriter& writer, u32 first) const {
    const u32 last = nodes_[first].link;
    if (last != first)
        writer.add(Token::open_array, "[");
    writer.add(Token::string, encode_string(value_of(first)));
    for (u32 line = first; line != last;) {
        line = nodes_[line == first ? last : line].link;
        writer.add(Token::string, encode_string(value_of(line)));
    }
    if (last != first)
        writer.add(Token::close_array, "]");
}

}  // namespace tool
