// Where the serializer writes to: a string buffer, or a stream by way of a block of its own. Both give
// room for a few characters to be written in place, and take long runs in one piece.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "containers/strbuf_core.h"

namespace ke::json {

class StrbufSink {
  public:
    explicit StrbufSink(wiq_strbuf* buf) : buf_(buf) {}

    // Room for n characters, or nullptr with failure() telling why. What is written there counts when
    // used() is told where it ends.
    char* room(size_t n) {
        return n < UINT64_MAX && strbuf_reserve(buf_, n + 1) == 0 ? buf_->data + buf_->len
                                                                  : nullptr;
    }
    void used(const char* end) { buf_->len = static_cast<u64>(end - buf_->data); }
    i32 failure() const { return WIQ_ERR_NO_MEMORY; }

    i32 write(const char* bytes, size_t count) {
        char* out = room(count);
        if (out == nullptr)
            return failure();
        memcpy(out, bytes, count);
        used(out + count);
        return 0;
    }
    // Terminates the text, also that of a dump that failed midway.
    i32 finish() {
        if (buf_->data != nullptr)
            buf_->data[buf_->len] = '\0';
        return 0;
    }

  private:
    wiq_strbuf* buf_;
};

class StreamSink {
  public:
    // The block is an initialised buffer of the caller's; it never holds more than kBlock.
    static constexpr u64 kBlock = u64{32} * 1024;

    StreamSink(FILE* stream, wiq_strbuf* block) : stream_(stream), block_(block) {}

    char* room(size_t n) {
        if (block_->len + n >= kBlock && flush() != 0)
            return nullptr;
        if (strbuf_reserve(block_, n + 1) != 0) {
            failure_ = WIQ_ERR_NO_MEMORY;
            return nullptr;
        }
        return block_->data + block_->len;
    }
    void used(const char* end) { block_->len = static_cast<u64>(end - block_->data); }
    i32 failure() const { return failure_; }

    i32 write(const char* bytes, size_t count) {
        if (count >= kBlock)
            return flush() != 0 ? failure_ : put(bytes, count);
        char* out = room(count);
        if (out == nullptr)
            return failure_;
        memcpy(out, bytes, count);
        used(out + count);
        return 0;
    }
    // Hands over what is left, also that of a dump that failed midway.
    i32 finish() { return flush(); }
    // Bytes that the stream has taken.
    u64 written() const { return written_; }

  private:
    i32 flush() {
        const u64 count = block_->len;
        block_->len = 0;
        return count == 0 ? 0 : put(block_->data, count);
    }
    i32 put(const char* bytes, size_t count) {
        if (fwrite(bytes, 1, count, stream_) == count) {
            written_ += count;
            return 0;
        }
        failure_ = EOF;  // what the runtime's printing functions answer
        return failure_;
    }

    FILE* stream_;
    wiq_strbuf* block_;
    u64 written_ = 0;
    i32 failure_ = 0;
};

}  // namespace ke::json
