// Where the serializer writes to: a string buffer, or a stream by way of a block of its own. Both show the
// room that is left as a window, so that a few characters are written in place with one comparison, and
// take long runs in one piece.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "containers/strbuf_core.h"
#include "os/os.h"

namespace ke::json {

template <class Derived>
class WindowSink {
  public:
    // Room for n characters, or nullptr with failure() telling why. What is written there counts when
    // used() is told where it ends.
    char* room(size_t n) {
        return static_cast<size_t>(end_ - next_) >= n ? next_
                                                      : static_cast<Derived*>(this)->more_room(n);
    }
    void used(char* end) { next_ = end; }
    i32 failure() const { return failure_; }

    i32 write(const char* bytes, size_t count) {
        char* out = room(count);
        if (out == nullptr)
            return failure_;
        memcpy(out, bytes, count);
        used(out + count);
        return 0;
    }

  protected:
    // The window: what is behind the text in a buffer, but for a byte that the NUL needs.
    char* look_at(wiq_strbuf* buf) {
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
    // Whether nothing is written of a string that cannot be written whole.
    static constexpr bool kWholeStrings = false;

    explicit StrbufSink(wiq_strbuf* buf) : buf_(buf) { look_at(buf_); }

    char* more_room(size_t n) {
        buf_->len = length_in(buf_);
        if (n == UINT64_MAX || strbuf_reserve(buf_, n + 1) != 0) {
            fail(WIQ_ERR_NO_MEMORY);
            return nullptr;
        }
        return look_at(buf_);
    }
    // Terminates the text, also that of a dump that failed midway.
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

    // The block is an initialised buffer of the caller's. It grows to this size, and beyond it only for a
    // piece that needs more in one go.
    static constexpr u64 kBlock = u64{32} * 1024;

    StreamSink(FILE* stream, wiq_strbuf* block) : stream_(stream), block_(block) {
        look_at(block_);
    }

    char* more_room(size_t n) {
        if (length_in(block_) + n >= kBlock && flush() != 0)
            return nullptr;
        block_->len = length_in(block_);
        if (strbuf_reserve(block_, n + 1) != 0) {
            fail(WIQ_ERR_NO_MEMORY);
            return nullptr;
        }
        return look_at(block_);
    }

    i32 write(const char* bytes, size_t count) {
        if (count >= kBlock)
            return flush() != 0 ? failure() : put(bytes, count);
        return WindowSink::write(bytes, count);
    }
    // Hands over what is left, also that of a dump that failed midway.
    i32 finish() { return flush(); }
    // Bytes that the stream has taken.
    u64 written() const { return written_; }

  private:
    i32 flush() {
        const u64 count = length_in(block_);
        block_->len = 0;
        look_at(block_);
        return count == 0 ? 0 : put(block_->data, count);
    }
    i32 put(const char* bytes, size_t count) {
        if (os::write_stream(stream_, bytes, count) == count) {
            written_ += count;
            return 0;
        }
        return fail(EOF);  // what the runtime's printing functions answer
    }

    FILE* stream_;
    wiq_strbuf* block_;
    u64 written_ = 0;
};

}  // namespace ke::json
