// An INI file converted to JSON without losing any of its sections, keys or values.
#pragma once

#include <deque>
#include <vector>

#include "ini_file.h"
#include "json_writer.h"

namespace tool {

// The form is {section: {key: value}}. A section with an argument is an object within its section's object:
// {section: {argument: {key: value}}}. Values are strings; a key that occurs several times has an array of
// all its values. If a section has both a key and an argument of the same name, a Failure reports the
// position.
//
// Names and values are read from the text, which must outlive the tree. Each distinct name takes 16 bytes,
// plus 5 to 9 for the lookup table; each further line of a key takes 8 bytes.
class IniTree {
  public:
    explicit IniTree(const Input& input);

    void write(JsonWriter& writer, bool sorted) const;

  private:
    static constexpr u32 kNone = 0xFFFFFFFF;

    // An object (the file, a section, an argument), or a key with its first line.
    struct Node {
        u32 offset;    // of the name
        u32 link;      // the last child, or the last further line; kNone if none
        u32 next = 0;  // the previous child of the same object: the list runs from last to first
        u32 holder : 31 = 0;
        u32 is_object : 1 = 0;
    };
    // A further line of a key.
    struct Line {
        u32 offset;  // of the name
        u32 next;    // the previous further line of the same key: the list runs from last to first
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
