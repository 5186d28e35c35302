// See ini_json.h.
#include "ini_json.h"

#include <memory>
#include <unordered_map>

#include "json_string.h"

namespace tool {

namespace {

// Something with a name, in the order in which names first came.
struct Entry {
    std::string name;
    std::vector<std::string> values;  // of a key, as JSON
    std::vector<Entry> entries;       // of a section
    // Of the entries, by name; a key has none.
    std::unique_ptr<std::unordered_map<std::string, size_t>> places;
    bool is_section = false;

    // Returns the entry with this name and adds it if it does not exist. The reference is valid until the next
    // entry is added.
    Entry& at(const std::string& wanted) {
        if (!places)
            places = std::make_unique<std::unordered_map<std::string, size_t>>();
        const auto [place, is_new] = places->try_emplace(wanted, entries.size());
        if (is_new) {
            entries.emplace_back();
            entries.back().name = wanted;
        }
        return entries[place->second];
    }
};

std::string json_of(const Input& input, const std::string& text, size_t offset) {
    try {
        return encode_string(text);
    } catch (const Failure& wrong) {
        throw failure_at(input.name, {input.bytes}, offset, wrong.message);
    }
}

Failure clash(const Input& input, size_t offset, const std::string& name) {
    return failure_at(
        input.name, {input.bytes}, offset,
        "\"" + name + "\" is both a key and an argument of the section; rename one of them");
}

// NOLINTNEXTLINE(misc-no-recursion): two levels at most.
void write(JsonWriter& writer, const Entry& entry) {
    writer.add(Token::key, encode_string(entry.name));
    if (entry.is_section) {
        writer.add(Token::open_object, "{");
        for (const Entry& inner : entry.entries)
            write(writer, inner);
        writer.add(Token::close_object, "}");
        return;
    }
    if (entry.values.size() > 1)
        writer.add(Token::open_array, "[");
    for (const std::string& value : entry.values)
        writer.add(Token::string, value);
    if (entry.values.size() > 1)
        writer.add(Token::close_array, "]");
}

}  // namespace

std::string ini_as_json(const Input& input) {
    Entry file;
    for (const IniSection& section : parse_ini(input)) {
        json_of(input, section.name, section.offset);
        Entry* holder = &file.at(section.name);
        holder->is_section = true;
        if (section.argument) {
            json_of(input, *section.argument, section.argument_offset);
            holder = &holder->at(*section.argument);
            if (!holder->values.empty())
                throw clash(input, section.argument_offset, *section.argument);
            holder->is_section = true;
        }
        for (const IniKey& key : section.keys) {
            json_of(input, key.name, key.offset);
            Entry& entry = holder->at(key.name);
            if (entry.is_section)
                throw clash(input, key.offset, key.name);
            entry.values.push_back(json_of(input, key.value, key.value_offset));
        }
    }
    std::string text;
    Sink sink(&text);
    Layout tight;
    tight.compact = true;
    JsonWriter writer(sink, tight);
    writer.add(Token::open_object, "{");
    for (const Entry& entry : file.entries)
        write(writer, entry);
    writer.add(Token::close_object, "}");
    sink.finish();
    return text;
}

}  // namespace tool
