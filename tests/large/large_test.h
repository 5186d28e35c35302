// Shared by tests of sizes beyond 31 and 32 bits: large texts, streams that generate or discard their data,
// and a check for leaks. A test allocates at most 14 GB at once and frees early what it no longer needs.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "ke_utils/types.h"
#include "support/alloc_faults.h"
#include "support/pipes.h"

constexpr size_t k2G = size_t{1} << 31;
constexpr size_t k4G = size_t{1} << 32;
// Sizes at which a 31-bit or a 32-bit count would have wrapped to a small number.
constexpr size_t kLarge[] = {k2G + 5, k4G + 5};

// A fixture that checks that no block of memory is left.
class Large : public testing::Test {
  protected:
    void SetUp() override { before_ = live_blocks(); }
    void TearDown() override { EXPECT_EQ(live_blocks(), before_); }

  private:
    long before_ = 0;
};

// A text of `size` equal bytes and a NUL.
class Text {
  public:
    Text(size_t size, char fill) : size_(size), data_(static_cast<char*>(malloc(size + 1))) {
        if (data_ == nullptr)
            abort();  // this machine is too small
        memset(data_, fill, size);
        data_[size] = '\0';
    }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    ~Text() { release(); }
    void release() {
        free(data_);
        data_ = nullptr;
    }

    char* data() const { return data_; }
    size_t size() const { return size_; }
    char* end() const { return data_ + size_; }
    char& operator[](size_t at) { return data_[at]; }
    // Replaces its last bytes.
    Text& ending(const std::string& tail) {
        memcpy(end() - tail.size(), tail.data(), tail.size());
        return *this;
    }
    Text& beginning(const std::string& head) {
        memcpy(data_, head.data(), head.size());
        return *this;
    }

  private:
    size_t size_;
    char* data_;
};

// Returns whether `size` bytes all equal `fill`.
inline bool is_all(const char* bytes, size_t size, char fill) {
    return size == 0 || (bytes[0] == fill && memcmp(bytes, bytes + 1, size - 1) == 0);
}

// A stream for reading: some bytes, `count` equal ones, and some more, which a thread writes into a pipe.
class Source {
  public:
    Source(const std::string& head, size_t count, char fill, const std::string& tail)
        : pipe_(1 << 20), writer_([=, this] { write(head, count, fill, tail); }) {}
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    // Reads what the test has left unread, because the writer waits for that.
    ~Source() {
        rest();
        writer_.join();
    }
    FILE* stream() { return pipe_.reader; }
    std::string rest() {
        std::string left;
        for (int c = getc(stream()); c != EOF; c = getc(stream())) {
            if (left.size() < 100)
                left += static_cast<char>(c);
        }
        return left;
    }

  private:
    void write(const std::string& head, size_t count, char fill, const std::string& tail) {
        const std::string block(size_t{1} << 20, fill);
        fwrite(head.data(), 1, head.size(), pipe_.writer);
        for (size_t some = 0; count != 0; count -= some) {
            some = count < block.size() ? count : block.size();
            fwrite(block.data(), 1, some, pipe_.writer);
        }
        fwrite(tail.data(), 1, tail.size(), pipe_.writer);
        Pipe::close(&pipe_.writer);
    }

    Pipe pipe_;
    std::thread writer_;
};

// A stream for writing. A thread counts its bytes and those that equal `fill`, and keeps the first others.
class Sink {
  public:
    explicit Sink(char fill) : pipe_(1 << 20), reader_([=, this] { read(fill); }) {}
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;
    ~Sink() { finish(); }
    FILE* stream() { return pipe_.writer; }
    // Closes the stream; after that, the counts are known.
    void finish() {
        if (!reader_.joinable())
            return;
        Pipe::close(&pipe_.writer);
        reader_.join();
    }
    size_t count() const { return count_; }
    size_t filled() const { return filled_; }
    // The first bytes that do not equal `fill`.
    const std::string& others() const { return others_; }

  private:
    void read(char fill) {
        std::string block(size_t{1} << 20, '\0');
        for (;;) {
            const size_t some = fread(block.data(), 1, block.size(), pipe_.reader);
            if (some == 0)
                return;
            count_ += some;
            if (is_all(block.data(), some, fill)) {
                filled_ += some;
                continue;
            }
            for (size_t i = 0; i != some; ++i) {
                if (block[i] == fill)
                    ++filled_;
                else if (others_.size() < 100)
                    others_ += block[i];
            }
        }
    }

    size_t count_ = 0;
    size_t filled_ = 0;
    std::string others_;
    Pipe pipe_;
    std::thread reader_;
};

// A sparse file: `count` NUL bytes, which take no room on the disk, with some bytes before and after them.
class SparseFile {
  public:
    SparseFile(const std::string& head, size_t count, const std::string& tail);
    SparseFile(const SparseFile&) = delete;
    SparseFile& operator=(const SparseFile&) = delete;
    ~SparseFile();
    const char* name() const { return name_.c_str(); }

  private:
    std::string name_;
};
