// Reads JSON text from an open stream. The stream is locked as long as the reader lives, and is
// left as if every byte had come by fgetc(): nothing beyond the byte after a token is read. Where
// the runtime shows the stream's buffer, the text is read from there, a stretch at a time: all
// bytes that are in the buffer. Elsewhere each byte is a stretch of its own.
#pragma once

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "containers/strbuf.h"
#include "json/read/reader.h"
#include "os/os.h"

namespace ke::json {

// What the reader asks of a stream.
struct SystemStream {
    FILE* file;

    void lock() const { os::lock_stream(file); }
    void unlock() const { os::unlock_stream(file); }
    int getc() const { return os::getc_locked(file); }
    os::BufferedBytes buffered() const { return os::buffered_bytes(file); }
    void skip(const char* end) const { os::skip_buffered(file, end); }
};

// The stream is an argument of the template so that a test can choose the stretches, also where the
// runtime does not show the stream's buffer.
//
// Invariants: the bytes from next_ to end_ have not been read yet; those of the stretch before
// next_ are ASCII. The text of the current token is what kept_ holds, followed by the bytes from
// token_ to next_. The counters cover everything before mark_.
template <class Stream>
class BasicStreamReader {
  public:
    // A text in the stream's buffer is gone after the next token.
    static constexpr bool kTextStays = false;

    template <class Handle>
    explicit BasicStreamReader(Handle* stream) : stream_{stream} {
        stream_.lock();
    }
    BasicStreamReader(const BasicStreamReader&) = delete;
    BasicStreamReader& operator=(const BasicStreamReader&) = delete;
    ~BasicStreamReader() {
        return_stretch();
        stream_.unlock();
        wiq_strbuf_finalize(&kept_);
    }

    int next() {
        if (next_ == end_ && !fetch_stretch())
            return state_;
        if (static_cast<i8>(*next_) <= 0)
            return next_special();
        return *next_++;
    }
    // Takes back the byte that next() has just returned. Only values above 0 can be taken back, so
    // a NUL stays consumed. To the stream the byte counts as read all the same.
    void unread(int c) {
        if (c > 0) {
            read_to_ = next_;
            --next_;
        }
    }

    int first_of_token() {
        kept_.len = 0;
        do {
            skip_blanks();
            token_ = next_;
        } while (next_ == end_ && fetch_stretch());
        return next();
    }
    // Returns the token as far as it was read. The text is valid until more is read.
    std::string_view token_text() {
        if (kept_.len == 0)
            return {token_, static_cast<size_t>(next_ - token_)};
        keep_token();
        return {kept_.data, kept_.len};
    }
    // True after an allocation for the token's text has failed.
    bool failed() const { return failed_; }

    bool take(char c) {
        if (next_ == end_ || *next_ != c)
            return false;
        ++next_;
        return true;
    }

    bool take_plain_string(const char** text, size_t* length) {
        return take_plain(&next_, end_, text, length);
    }

    // Reading a number always reads the byte after it, too, and takes it back. So that byte must be
    // in the stretch, and must not be a NUL, which cannot be taken back.
    QuickNumber take_number() {
        if (kept_.len != 0 || token_ >= number_limit_)
            return {};
        const QuickNumber number = read_number(token_, end_);
        if (number.kind == QuickNumber::kNone || *number.end == '\0')
            return {};
        next_ = number.end;
        read_to_ = next_ + 1;
        return number;
    }

    void skip_digits() {
        while (next_ != end_ && is_digit(*next_))
            ++next_;
    }

    bool skip_unicode_escape() {
        if (end_ - next_ <= 4 || !is_unicode_escape(next_))
            return false;
        next_ += 5;
        return true;
    }

    void skip_plain() { next_ = skip_plain_ascii(next_, end_); }

    Location location() const {
        Counters now = counters_;
        now.add(mark_, next_);
        return {capped(now.line), capped(now.column), capped(now.offset)};
    }
    i32 offset() const { return capped(counters_.offset + (next_ - mark_)); }

  private:
    struct Counters {
        i64 line = 1;
        i64 column = 0;
        i64 offset = 0;

        // Counts ASCII text, in which every byte is a character.
        void add(const char* first, const char* last) {
            offset += last - first;
            while (first != last) {
                const void* feed = memchr(first, '\n', static_cast<size_t>(last - first));
                if (feed == nullptr) {
                    column += last - first;
                    return;
                }
                ++line;
                column = 0;
                first = static_cast<const char*>(feed) + 1;
            }
        }
    };

