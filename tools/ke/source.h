// A text that is read from front to back through a window of bytes, so that memory does not grow with the
// file; or one that is in memory already, whose window is the whole of it. A byte order mark is taken:
// that of UTF-8 is skipped, UTF-16 is turned into UTF-8 while it is read.
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

// A file or standard input ("-" or nothing) as it stands, bytes for bytes. Opening throws a Failure that
// says so for a folder; standard input from a terminal is announced on standard error.
class RawInput {
  public:
    RawInput(const std::string& argument, const Common& common);

    // Fills as much of the room as there are bytes; less only at the end. Throws on a read error.
    size_t read(char* to, size_t room);
    // Moves on without delivering; false if the input ends before.
    bool skip(u64 count);
    void close() { file_.reset(); }

    const std::string& name() const { return name_; }  // as messages show it
    const std::string& path() const { return path_; }  // empty for standard input
    u64 size() const { return size_; }                 // 0 where it is not known

  private:
    std::string name_, path_;
    File file_;  // empty for standard input
    u64 size_ = 0;
    u64 done_ = 0;
    std::unique_ptr<Progress> progress_;
};

// What a command needs of an input once it has been read: where it came from, and how it was encoded.
struct Input {
    std::string name;
    std::string path;
    std::string bytes;  // UTF-8 without a mark, where text was asked for
    Encoding encoding = Encoding::utf8;
};

class Source {
  public:
    // A text in memory, which must outlive the source. It has no byte order mark any more.
    Source(std::string name, std::string_view text);
    // A file or standard input, read as it is needed.
    Source(const std::string& argument, const Common& common);

    // The bytes at hand. Everything in front of `keep` may be gone after more(), and the rest may have
    // moved: only the offset of a byte stays.
    const char* begin() const { return begin_; }
    const char* end() const { return end_; }
    u64 offset_of(const char* p) const { return base_ + static_cast<u64>(p - begin_); }
    const char* at_offset(u64 offset) const { return begin_ + (offset - base_); }

    // Reads more behind end(); keeps what stands from `keep` on. False at the end of the input.
    bool more(const char* keep);

    // Says where in the user's file something is wrong. `p` is in the window.
    Failure failure(const char* p, i32 status, std::string_view found = {});
    Failure failure(const char* p, const std::string& message, int exit_status = kExitData);

    // Lets go of the file, which may then be replaced.
    void close();

    const std::string& name() const { return name_; }
    const std::string& path() const { return path_; }
    Encoding encoding() const { return encoding_; }
    u64 size() const { return raw_ ? raw_->size() : 0; }  // 0 where it is not known

  private:
    void take_mark();
    void append_decoded(std::string_view raw, bool last);
    u32 unit_at(std::string_view raw, size_t at) const;
    void drop(const char* keep);
    void see_after(const char* p);
    Excerpt excerpt() const;

    std::string name_, path_;
    std::unique_ptr<RawInput> raw_;  // empty for a text in memory
    std::vector<char> buffer_;
    std::string undecoded_;  // the odd byte and the first half of a pair
    const char* begin_;
    const char* end_;
    u64 base_ = 0;
    u64 lines_before_ = 0;
    u64 columns_before_ = 0;
    bool started_ = false;
    bool ended_ = false;
    Encoding encoding_ = Encoding::utf8;
};

// The whole of an input as text (see Source). Throws a Failure.
Input read_text(const std::string& argument, const Common& common);

}  // namespace tool
