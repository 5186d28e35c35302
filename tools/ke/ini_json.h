// An INI file as JSON that loses none of its sections, keys and values.
#pragma once

#include "ini_file.h"
#include "json_writer.h"

namespace tool {

// {section: {key: value}}; a section with an argument is an object in its section's, {section: {argument:
// {key: value}}}. Values are strings; a key that comes several times has an array of all its values. A
// section's key with the name of an argument would be both: that is a Failure with its place.
std::string ini_as_json(const Input& input);

}  // namespace tool
