// An INI file as the library's parser reports it, with the place of every name and value, so that edits
// touch nothing else.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "source.h"

namespace tool {

struct IniKey {
    std::string name;
    std::string value;
    size_t offset = 0;        // of the name
    size_t value_offset = 0;  // of the text inside the quotes, if there are quotes
    size_t value_length = 0;
};

struct IniSection {
    std::string name;
    std::optional<std::string> argument;
    size_t offset = 0;  // of the name
    size_t argument_offset = 0;
    std::vector<IniKey> keys;
};

// A section as a user names it.
struct IniName {
    std::string section;
    std::optional<std::string> argument;

    bool fits(const IniSection& other) const {
        return section == other.name && argument == other.argument;
    }
    // "[drive "/dev/sda"]", as a header has it.
    std::string header() const;
};

// Parses; throws a Failure that shows a mistake where it stands.
std::vector<IniSection> parse_ini(const Input& input);

// The text with a key set: its value replaced, or the key added behind the section's last one, or the
// section at the end. Throws a Failure for what an INI file cannot hold.
std::string set_in_ini(const Input& input, const IniName& name, const std::string& key,
                       const std::string& value);
// The text without a key, or without a whole section if `key` is empty. Comments and what else stands in
// between stays.
std::string remove_from_ini(const Input& input, const IniName& name, const std::string& key);

}  // namespace tool
