// The tool's edits of INI files: after a key is set or removed, the parser sees that change and no other.
#include "failure.h"
#include "ini_file.h"
#include "ini_json.h"
#include "input.h"
#include "json_equal.h"
#include "json_string.h"

namespace {

struct Entry {
    tool::IniName section;
    std::string key, value;
};

bool operator==(const Entry& a, const Entry& b) {
    return a.section.section == b.section.section && a.section.argument == b.section.argument &&
           a.key == b.key && a.value == b.value;
}

// A section without keys counts as an entry without a key.
std::vector<Entry> entries_of(const std::string& text) {
    std::vector<Entry> entries;
    tool::scan_ini(
        {"text", "", text, tool::Encoding::utf8},
        [&](const tool::IniSection& section) {
            tool::IniName name = {std::string(section.name), std::nullopt};
            if (section.argument)
                name.argument = std::string(*section.argument);
            entries.push_back({name, "", ""});
        },
        [&](const tool::IniKey& key) {
            entries.push_back(
                {entries.back().section, std::string(key.name), std::string(key.value)});
        });
    return entries;
}

bool is_in(const tool::IniName& a, const tool::IniName& b) {
    return a.section == b.section && a.argument == b.argument;
}

// Of several equal keys the last one counts. A new key goes to the end of the last section with that name,
// and a new section to the end of the file.
void set(std::vector<Entry>& entries, const Entry& wanted) {
    size_t found = entries.size();
    size_t behind = entries.size();
    bool section = false;
    for (size_t i = 0; i < entries.size(); ++i) {
        if (!is_in(entries[i].section, wanted.section))
            continue;
        section = true;
        behind = i + 1;
        if (entries[i].key == wanted.key)
            found = i;
    }
    if (found != entries.size()) {
        entries[found].value = wanted.value;
        return;
    }
    if (!section)
        entries.push_back({wanted.section, "", ""});
    entries.insert(entries.begin() + static_cast<ptrdiff_t>(section ? behind : entries.size()),
                   wanted);
}

void remove(std::vector<Entry>& entries, const Entry& wanted) {
    for (size_t i = entries.size(); i-- > 0;) {
        if (is_in(entries[i].section, wanted.section) &&
            (wanted.key.empty() || entries[i].key == wanted.key))
            entries.erase(entries.begin() + static_cast<ptrdiff_t>(i));
    }
}

void check_json(const std::string& text) {
    try {
        const tool::Input input{"text", "", text, tool::Encoding::utf8};
        const tool::IniTree tree(input);
        std::string plain;
        std::string sorted;
        for (std::string* json : {&plain, &sorted}) {
            tool::Sink sink(json);
            tool::JsonWriter writer(sink, tool::Layout());
            tree.write(writer, json == &sorted);
            sink.finish();
        }
        const tool::Document a("json", plain);
        const tool::Document b("sorted", sorted);
        CHECK(tool::is_equal(a, a.root(), b, b.root()));
        // Every value must be present.
        for (const Entry& entry : entries_of(text)) {
            if (!entry.key.empty())
                CHECK(plain.find(tool::encode_string(entry.value)) != std::string::npos);
        }
    } catch (const tool::Failure& failure) {
        // A name is both a key and an argument, or a text is not valid UTF-8.
        CHECK(!failure.message.empty());
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Input input(data, size);
    const u8 flags = input.byte();
    Entry wanted;
    wanted.section.section = input.line();
    const std::string argument = input.line();
    if ((flags & 1) != 0)
        wanted.section.argument = argument;
    wanted.key = input.line();
    wanted.value = input.line();
    const std::string text = input.rest();
    const tool::Input file{"text", "", text, tool::Encoding::utf8};
    std::vector<Entry> before;
    try {
        before = entries_of(text);
    } catch (const tool::Failure& failure) {
        CHECK(!failure.message.empty());
        return 0;
    }
    check_json(text);
    std::vector<Entry> expected = before;
    try {
        const std::string after = tool::set_in_ini(file, wanted.section, wanted.key, wanted.value);
        set(expected, wanted);
        CHECK(entries_of(after) == expected);
    } catch (const tool::Failure& failure) {
        CHECK(!failure.message.empty());
    }
    expected = before;
    remove(expected, wanted);
    try {
        const std::string after = tool::remove_from_ini(file, wanted.section, wanted.key);
        CHECK(expected.size() < before.size());
        CHECK(entries_of(after) == expected);
    } catch (const tool::Failure&) {
        CHECK(expected.size() == before.size());
    }
    return 0;
}
