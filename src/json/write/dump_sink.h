// Where the serializer writes: a string buffer, or a stream by way of a buffer. Both show the room
// that is left as a window: a few characters need one comparison and are written in place, and long
// runs are taken in one piece.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "containers/strbuf.h"
#include "os/os.h"

namespace ke::json {

template <class Derived>
class WindowSink {
  public:
    // Returns room for n characters, at least one, or nullptr with the status in failure(). Commit
    // what you wrote by passing its end to commit().
    char* room(size_t n) {
        return static_cast<size_t>(end_ - next_) >= n ? next_
                                                      : static_cast<Derived*>(this)->more_room(n);
    }
    void commit(char* end) { next_ = end; }
    i32 failure() const { return failure_; }

    i32 write(const char* bytes, size_t count) {
        char* out = room(count);
        if (out == nullptr)
            return failure_;
        memcpy(out, bytes, count);
        commit(out + count);
        return 0;
    }

  protected:
    // Sets the window to the unused room after the text in a buffer, without the byte that the NUL
    // needs. Returns its start.
    char* reset_window(wiq_strbuf* buf) {
        next_ = buf->data + buf->len;
        end_ = buf->data + (buf->capacity != 0 ? buf->capacity - 1 : 0);
        return next_;
    }
    u64 length_in(const wiq_strbuf* buf) const { return static_cast<u64>(next_ - buf->data); }
    i32 fail(i32 status) { return failure_ = status; }

  private:
    char* next_ = nullptr;
    char* end_ = nullptr;
    i32 failure_ = 0;
};

class StrbufSink : public WindowSink<StrbufSink> {
  public:
    // Whether a string that cannot be written whole must not be written at all.
    static constexpr bool kWholeStrings = false;

    explicit StrbufSink(wiq_strbuf* buf) : buf_(buf) { reset_window(buf_); }

    char* more_room(size_t n) {
        buf_->len = length_in(buf_);
        if (n == UINT64_MAX || strbuf_reserve(buf_, n + 1) != 0) {
            fail(WIQ_ERR_NO_MEMORY);
            return nullptr;
        }
        return reset_window(buf_);
    }
    // Terminates the text, also after a dump that failed midway.
    i32 finish() {
        buf_->len = length_in(buf_);
        if (buf_->data != nullptr)
            buf_->data[buf_->len] = '\0';
        return 0;
    }

  private:
    wiq_strbuf* buf_;
};

class StreamSink : public WindowSink<StreamSink> {
  public:
    static constexpr bool kWholeStrings = true;

    // The caller has initialised the buffer. It grows to this size, and beyond that only for a
    // piece that needs more room at once.
    static constexpr u64 kBufferSize = u64{32} * 1024;

    StreamSink(FILE* stream, wiq_strbuf* buffer) : stream_(stream), buffer_(buffer) {
        reset_window(buffer_);
    }

    char* more_room(size_t n) {
        if (length_in(buffer_) + n >= kBufferSize && flush() != 0)
            return nullptr;
        buffer_->len = length_in(buffer_);
        if (strbuf_reserve(buffer_, n + 1) != 0) {
            fail(WIQ_ERR_NO_MEMORY);
            return nullptr;
        }
        return reset_window(buffer_);
    }

    i32 write(const char* bytes, size_t count) {
        if (count >= kBufferSize)
            return flush() != 0 ? failure() : put(bytes, count);
        return WindowSink::write(bytes, count);
    }
    // Passes on what is left, also after a dump that failed midway.
    i32 finish() { return flush(); }
    // Returns the number of bytes that the stream has accepted.
    u64 written() const { return written_; }

  private:
    i32 flush() {
        const u64 count = length_in(buffer_);
        buffer_->len = 0;
        reset_window(buffer_);
        return count == 0 ? 0 : put(buffer_->data, count);
    }
    i32 put(const char* bytes, size_t count) {
        if (os::write_stream(stream_, bytes, count) == count) {
            written_ += count;
            return 0;
        }
        return fail(EOF);  // as the printing functions of the runtime return
    }

    FILE* stream_;
    wiq_strbuf* buffer_;
    u64 written_ = 0;
};

}  // namespace ke::json
