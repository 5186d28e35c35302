// An INI file as the library's parser reports it, with the position of every name and value, so that edits
// change nothing else. Reports are not stored: a command that looks for one key needs no more memory than the
// text.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "source.h"

namespace tool {

// The reported strings are views of the input's text, without quotes.
struct IniSection {
    std::string_view name;
    std::optional<std::string_view> argument;
};

struct IniKey {
    std::string_view name;
    std::string_view value;
};

// A section as the user names it.
struct IniName {
    std::string section;
    std::optional<std::string> argument;

    bool fits(const IniSection& other) const {
        return section == other.name && argument.has_value() == other.argument.has_value() &&
               (!argument || *argument == *other.argument);
    }
    // Returns the section's header: "[drive "/dev/sda"]".
    std::string header() const;
};

// Reports each section, followed by each of its keys, in the order of the text. Throws a Failure that shows
// the position of a mistake. If a callback throws, the scan stops and the exception is passed on to the
// caller.
void scan_ini(const Input& input, const std::function<void(const IniSection& section)>& on_section,
              const std::function<void(const IniKey& key)>& on_key);

// Returns where a part of the input's text starts.
size_t offset_in(const Input& input, std::string_view part);

// Returns the text with a key set: its value is replaced; or the key is added after the section's last key;
// or a new section is added at the end. Throws a Failure for a value that an INI file cannot hold.
std::string set_in_ini(const Input& input, const IniName& name, const std::string& key,
                       const std::string& value);
// Returns the text without a key, or without a whole section if `key` is empty. Comments and anything else
// between the removed lines remain.
std::string remove_from_ini(const Input& input, const IniName& name, const std::string& key);

}  // namespace tool
