// See ini_file.h.
#include "ini_file.h"

#include <algorithm>
#include <exception>
#include <limits>

#include "json_edit.h"
#include "json_string.h"
#include "ke_utils.h"
#include "platform.h"

namespace tool {

namespace {

using OnSection = std::function<void(const IniSection& section)>;
using OnKey = std::function<void(const IniKey& key)>;

// What the library's parser calls back. No exception may pass through the library, which is built without
// them.
struct Handler {
    std::string_view text;
    const OnSection& on_section;
    const OnKey& on_key;
    WiqIniLocation mistake = {};
    std::exception_ptr thrown = nullptr;

    std::string_view at(const WiqIniLocation& location) const {
        return text.substr(location.offset, location.length);
    }
    template <class Report>
    i32 guard(const Report& report) {
        try {
            report();
            return 0;
        } catch (...) {
            thrown = std::current_exception();
            return -1;
        }
    }
};

i32 take_section(const char*, const WiqIniLocation* name, const char* argument,
                 const WiqIniLocation* argument_location, void* user) {
    auto& handler = *static_cast<Handler*>(user);
    return handler.guard([&] {
        IniSection section = {handler.at(*name), std::nullopt};
        if (argument != nullptr)
            section.argument = handler.at(*argument_location);
        handler.on_section(section);
    });
}

i32 take_key(const char*, const WiqIniLocation* name, const char*, const WiqIniLocation* value,
             void* user) {
    auto& handler = *static_cast<Handler*>(user);
    return handler.guard([&] { handler.on_key({handler.at(*name), handler.at(*value)}); });
}

size_t line_start(const std::string& text, size_t offset) {
    return offset == 0 ? 0 : text.rfind('\n', offset - 1) + 1;  // npos + 1 is 0
}

// Returns where the next line after the one that contains the offset starts.
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

// Returns a value in the form that the file needs: with quotes if it requires them or had them before.
std::string written(const std::string& value, bool quotes) {
    if (value.empty())
        throw Failure{"an INI file cannot hold an empty value; remove the key instead"};
    if (value.find_first_of(std::string_view("\"\r\n\0", 4)) != std::string::npos)
        throw Failure{
            "an INI file cannot hold a value with a double quote, a line break or a zero byte"};
    const bool plain = value.find_first_of("#;=[]") == std::string::npos &&
                       std::all_of(value.begin(), value.end(),
                                   [](char c) { return static_cast<u8>(c) > ' ' || c == ' '; }) &&
                       value.front() != ' ' && value.back() != ' ';
    return quotes || !plain ? "\"" + value + "\"" : value;
}

// Checks a word: a section's name or a key.
void check_word(const std::string& what, const std::string& word) {
    const bool good = !word.empty() && std::all_of(word.begin(), word.end(), [](char c) {
        return static_cast<u8>(c) > ' ' && std::string_view("\"#;=[]").find(c) == std::string::npos;
    });
    if (!good)
        throw Failure{what + " \"" + word +
                      "\" cannot appear in an INI file: it must be one word without \" # ; = [ ]"};
}

std::string new_section(const std::string& text, const IniName& name, const std::string& key,
                        const std::string& value) {
    const std::string end = line_end_of(text);
    std::string added = text.empty() || text.back() == '\n' ? "" : end;
    added += text.empty() ? "" : end;
    return text + added + name.header() + end + key + " = " + written(value, false) + end;
}

// Adds a line after the section's last key, with the same indentation and spacing; after the header if the
// section has no keys.
Splice new_key(const Input& input, const IniSection& section, const std::optional<IniKey>& model,
               const std::string& key, const std::string& value) {
    const std::string& text = input.bytes;
    const size_t offset = next_line(text, offset_in(input, model ? model->value : section.name));
    std::string line = key + " = ";
    if (model) {
        const size_t name = offset_in(input, model->name);
        const size_t start = line_start(text, name);
        const size_t name_end = name + model->name.size();
        const size_t value_start = offset_in(input, model->value);
        const size_t margin = is_quoted(text, value_start) ? 1 : 0;
        line = text.substr(start, name - start) + key +
               text.substr(name_end, value_start - margin - name_end);
    }
    const std::string end = line_end_of(text);
    const bool unended = offset == text.size() && text.back() != '\n';
    return {offset, offset,
            (unended ? end : "") + line + written(value, false) + (unended ? "" : end)};
}

// Checks that the parser reads the requested value back from what was written.
void verify(const Input& edited, const IniName& name, const std::string& key,
            const std::string& value) {
    std::string last;
    bool inside = false;
    scan_ini(
        edited, [&](const IniSection& section) { inside = name.fits(section); },
        [&](const IniKey& entry) {
            if (inside && entry.name == key)
                last = entry.value;
        });
    if (last != value)
        throw Failure{"the value \"" + value + "\" cannot be written in an INI file"};
}

// Checks that a text can be written in a file of this encoding: a file with a byte order mark can contain
// only valid characters.
void check_characters(Encoding encoding, const std::string& text) {
    if (encoding != Encoding::utf8)
        encode_string(text);
}

}  // namespace

std::string IniName::header() const {
    return "[" + section + (argument ? " \"" + *argument + "\"" : "") + "]";
}

size_t offset_in(const Input& input, std::string_view part) {
    return static_cast<size_t>(part.data() - input.bytes.data());
}

void scan_ini(const Input& input, const OnSection& on_section, const OnKey& on_key) {
    const size_t zero = input.bytes.find('\0');
    if (zero != std::string::npos)
        throw failure_at(input.name, {input.bytes}, zero,
                         "a zero byte; an INI file is text, in UTF-8 or with a byte order mark");
    // The parser reports positions as 32-bit numbers.
    if (input.bytes.size() >= std::numeric_limits<u32>::max())
        throw Failure{input.name + ": has 4 GiB or more, too much for an INI file"};
    const File stream(stream_of(input.bytes));
    if (!stream)
        throw failure("a temporary file", WIQ_ERR_IO);
    Handler handler = {input.bytes, on_section, on_key};
    const i32 status = wiq_ini_parse(
        stream.get(), take_section, take_key,
        [](const WiqIniLocation* location, void* self) {
            static_cast<Handler*>(self)->mistake = *location;
        },
        &handler);
    if (handler.thrown)
        std::rethrow_exception(handler.thrown);
    if (status == WIQ_ERR_INI_SYNTAX) {
        size_t offset = 0;
        for (u32 line = 1; line < handler.mistake.line; ++line)
            offset = next_line(input.bytes, offset);
        throw failure_at(input.name, {input.bytes}, offset + handler.mistake.column - 1, status);
    }
    check(input.name, status);
}

std::string set_in_ini(const Input& input, const IniName& name, const std::string& key,
                       const std::string& value) {
    check_word("the section", name.section);
    check_word("the key", key);
    if (name.argument &&
        (name.argument->empty() || name.argument->find_first_of("\"\r\n") != std::string::npos))
        throw Failure{"the argument \"" + *name.argument + "\" cannot appear in an INI file"};
    for (const std::string& part : {name.section, name.argument.value_or(""), key, value})
        check_characters(input.encoding, part);
    const std::string& text = input.bytes;
    std::optional<IniSection> section;  // the last one that matches
    std::optional<IniKey> model;        // its last key
    std::optional<IniKey> found;        // the last one counts
    bool inside = false;
    scan_ini(
        input,
        [&](const IniSection& candidate) {
            inside = name.fits(candidate);
            if (!inside)
                return;
            section = candidate;
            model.reset();
        },
        [&](const IniKey& entry) {
            if (!inside)
                return;
            model = entry;
            if (entry.name == key)
                found = entry;
        });
    Input edited{input.name, "", "", Encoding::utf8};
    if (found) {
        const size_t start = offset_in(input, found->value);
        const bool quoted = is_quoted(text, start);
        const size_t margin = quoted ? 1 : 0;
        edited.bytes = spliced(
            text, {{start - margin, start + found->value.size() + margin, written(value, quoted)}});
    } else if (!section) {
        edited.bytes = new_section(text, name, key, value);
    } else {
        edited.bytes = spliced(text, {new_key(input, *section, model, key, value)});
    }
    verify(edited, name, key, value);
    return edited.bytes;
}

std::string remove_from_ini(const Input& input, const IniName& name, const std::string& key) {
    const std::string& text = input.bytes;
    const bool whole = key.empty();
    std::string left;
    size_t at = 0;  // the text before this has been copied to `left` or removed
    bool inside = false;
    bool found = false;
    const auto cut = [&](std::string_view part) {
        const size_t start = std::max(at, line_start(text, offset_in(input, part)));
        left.append(text, at, start - at);
        at = next_line(text, start);
        found = true;
    };
    scan_ini(
        input,
        [&](const IniSection& section) {
            inside = name.fits(section);
            if (inside && whole)
                cut(section.name);
        },
        [&](const IniKey& entry) {
            if (!inside)
                return;
            if (whole)
                // Remove from the header to the last key; comments after that may belong to what follows.
                at = next_line(text, offset_in(input, entry.name));
            else if (entry.name == key)
                cut(entry.name);
        });
    if (!found)
        throw failure(input.name + ": " + name.header() + (whole ? "" : " " + key),
                      WIQ_ERR_KEY_NOT_FOUND);
    left.append(text, at);
    return left;
}

}  // namespace tool
