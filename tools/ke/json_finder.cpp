// See json_finder.h.
#include "json_finder.h"

#include <utility>

#include "json_string.h"
#include "ke_utils/core.h"

namespace tool {

PointerFinder::PointerFinder(Pointer pointer)
    : pointer_(std::move(pointer)), status_(WIQ_ERR_KEY_NOT_FOUND) {}

Failure PointerFinder::failure() const {
    return pointer_failure(pointer_, step_, status_);
}

void PointerFinder::miss(size_t step, i32 status) {
    step_ = step;
    status_ = status;
    text_.clear();
}

void PointerFinder::add(Token token, std::string_view text) {
    const bool opens = token == Token::open_object || token == Token::open_array;
    const bool closes = token == Token::close_object || token == Token::close_array;
    if (capturing_) {
        capture(token, text);
    } else if (off_depth_ != 0) {
        off_depth_ += opens ? 1 : 0;
        off_depth_ -= closes ? 1 : 0;
    } else if (closes) {
        end_container();
    } else if (token == Token::key) {
        Level& level = levels_.back();
        level.key_matches = stands_for(text, pointer_.steps[levels_.size() - 1].name);
        level.only_references = level.only_references && stands_for(text, "$ref");
    } else {
        start_value(token, text);
    }
}

// Returns whether the value that starts now matches the next step.
bool PointerFinder::matches_here() {
    Level& level = levels_.back();
    if (level.object)
        return level.key_matches;
    const Step& step = pointer_.steps[levels_.size() - 1];
    return level.index++ == step.index && step.is_index;
}

void PointerFinder::start_value(Token token, std::string_view text) {
    const bool opens = token == Token::open_object || token == Token::open_array;
    if (!levels_.empty()) {
        levels_.back().has_members = true;
        levels_.back().last_is_string = token == Token::string;
        if (!matches_here()) {
            off_depth_ = opens ? 1 : 0;
            return;
        }
        levels_.back().any_match = true;
    }
    if (levels_.size() == pointer_.steps.size()) {
        text_.clear();
        status_ = 0;
        sink_ = std::make_unique<Sink>(&text_);
        Layout tight;
        tight.compact = true;
        writer_ = std::make_unique<JsonWriter>(*sink_, tight);
        capturing_ = true;
        capture(token, text);
    } else if (opens) {
        levels_.push_back({token == Token::open_object});
    } else {
        miss(levels_.size(), WIQ_ERR_WRONG_TYPE);
    }
}

void PointerFinder::capture(Token token, std::string_view text) {
    writer_->add(token, text);
    if (token == Token::open_object || token == Token::open_array)
        ++capture_depth_;
    if (token == Token::close_object || token == Token::close_array)
        --capture_depth_;
    if (capture_depth_ != 0 || token == Token::key)
        return;
    sink_->finish();
    capturing_ = false;
}

void PointerFinder::end_container() {
    const Level level = levels_.back();
    levels_.pop_back();
    const size_t step = levels_.size();
    const Step& wanted = pointer_.steps[step];
    // An object that is a reference has no members.
    const bool reference =
        level.object && level.has_members && level.only_references && level.last_is_string;
    if (reference || (!level.object && !wanted.is_index && !wanted.is_append))
        miss(step, WIQ_ERR_WRONG_TYPE);
    else if (!level.any_match)
        miss(step, level.object ? WIQ_ERR_KEY_NOT_FOUND : WIQ_ERR_INDEX_OUT_OF_RANGE);
}

}  // namespace tool
