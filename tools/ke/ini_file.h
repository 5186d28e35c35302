// An INI file as the library's parser reports it, with the place of every name and value, so that edits
// touch nothing else. Nothing is kept of what is reported: a command that looks for one key takes no more
// memory than the text.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "source.h"

namespace tool {

// What is reported are parts of the input's text, quotes left out.
struct IniSection {
    std::string_view name;
    std::optional<std::string_view> argument;
};

struct IniKey {
    std::string_view name;
    std::string_view value;
};

// A section as a user names it.
struct IniName {
    std::string section;
    std::optional<std::string> argument;

    bool fits(const IniSection& other) const {
        return section == other.name && argument.has_value() == other.argument.has_value() &&
               (!argument || *argument == *other.argument);
    }
    // "[drive "/dev/sda"]", as a header has it.
    std::string header() const;
};

// Reports each section and, behind it, each of its keys, in the order of the text. Throws a Failure that
// shows a mistake where it stands; what a report throws ends the scan and goes to the caller.
void scan_ini(const Input& input, const std::function<void(const IniSection& section)>& on_section,
              const std::function<void(const IniKey& key)>& on_key);

// Where a part of the input's text starts.
size_t offset_in(const Input& input, std::string_view part);

// The text with a key set: its value replaced, or the key added behind the section's last one, or the
// section at the end. Throws a Failure for what an INI file cannot hold.
std::string set_in_ini(const Input& input, const IniName& name, const std::string& key,
                       const std::string& value);
// The text without a key, or without a whole section if `key` is empty. Comments and what else stands in
// between stays.
std::string remove_from_ini(const Input& input, const IniName& name, const std::string& key);

}  // namespace tool
