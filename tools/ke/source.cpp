// See source.h.
#include "source.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "input_limits.h"
#include "ke_utils.h"
#include "platform.h"
#include "utf8_text.h"

namespace tool {

namespace {

constexpr size_t kBlock = size_t{256} * 1024;
// This much text is kept before what is still needed, to be shown with a mistake.
constexpr size_t kContext = 256;

bool starts_with(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

}  // namespace

RawInput::RawInput(const std::string& argument, const Common& common) {
    if (argument.empty() || argument == "-" || argument == "/dev/stdin") {
        static bool is_taken = false;
        if (is_taken)
            throw Failure{"standard input is named twice; it can be read once", kExitUsage};
        is_taken = true;
        name_ = "standard input";
        if (argument.empty() && stdin_is_terminal() && !common.quiet) {
            fputs("ke: reading standard input from the terminal; name a FILE to read that\n",
                  stderr);
            fflush(stderr);
        }
        size_ = facts_of(stdin).size;
    } else {
        name_ = argument;
        path_ = argument;
        if (kind_of_path(argument) == FileKind::directory)
            throw Failure{argument + ": is a directory; name a file in it"};
        u32 err = 0;
        file_.reset(wiq_fopen(argument.c_str(), "rb", &err));
        if (!file_)
            throw tool::failure(argument, static_cast<i32>(err));
        size_ = facts_of(file_.get()).size;
    }
    progress_ = std::make_unique<Progress>(name_, size_, common);
}

size_t RawInput::read(char* to, size_t room) {
    FILE* fp = file_ ? file_.get() : stdin;
    const size_t count = fread(to, 1, room, fp);
    if (count < room && ferror(fp) != 0)
        throw tool::failure(name_, WIQ_ERR_IO);
    done_ += count;
    if (limits().size != 0 && done_ > limits().size)
        throw Failure{name_ + ": has more than the " + std::to_string(limits().size) +
                      " bytes that --max-size allows"};
    progress_->at(done_);
    return count;
}

bool RawInput::skip(u64 count) {
    if (file_ && size_ != 0) {
        done_ += count;
        return count <= size_ && seek_to(file_.get(), count);
    }
    std::vector<char> piece(kBlock);
    while (count != 0) {
        const size_t wanted = static_cast<size_t>(std::min<u64>(count, piece.size()));
        if (read(piece.data(), wanted) != wanted)
            return false;
        count -= wanted;
    }
    return true;
}

Source::Source(std::string name, std::string_view text)
    : name_(std::move(name)),
      begin_(text.data()),
      end_(text.data() + text.size()),
      started_(true),
      ended_(true) {}

Source::Source(const std::string& argument, const Common& common)
    : raw_(std::make_unique<RawInput>(argument, common)) {
    name_ = raw_->name();
    path_ = raw_->path();
    buffer_.resize(kBlock);
    begin_ = end_ = buffer_.data();
}

void Source::close() {
    if (raw_)
        raw_->close();
    ended_ = true;
}

// Discards what precedes `keep`, except for some context, and counts the discarded lines.
void Source::drop(const char* keep) {
    const size_t needless = static_cast<size_t>(keep - begin_);
    if (needless <= kContext)
        return;
    const char* first = keep - kContext;
    u64 lines = 0;
    const char* line_start = nullptr;
    for (const char* p = begin_; p < first;) {
        const void* found = memchr(p, '\n', static_cast<size_t>(first - p));
        if (found == nullptr)
            break;
        p = static_cast<const char*>(found) + 1;
        line_start = p;
        ++lines;
    }
    const auto is_start = [](char c) { return (static_cast<u8>(c) & 0xC0) != 0x80; };
    const char* from = line_start == nullptr ? begin_ : line_start;
    const auto columns = static_cast<u64>(std::count_if(from, first, is_start));
    lines_before_ += lines;
    columns_before_ = (line_start == nullptr ? columns_before_ : 0) + columns;
    base_ += static_cast<u64>(first - begin_);
    begin_ = first;
}

bool Source::more(const char* keep) {
    if (ended_)
        return false;
    drop(keep);
    const auto held = static_cast<size_t>(end_ - begin_);
    if (begin_ != buffer_.data())
        memmove(buffer_.data(), begin_, held);
    if (buffer_.size() - held < kBlock)
        buffer_.resize(std::max(held + kBlock, held * 2));
    begin_ = buffer_.data();
    end_ = begin_ + held;
    if (!started_)
        skip_byte_order_mark();
    if (end_ - begin_ > static_cast<std::ptrdiff_t>(held))
        return true;
    if (ended_)
        return false;
    if (encoding_ == Encoding::utf16_little || encoding_ == Encoding::utf16_big) {
        std::string raw(kBlock / 4, '\0');
        raw.resize(raw_->read(raw.data(), raw.size()));
        append_decoded(raw, raw.empty());
    } else {
        end_ += raw_->read(buffer_.data() + held, buffer_.size() - held);
    }
    if (end_ == begin_ + held)
        close();
    return !ended_;
}

// Reads the first bytes and recognises a byte order mark.
void Source::skip_byte_order_mark() {
    started_ = true;
    char first[4];
    const std::string_view mark(first, raw_->read(first, sizeof(first)));
    size_t skipped = 0;
    if (starts_with(mark, "\xEF\xBB\xBF")) {
        encoding_ = Encoding::utf8_with_mark;
        skipped = 3;
    } else if (mark == std::string_view("\xFF\xFE\0\0", 4) ||
               mark == std::string_view("\0\0\xFE\xFF", 4)) {
        throw Failure{name_ + ": is encoded in UTF-32; convert it to UTF-8"};
    } else if (starts_with(mark, "\xFF\xFE")) {
        encoding_ = Encoding::utf16_little;
        skipped = 2;
    } else if (starts_with(mark, "\xFE\xFF")) {
        encoding_ = Encoding::utf16_big;
        skipped = 2;
    }
    const std::string_view rest = mark.substr(skipped);
    if (skipped == 2) {
        append_decoded(rest, false);
    } else {
        memcpy(buffer_.data(), rest.data(), rest.size());
        end_ += rest.size();
    }
}

u32 Source::unit_at(std::string_view raw, size_t at) const {
    const u32 first = static_cast<u8>(raw[at]);
    const u32 second = static_cast<u8>(raw[at + 1]);
    return encoding_ == Encoding::utf16_little ? first | second << 8 : first << 8 | second;
}

void Source::append_decoded(std::string_view raw, bool last) {
    undecoded_ += raw;
    std::string text;
    size_t at = 0;
    const auto bad = [&] {
        memcpy(buffer_.data() + (end_ - begin_), text.data(), text.size());
        end_ += text.size();
        ended_ = true;  // nothing after it is to be shown
        return failure_at(name_, excerpt(), static_cast<size_t>(end_ - begin_),
                          "half a surrogate pair in UTF-16 text; save the file as UTF-8");
    };
    while (at + 2 <= undecoded_.size()) {
        const u32 unit = unit_at(undecoded_, at);
        if (unit < 0xD800 || unit > 0xDFFF) {
            append_utf8(text, unit);
            at += 2;
            continue;
        }
        if (at + 4 > undecoded_.size() && !last)
            break;
        const u32 low = at + 4 <= undecoded_.size() ? unit_at(undecoded_, at + 2) : 0;
        if (unit > 0xDBFF || low < 0xDC00 || low > 0xDFFF)
            throw bad();
        append_utf8(text, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
        at += 4;
    }
    undecoded_.erase(0, at);
    if (last && !undecoded_.empty())
        throw Failure{name_ + ": UTF-16 text ends within a character; get the whole file again"};
    memcpy(buffer_.data() + (end_ - begin_), text.data(), text.size());
    end_ += text.size();
}

Excerpt Source::excerpt() const {
    return {std::string_view(begin_, static_cast<size_t>(end_ - begin_)), lines_before_,
            columns_before_};
}

// Reads some text after `p`, because messages show the rest of the line, too.
void Source::see_after(const char* p) {
    const u64 offset = offset_of(p);
    while (end_ - at_offset(offset) < static_cast<std::ptrdiff_t>(kContext)) {
        if (!more(at_offset(offset)))
            break;
    }
}

Failure Source::failure(const char* p, i32 status, std::string_view found) {
    const std::string what(found);  // it may be a view of the window
    const u64 offset = offset_of(p);
    see_after(p);
    return failure_at(name_, excerpt(), static_cast<size_t>(offset - base_), status, what);
}

Failure Source::failure(const char* p, const std::string& message, int exit_status) {
    const u64 offset = offset_of(p);
    see_after(p);
    return failure_at(name_, excerpt(), static_cast<size_t>(offset - base_), message, exit_status);
}

Input read_text(const std::string& argument, const Common& common) {
    Source source(argument, common);
    Input input;
    input.name = source.name();
    input.path = source.path();
    input.bytes.reserve(static_cast<size_t>(source.size() + 1));
    while (source.more(source.end())) {
        const char* from = source.at_offset(input.bytes.size());
        input.bytes.append(from, static_cast<size_t>(source.end() - from));
    }
    input.encoding = source.encoding();
    return input;
}

}  // namespace tool
