// An INI file as JSON that loses none of its sections, keys and values.
#pragma once

#include <deque>
#include <vector>

#include "ini_file.h"
#include "json_writer.h"

namespace tool {

// {section: {key: value}}; a section with an argument is an object in its section's, {section: {argument:
// {key: value}}}. Values are strings; a key that comes several times has an array of all its values. A
// section's key with the name of an argument would be both: that is a Failure with its place.
//
// Names and values are read from the text, which must outlive the tree; a line of it takes 16 bytes, and
// what is found by its name some 5 to 9 bytes more.
class IniTree {
  public:
    explicit IniTree(const Input& input);

    void write(JsonWriter& writer, bool sorted) const;

  private:
    static constexpr u32 kNone = 0xFFFFFFFF;

    // An object (the file, a section, an argument), or a line with a value.
    struct Node {
        u32 offset;  // of the name
        // Of an object: its last child, or kNone. Of the first line of a key: the last one. Of the last line:
        // the second one, or itself if it is the first; of all others: the next one.
        u32 link;
        u32 next =
            kNone;  // the next child of the same object, from the last to the first; kNone: a later line
        u32 holder : 31 = 0;
        u32 is_object : 1 = 0;
    };

    u32 child(u32 holder, std::string_view name, bool is_object);
    u32 add_node(std::string_view name, bool is_object);
    void add_value(u32 first, std::string_view name);
    u32& slot_of(u32 holder, std::string_view name);
    void grow();
    void check_text(std::string_view text) const;
    Failure clash(std::string_view name) const;

    std::string_view name_of(u32 node) const;
    std::string_view value_of(u32 line) const;
    std::vector<u32> children(u32 object, bool sorted) const;
    void write_object(JsonWriter& writer, u32 object, bool sorted) const;
    void write_values(JsonWriter& writer, u32 first) const;

    const Input& input_;
    std::deque<Node> nodes_;
    std::vector<u32> slots_;  // nodes by holder and name
    size_t named_ = 0;        // slots in use
};

}  // namespace tool
