// See sink.h.
#include "sink.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "failure.h"
#include "ke_utils.h"
#include "platform.h"
#include "utf8_text.h"

namespace tool {

namespace {

std::string_view mark_of(Encoding encoding) {
    switch (encoding) {
        case Encoding::utf8_with_mark:
            return "\xEF\xBB\xBF";
        case Encoding::utf16_little:
            return "\xFF\xFE";
        case Encoding::utf16_big:
            return "\xFE\xFF";
        default:
            return "";
    }
}

}  // namespace

Sink::Sink(const Common& common, const std::string& input_path) {
    if (common.in_place && input_path.empty())
        throw Failure{"--in-place needs a FILE to replace; standard input is none", kExitUsage};
    const std::string& target = common.in_place ? input_path : common.output;
    if (!target.empty() && target != "-")
        file_ = std::make_unique<Replacement>(target);
    buffer_.reserve(kRoom);
    const char* plain = getenv("NO_COLOR");
    coloured_ = !file_ && stdout_is_terminal() && (plain == nullptr || plain[0] == '\0');
}

void Sink::fill(char c, size_t count) {
    while (count > kRoom - buffer_.size()) {
        const size_t room = kRoom - buffer_.size();
        buffer_.append(room, c);
        count -= room;
        flush_buffer();
    }
    buffer_.append(count, c);
}

void Sink::write_past_buffer(std::string_view text) {
    flush_buffer();
    if (text.size() < kRoom)
        buffer_ += text;
    else
        deliver(text);
}

void Sink::flush_buffer() {
    deliver(buffer_);
    buffer_.clear();
}

void Sink::deliver(std::string_view text) {
    if (!marked_) {
        marked_ = true;
        deliver_bytes(mark_of(encoding_));
    }
    if (encoding_ == Encoding::utf16_little || encoding_ == Encoding::utf16_big)
        deliver_utf16(text);
    else
        deliver_bytes(text);
}

// The text is valid UTF-8, but a piece may end in the middle of a character.
void Sink::deliver_utf16(std::string_view text) {
    half_ += text;
    std::string bytes;
    const auto add_unit = [&](u32 unit) {
        const char low = static_cast<char>(unit);
        const char high = static_cast<char>(unit >> 8);
        bytes += encoding_ == Encoding::utf16_little ? low : high;
        bytes += encoding_ == Encoding::utf16_little ? high : low;
    };
    size_t at = 0;
    while (at < half_.size()) {
        const size_t length = std::max<u32>(1, wiq_utf8_char_sz(static_cast<u8>(half_[at])));
        if (at + length > half_.size())
            break;
        const u32 code_point = code_point_of(std::string_view(half_).substr(at, length));
        if (code_point >= 0x10000) {
            add_unit(0xD800 + ((code_point - 0x10000) >> 10));
            add_unit(0xDC00 + ((code_point - 0x10000) & 0x3FF));
        } else {
            add_unit(code_point);
        }
        at += length;
    }
    half_.erase(0, at);
    deliver_bytes(bytes);
}

void Sink::deliver_bytes(std::string_view bytes) {
    if (bytes.empty())
        return;
    if (text_ != nullptr)
        *text_ += bytes;
    else if (file_)
        file_->write(bytes.data(), bytes.size());
    else if (fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size())
        throw failure("standard output", WIQ_ERR_IO);
}

void Sink::finish() {
    flush_buffer();
    if (!half_.empty())
        throw Failure{"the text ends within a character, which UTF-16 cannot hold"};
    if (file_)
        file_->commit();
    else if (text_ == nullptr && fflush(stdout) != 0)
        throw failure("standard output", WIQ_ERR_IO);
}

void write_output(std::string_view text, const Common& common) {
    Sink sink(common, "");
    sink.write(text);
    sink.finish();
}

}  // namespace tool
