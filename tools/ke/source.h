// A text that is read from front to back through a window of bytes, so that memory does not grow with the
// size of the file; or a text in memory, whose window is all of it. A UTF-8 byte order mark is skipped;
// UTF-16 with a byte order mark is converted to UTF-8 while it is read.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common.h"
#include "failure.h"
#include "ke_utils/types.h"
#include "progress.h"

namespace tool {

enum class Encoding { utf8, utf8_with_mark, utf16_little, utf16_big };

struct CloseFile {
    void operator()(FILE* fp) const { fclose(fp); }
};
using File = std::unique_ptr<FILE, CloseFile>;

// The unchanged bytes of a file or of standard input ("-" or no argument). Opening a folder throws a Failure
// that says so. If standard input is a terminal, a message on standard error says that it is being read.
class RawInput {
  public:
    RawInput(const std::string& argument, const Common& common);

    // Fills the buffer; reads less only at the end of the input. Throws on a read error.
    size_t read(char* to, size_t room);
    // Skips bytes; returns false if the input ends before that.
    bool skip(u64 count);
    void close() { file_.reset(); }

    const std::string& name() const { return name_; }  // as messages show it
    const std::string& path() const { return path_; }  // empty for standard input
    u64 size() const { return size_; }                 // 0 where it is not known

  private:
    std::string name_, path_;
    File file_;  // null for standard input
    u64 size_ = 0;
    u64 done_ = 0;
    std::unique_ptr<Progress> progress_;
};

// An input that has been read completely: where it came from, its bytes, and how it was encoded.
struct Input {
    std::string name;
    std::string path;
    std::string bytes;  // UTF-8 without a byte order mark if text was asked for
    Encoding encoding = Encoding::utf8;
};

class Source {
  public:
    // A text in memory, which must outlive the source and have no byte order mark.
    Source(std::string name, std::string_view text);
    // A file or standard input, read as needed.
    Source(const std::string& argument, const Common& common);

    // The bytes in memory. more() may discard everything before `keep` and move the rest, so only a byte's
    // offset remains valid.
    const char* begin() const { return begin_; }
    const char* end() const { return end_; }
    u64 offset_of(const char* p) const { return base_ + static_cast<u64>(p - begin_); }
    const char* at_offset(u64 offset) const { return begin_ + (offset - base_); }

    // Reads more text after end(), keeping the bytes from `keep` on. Returns false at the end of the input.
    bool more(const char* keep);

    // Return a Failure that shows the position in the user's file. `p` must be in the window.
    Failure failure(const char* p, i32 status, std::string_view found = {});
    Failure failure(const char* p, const std::string& message, int exit_status = kExitData);

    // Closes the file, which can then be replaced.
    void close();

    const std::string& name() const { return name_; }
    const std::string& path() const { return path_; }
    Encoding encoding() const { return encoding_; }
    u64 size() const { return raw_ ? raw_->size() : 0; }  // 0 where it is not known

  private:
    void skip_byte_order_mark();
    void append_decoded(std::string_view raw, bool last);
    u32 unit_at(std::string_view raw, size_t at) const;
    void drop(const char* keep);
    void see_after(const char* p);
    Excerpt excerpt() const;

    std::string name_, path_;
    std::unique_ptr<RawInput> raw_;  // null for a text in memory
    std::vector<char> buffer_;
    std::string undecoded_;  // an odd byte, or the first half of a surrogate pair
    const char* begin_;
    const char* end_;
    u64 base_ = 0;
    u64 lines_before_ = 0;
    u64 columns_before_ = 0;
    bool started_ = false;
    bool ended_ = false;
    Encoding encoding_ = Encoding::utf8;
};

// Returns the whole input as text (see Source). Throws a Failure.
Input read_text(const std::string& argument, const Common& common);

}  // namespace tool
