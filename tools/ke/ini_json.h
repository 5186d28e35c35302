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
// Names and values are read from the text, which must outlive the tree. What has a name of its own takes 16
// bytes and 5 to 9 to be found by it, each further line of a key 8 bytes.
class IniTree {
  public:
    explicit IniTree(const Input& input);

    void write(JsonWriter& writer, bool sorted) const;

  private:
    static constexpr u32 kNone = 0xFFFFFFFF;

    // An object (the file, a section, an argument), or a key with the line where it first stands.
    struct Node {
        u32 offset;  // of the name
        u32 link;  // the last child of an object, the last of a key's further lines; kNone: there is none
        u32 next = 0;  // the next child of the same object, from the last to the first
        u32 holder : 31 = 0;
        u32 is_object : 1 = 0;
    };
    // One more line of a key.
    struct Line {
        u32 offset;  // of the name
        u32 next;    // the next line of the same key, from the last to the first of these
    };

    u32 child(u32 holder, std::string_view name, bool is_object);
    void add_line(u32 key, std::string_view name);
    u32& slot_of(u32 holder, std::string_view name);
    void grow();
    void check_text(std::string_view text) const;
    Failure clash(std::string_view name) const;

    std::string_view name_at(u32 offset) const;
    std::string_view value_at(u32 offset) const;
    std::vector<u32> sorted_children(u32 object) const;
    void write_object(JsonWriter& writer, u32 object, bool sorted) const;
    void write_member(JsonWriter& writer, u32 node, bool sorted) const;
    void write_values(JsonWriter& writer, const Node& key) const;

    const Input& input_;
    std::deque<Node> nodes_;
    std::deque<Line> lines_;
    std::vector<u32> slots_;  // nodes by holder and name
};

}  // namespace tool
