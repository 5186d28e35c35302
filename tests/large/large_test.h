// What tests of sizes beyond 31 and 32 bits share: large texts, streams that come out of nothing or go nowhere,
// and the check that nothing is lost. A test has at most 14 GB at once and gives back early what it needs no more.
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
// Where a 31-bit and a 32-bit count would have wrapped to a small number.
constexpr size_t kLarge[] = {k2G + 5, k4G + 5};

// A fixture: no block of memory is left over.
class Large : public testing::Test {
  protected:
    void SetUp() override { before_ = live_blocks(); }
    void TearDown() override { EXPECT_EQ(live_blocks(), before_); }

  private:
    long before_ = 0;
};

// So many equal bytes and a NUL.
class Text {
  public:
    Text(size_t size, char fill) : size_(size), data_(static_cast<char*>(malloc(size + 1))) {
        if (data_ == nullptr)
            abort();  // a machine that is too small
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
    // Its last bytes become these.
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

// Whether `size` bytes are all the same.
inline bool is_all(const char* bytes, size_t size, char fill) {
    return size == 0 || (bytes[0] == fill && memcmp(bytes, bytes + 1, size - 1) == 0);
}

// A stream to read: some bytes, `count` equal ones, and some more, which a thread writes into a pipe.
class Source {
  public:
    Source(const std::string& head, size_t count, char fill, const std::string& tail)
        : pipe_(1 << 20), writer_([=, this] { write(head, count, fill, tail); }) {}
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    // Reads what the test has left, since the writer waits for it.
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

// A stream to write, of which a thread keeps the number of bytes, that of the `fill` among them, and the others.
class Sink {
  public:
    explicit Sink(char fill) : pipe_(1 << 20), reader_([=, this] { read(fill); }) {}
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;
    ~Sink() { finish(); }
    FILE* stream() { return pipe_.writer; }
    // Closes the stream; the figures are known from then on.
    void finish() {
        if (!reader_.joinable())
            return;
        Pipe::close(&pipe_.writer);
        reader_.join();
    }
    size_t count() const { return count_; }
    size_t filled() const { return filled_; }
    // The first of them.
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

// A file with a hole of `count` NUL bytes in it, which takes no room on the disk, and some bytes at both ends.
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
