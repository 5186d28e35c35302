// See ini_json.h.
#include "ini_json.h"

#include <algorithm>

#include "json_string.h"

namespace tool {

namespace {

constexpr u32 kFile = 0;  // the node of the whole file

// Returns the name or word that starts here and that the parser has accepted.
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
    nodes_.push_back({0, kNone, 0, kFile, 1});
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
            const size_t before = nodes_.size();
            const u32 node = child(holder, key.name, false);
            if (nodes_.size() == before)
                add_line(node, key.name);
        });
}

// Checks, before anything is written, that a text can be a JSON string.
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

// Returns the child with this name and adds it if it does not exist.
u32 IniTree::child(u32 holder, std::string_view name, bool is_object) {
    if (nodes_.size() * 8 > slots_.size() * 7)
        grow();
    u32& slot = slot_of(holder, name);
    if (slot != kNone) {
        if ((nodes_[slot].is_object != 0) != is_object)
            throw clash(name);
        return slot;
    }
    const auto node = static_cast<u32>(nodes_.size());
    slot = node;
    Node& above = nodes_[holder];
    Node added = {static_cast<u32>(offset_in(input_, name)), kNone};
    added.holder = holder & 0x7FFFFFFF;
    added.is_object = is_object ? 1 : 0;
    added.next = above.link == kNone ? node : nodes_[above.link].next;
    if (above.link != kNone)
        nodes_[above.link].next = node;
    above.link = node;
    nodes_.push_back(added);
    return node;
}

void IniTree::add_line(u32 key, std::string_view name) {
    const auto line = static_cast<u32>(lines_.size());
    u32& last = nodes_[key].link;
    lines_.push_back(
        {static_cast<u32>(offset_in(input_, name)), last == kNone ? line : lines_[last].next});
    if (last != kNone)
        lines_[last].next = line;
    last = line;
}

u32& IniTree::slot_of(u32 holder, std::string_view name) {
    const size_t mask = slots_.size() - 1;
    size_t at = (std::hash<std::string_view>()(name) + holder * size_t{0x9E3779B1}) & mask;
    while (slots_[at] != kNone && (static_cast<u32>(nodes_[slots_[at]].holder) != holder ||
                                   name_at(nodes_[slots_[at]].offset) != name))
        at = (at + 1) & mask;
    return slots_[at];
}

void IniTree::grow() {
    const size_t size = std::max<size_t>(64, slots_.size() * 2);
    slots_ = {};  // frees the old table before the new one is allocated
    slots_.assign(size, kNone);
    for (u32 node = kFile + 1; node < nodes_.size(); ++node)
        slot_of(nodes_[node].holder, name_at(nodes_[node].offset)) = node;
}

std::string_view IniTree::name_at(u32 offset) const {
    const std::string_view text = input_.bytes;
    return is_quoted(text, offset) ? quoted_at(text, offset) : word_at(text, offset);
}

// Returns what follows a key's equals sign: a text in quotes, or everything up to a comment or the end of the
// line.
std::string_view IniTree::value_at(u32 offset) const {
    const std::string_view text = input_.bytes;
    const size_t equals = text.find('=', offset + name_at(offset).size());
    const size_t start = text.find_first_not_of(" \t", equals + 1);
    if (text[start] == '"')
        return quoted_at(text, start + 1);
    const size_t stop = std::min(text.find_first_of("#;\r\n", start), text.size());
    return text.substr(start, text.find_last_not_of(" \t", stop - 1) + 1 - start);
}

std::vector<u32> IniTree::sorted_children(u32 object) const {
    const u32 last = nodes_[object].link;
    size_t count = last == kNone ? 0 : 1;
    for (u32 node = last; node != kNone && nodes_[node].next != last; node = nodes_[node].next)
        ++count;
    std::vector<u32> all;
    all.reserve(count);
    for (u32 node = last; all.size() < count; all.push_back(node))
        node = nodes_[node].next;
    std::sort(all.begin(), all.end(), [this](u32 a, u32 b) {
        return name_at(nodes_[a].offset) < name_at(nodes_[b].offset);
    });
    return all;
}

void IniTree::write(JsonWriter& writer, bool sorted) const {
    write_object(writer, kFile, sorted);
}

// NOLINTNEXTLINE(misc-no-recursion): at most three levels.
void IniTree::write_object(JsonWriter& writer, u32 object, bool sorted) const {
    writer.add(Token::open_object, "{");
    const u32 last = nodes_[object].link;
    if (sorted) {
        for (u32 node : sorted_children(object))
            write_member(writer, node, sorted);
    } else if (last != kNone) {
        u32 node = last;
        do {
            node = nodes_[node].next;
            write_member(writer, node, sorted);
        } while (node != last);
    }
    writer.add(Token::close_object, "}");
}

// NOLINTNEXTLINE(misc-no-recursion): see above.
void IniTree::write_member(JsonWriter& writer, u32 node, bool sorted) const {
    writer.add(Token::key, encode_string(name_at(nodes_[node].offset)));
    if (nodes_[node].is_object != 0)
        write_object(writer, node, sorted);
    else
        write_values(writer, nodes_[node]);
}

void IniTree::write_values(JsonWriter& writer, const Node& key) const {
    const u32 last = key.link;
    if (last == kNone)
        return writer.add(Token::string, encode_string(value_at(key.offset)));
    writer.add(Token::open_array, "[");
    writer.add(Token::string, encode_string(value_at(key.offset)));
    u32 line = last;
    do {
        line = lines_[line].next;
        writer.add(Token::string, encode_string(value_at(lines_[line].offset)));
    } while (line != last);
    writer.add(Token::close_array, "]");
}

}  // namespace tool
