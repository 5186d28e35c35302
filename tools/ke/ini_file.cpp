// See ini_file.h.
#include "ini_file.h"

#include <algorithm>

#include "json_edit.h"
#include "ke_utils.h"
#include "platform.h"

namespace tool {

namespace {

struct Handler {
    std::vector<IniSection> sections;
    WiqIniLocation mistake = {};
};

i32 add_section(const char* name, const WiqIniLocation* name_location, const char* argument,
                const WiqIniLocation* argument_location, void* user) {
    IniSection section;
    section.name = name;
    section.offset = name_location->offset;
    if (argument != nullptr) {
        section.argument = argument;
        section.argument_offset = argument_location->offset;
    }
    static_cast<Handler*>(user)->sections.push_back(std::move(section));
    return 0;
}

i32 add_key(const char* name, const WiqIniLocation* name_location, const char* value,
            const WiqIniLocation* value_location, void* user) {
    static_cast<Handler*>(user)->sections.back().keys.push_back(
        {name, value, name_location->offset, value_location->offset, value_location->length});
    return 0;
}

// The parser reads streams: standard input and files alike become one.
File stream_of(const std::string& text) {
    File stream(scratch_file());
    if (!stream || fwrite(text.data(), 1, text.size(), stream.get()) != text.size() ||
        fflush(stream.get()) != 0)
        throw failure("a temporary file", WIQ_ERR_IO);
    rewind(stream.get());
    return stream;
}

size_t line_start(const std::string& text, size_t offset) {
    return offset == 0 ? 0 : text.rfind('\n', offset - 1) + 1;  // npos + 1 is 0
}

// Where the line after the one of an offset starts.
size_t next_line(const std::string& text, size_t offset) {
    const size_t feed = text.find('\n', offset);
    return feed == std::string::npos ? text.size() : feed + 1;
}

std::string line_end_of(const std::string& text) {
    const size_t feed = text.find('\n');
    return feed != std::string::npos && feed > 0 && text[feed - 1] == '\r' ? "\r\n" : "\n";
}

bool is_quoted(const std::string& text, size_t value_offset) {
    return value_offset > 0 && text[value_offset - 1] == '"';
}

// A value as it is written; quotes only where it needs them, or has them.
std::string written(const std::string& value, bool quotes) {
    if (value.empty())
        throw Failure{"an INI file has no empty values; remove the key instead"};
    if (value.find_first_of(std::string_view("\"\r\n\0", 4)) != std::string::npos)
        throw Failure{"an INI file has no values with a double quote, a line break or a zero byte"};
    const bool plain = value.find_first_of("#;=[]") == std::string::npos &&
                       std::all_of(value.begin(), value.end(),
                                   [](char c) { return static_cast<u8>(c) > ' ' || c == ' '; }) &&
                       value.front() != ' ' && value.back() != ' ';
    return quotes || !plain ? "\"" + value + "\"" : value;
}

// A word: a section's name or a key.
void check_word(const std::string& what, const std::string& word) {
    const bool good = !word.empty() && std::all_of(word.begin(), word.end(), [](char c) {
        return static_cast<u8>(c) > ' ' && std::string_view("\"#;=[]").find(c) == std::string::npos;
    });
    if (!good)
        throw Failure{what + " \"" + word +
                      "\" cannot stand in an INI file: it is one word without \" # ; = [ ]"};
}

std::string new_section(const std::string& text, const IniName& name, const std::string& key,
                        const std::string& value) {
    const std::string end = line_end_of(text);
    std::string added = text.empty() || text.back() == '\n' ? "" : end;
    added += text.empty() ? "" : end;
    return text + added + name.header() + end + key + " = " + written(value, false) + end;
}

// The edit must be what was asked for, and the only change that the parser sees.
void verify(const Input& edited, const IniName& name, const std::string& key,
            const std::string& value) {
    std::string last;
    for (const IniSection& section : parse_ini(edited)) {
        for (const IniKey& entry : section.keys) {
            if (name.fits(section) && entry.name == key)
                last = entry.value;
        }
    }
    if (last != value)
        throw Failure{"the value \"" + value + "\" cannot be written in an INI file"};
}

}  // namespace

std::string IniName::header() const {
    return "[" + section + (argument ? " \"" + *argument + "\"" : "") + "]";
}

std::vector<IniSection> parse_ini(const Input& input) {
    const size_t zero = input.bytes.find('\0');
    if (zero != std::string::npos)
        throw failure_at(input.name, {input.bytes}, zero,
                         "a zero byte; an INI file is text, in UTF-8 or with a byte order mark");
    Handler handler;
    const File stream = stream_of(input.bytes);
    const i32 status = wiq_ini_parse(
        stream.get(), add_section, add_key,
        [](const WiqIniLocation* location, void* self) {
            static_cast<Handler*>(self)->mistake = *location;
        },
        &handler);
    if (status == WIQ_ERR_INI_SYNTAX) {
        size_t offset = 0;
        for (u32 line = 1; line < handler.mistake.line; ++line)
            offset = next_line(input.bytes, offset);
        throw failure_at(input.name, {input.bytes}, offset + handler.mistake.column - 1, status);
    }
    check(input.name, status);
    return std::move(handler.sections);
}

std::string set_in_ini(const Input& input, const IniName& name, const std::string& key,
                       const std::string& value) {
    check_word("the section", name.section);
    check_word("the key", key);
    if (name.argument &&
        (name.argument->empty() || name.argument->find_first_of("\"\r\n") != std::string::npos))
        throw Failure{"the argument \"" + *name.argument + "\" cannot stand in an INI file"};
    const std::string& text = input.bytes;
    const std::vector<IniSection> sections = parse_ini(input);
    const IniSection* section = nullptr;
    const IniKey* found = nullptr;
    for (const IniSection& candidate : sections) {
        if (!name.fits(candidate))
            continue;
        section = &candidate;
        for (const IniKey& entry : candidate.keys)
            found = entry.name == key ? &entry : found;  // the last one counts
    }
    Input edited{input.name, "", "", Encoding::utf8};
    if (found != nullptr) {
        const bool quoted = is_quoted(text, found->value_offset);
        const size_t margin = quoted ? 1 : 0;
        edited.bytes = spliced(
            text, {{found->value_offset - margin,
                    found->value_offset + found->value_length + margin, written(value, quoted)}});
    } else if (section == nullptr) {
        edited.bytes = new_section(text, name, key, value);
    } else {
        // Behind the last key, indented and spaced like it.
        const bool any = !section->keys.empty();
        const size_t last = any ? section->keys.back().value_offset : section->offset;
        const size_t place = next_line(text, last);
        std::string line = key + " = ";
        if (any) {
            const IniKey& model = section->keys.back();
            const size_t start = line_start(text, model.offset);
            const size_t behind = model.offset + model.name.size();
            const size_t margin = is_quoted(text, model.value_offset) ? 1 : 0;
            line = text.substr(start, model.offset - start) + key +
                   text.substr(behind, model.value_offset - margin - behind);
        }
        const std::string end = line_end_of(text);
        const bool unended = place == text.size() && text.back() != '\n';
        edited.bytes = spliced(
            text, {{place, place,
                    (unended ? end : "") + line + written(value, false) + (unended ? "" : end)}});
    }
    verify(edited, name, key, value);
    return edited.bytes;
}

std::string remove_from_ini(const Input& input, const IniName& name, const std::string& key) {
    const std::string& text = input.bytes;
    Splices cuts;
    bool found = false;
    for (const IniSection& section : parse_ini(input)) {
        if (!name.fits(section))
            continue;
        if (key.empty()) {
            // From the header to the last key; comments behind that may belong to what follows.
            const size_t last =
                section.keys.empty() ? section.offset : section.keys.back().value_offset;
            cuts.push_back({line_start(text, section.offset), next_line(text, last), ""});
        }
        found = found || key.empty();
        for (const IniKey& entry : section.keys) {
            if (key.empty() || entry.name != key)
                continue;
            found = true;
            cuts.push_back({line_start(text, entry.offset), next_line(text, entry.offset), ""});
        }
    }
    if (!found)
        throw failure(input.name + ": " + name.header() + (key.empty() ? "" : " " + key),
                      WIQ_ERR_KEY_NOT_FOUND);
    return spliced(text, cuts);
}

}  // namespace tool
