// Finds what a pointer points to while the tokens of a document pass by, and keeps only that. Of several
// members with the same key the last counts, so the answer is known only at the end of the document.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "json_pointer.h"
#include "json_writer.h"

namespace tool {

class PointerFinder {
  public:
    explicit PointerFinder(Pointer pointer);

    void add(Token token, std::string_view text);

    const Pointer& pointer() const { return pointer_; }
    bool found() const { return status_ == 0; }
    // The text of the value that was found, without blanks.
    const std::string& text() const { return text_; }
    // Returns a Failure that says how far the pointer could be followed.
    Failure failure() const;

  private:
    // An open container on the way to the value.
    struct Level {
        bool object;
        bool key_matches = false;
        bool any_match = false;
        bool has_members = false;
        bool only_references = true;  // its keys are all "$ref"
        bool last_is_string = false;
        u64 index = 0;
    };

    void start_value(Token token, std::string_view text);
    void end_container();
    void capture(Token token, std::string_view text);
    void miss(size_t step, i32 status);
    bool matches_here();

    Pointer pointer_;
    std::vector<Level> levels_;
    size_t off_depth_ = 0;      // open containers that are not on the way
    size_t capture_depth_ = 0;  // open containers within the value that is being kept
    bool capturing_ = false;
    std::string text_;
    std::unique_ptr<Sink> sink_;
    std::unique_ptr<JsonWriter> writer_;
    i32 status_;
    size_t step_ = 0;
};

}  // namespace tool
