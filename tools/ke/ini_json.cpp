// See ini_json.h.
#include "ini_json.h"

#include <map>

#include "json_string.h"

namespace tool {

namespace {

// Something with a name, in the order in which names first came.
struct Entry {
    std::string name;
    std::vector<std::string> values;  // of a key, as JSON
    std::vector<Entry> entries;       // of a section
    bool is_section = false;
};

class Entries {
  public:
    explicit Entries(std::vector<Entry>& list) : list_(list) {
        for (size_t i = 0; i < list.size(); ++i)
            places_[list[i].name] = i;
    }
    Entry& at(const std::string& name) {
        const auto [place, is_new] = places_.try_emplace(name, list_.size());
        if (is_new)
            list_.push_back({name, {}, {}, false});
        return list_[place->second];
    }

  private:
    std::vector<Entry>& list_;
    std::map<std::string, size_t> places_;
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
    std::vector<Entry> list;
    for (const IniSection& section : parse_ini(input)) {
        json_of(input, section.name, section.offset);
        Entry* holder = &Entries(list).at(section.name);
        holder->is_section = true;
        if (section.argument) {
            json_of(input, *section.argument, section.argument_offset);
            holder = &Entries(holder->entries).at(*section.argument);
            if (!holder->values.empty())
                throw clash(input, section.argument_offset, *section.argument);
            holder->is_section = true;
        }
        Entries keys(holder->entries);
        for (const IniKey& key : section.keys) {
            json_of(input, key.name, key.offset);
            Entry& entry = keys.at(key.name);
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
    for (const Entry& entry : list)
        write(writer, entry);
    writer.add(Token::close_object, "}");
    sink.finish();
    return text;
}

}  // namespace tool