    void skip_blanks() {
        while (next_ != end_) {
            if (*next_ == ' ')
                next_ = skip_spaces_before(next_, end_);
            else if (*next_ == '\n' || *next_ == '\r' || *next_ == '\t')
                ++next_;
            else
                return;
        }
    }

    // Goes on to the next stretch after all of one has been read. Returns false at the end of the
    // text or after invalid UTF-8; next() then returns state_.
    bool fetch_stretch() {
        if (state_ != 0)
            return false;
        keep_token();
        return_stretch();
        os::BufferedBytes bytes = stream_.buffered();
        in_buffer_ = bytes.first != bytes.last;
        if (!in_buffer_) {
            const int c = stream_.getc();
            if (c == EOF) {
                state_ = WIQ_ERR_EOF;
                return false;
            }
            single_[0] = static_cast<char>(c);
            bytes = {single_, single_ + 1};
        }
        start_stretch(bytes.first, bytes.last);
        return true;
    }

    void start_stretch(const char* first, const char* last) {
        next_ = token_ = mark_ = read_to_ = first;
        end_ = number_limit_ = last;
        // Afterwards the byte before number_limit_ ends every number that begins before it.
        while (number_limit_ != first && is_of_number(number_limit_[-1]))
            --number_limit_;
    }

    static bool is_of_number(char c) {
        return is_digit(c) || c == '.' || c == 'e' || c == 'E' || c == '+' || c == '-';
    }

    // Counts what was read of the stretch, and marks it as read in the stream's buffer.
    void return_stretch() {
        counters_.add(mark_, next_);
        mark_ = next_;
        if (in_buffer_)
            stream_.skip(std::max(next_, read_to_));
    }

    // Reads a NUL, which is consumed but is not part of a token's text, or a byte beyond ASCII.
    int next_special() {
        keep_token();
        const u8 byte = static_cast<u8>(*next_);
        if (byte == 0) {
            token_ = ++next_;
            return 0;
        }
        // The sequence is read from the stream, since the stretch may end in the middle of it.
        return_stretch();
        if (in_buffer_)
            stream_.skip(next_ + 1);
        in_buffer_ = false;
        start_stretch(single_, single_);
        return fetch_sequence(byte);
    }

    // Reads a whole sequence, as long as its first byte says it is, and then checks it.
    int fetch_sequence(u8 lead) {
        const u32 length = utf8_length(lead);
        u8 sequence[4] = {lead};
        for (u32 i = 1; i < length; ++i) {
            const int c = stream_.getc();
            if (c == EOF)
                return state_ = WIQ_ERR_JSON_BAD_UTF8;
            sequence[i] = static_cast<u8>(c);
        }
        if (!utf8_valid_sequence(sequence, length))
            return state_ = WIQ_ERR_JSON_BAD_UTF8;
        ++counters_.offset;
        ++counters_.column;
        const char byte = static_cast<char>(lead);
        keep(&byte, &byte + 1);
        return static_cast<i8>(lead);
    }

    // Moves the part of the token's text that is in the stretch to kept_.
    void keep_token() {
        keep(token_, next_);
        token_ = next_;
    }

    void keep(const char* first, const char* last) {
        const auto count = static_cast<u64>(last - first);
        if (count == 0)
            return;
        if (strbuf_reserve(&kept_, count + 1) != 0) {
            failed_ = true;
            return;
        }
        memcpy(kept_.data + kept_.len, first, count);
        kept_.len += count;
    }

    Stream stream_;
    const char* next_ = single_;
    const char* end_ = single_;
    const char* token_ = single_;
    const char* mark_ = single_;
    const char* read_to_ = single_;       // after the byte that was taken back last
    const char* number_limit_ = single_;  // a number that begins before this ends in the stretch
    bool in_buffer_ = false;              // the stretch lies in the stream's buffer, not in single_
    bool failed_ = false;
    char single_[1] = {};
    int state_ = 0;  // 0, or the status that next() returns from now on
    wiq_strbuf kept_ = {};
    Counters counters_;
};

using StreamReader = BasicStreamReader<SystemStream>;

}  // namespace ke::json
