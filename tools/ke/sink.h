// Where a command's output goes: standard output, the file of -o, or the input's own file. A file is
// replaced when finish() is called, and stays as it was when that never happens.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "common.h"
#include "replace_file.h"
#include "source.h"

namespace tool {

class Sink {
  public:
    // `input_path` is the file that --in-place replaces; empty where the input is no file.
    Sink(const Common& common, const std::string& input_path);
    // Collects the text in a string, for what is to be looked at first.
    explicit Sink(std::string* text) : text_(text) {}
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;

    void write(std::string_view text) {
        if (text.size() > kRoom - buffer_.size())
            write_past_buffer(text);
        else
            buffer_ += text;
    }
    void put(char c) {
        if (buffer_.size() == kRoom)
            flush_buffer();
        buffer_ += c;
    }
    void fill(char c, size_t count);

    // Whether a person reads along on a terminal and has nothing against colours.
    bool coloured() const { return coloured_; }

    // The text is written in this encoding, with its mark. To be called before anything is written.
    void encode_as(Encoding encoding) { encoding_ = encoding; }

    // Everything is where it belongs when this returns; otherwise it throws. Text of a command that fails
    // before its first 256 KiB never gets out.
    void finish();

  private:
    static constexpr size_t kRoom = size_t{256} * 1024;

    void write_past_buffer(std::string_view text);
    void flush_buffer();
    void deliver(std::string_view text);
    void deliver_utf16(std::string_view text);
    void deliver_bytes(std::string_view bytes);

    std::string buffer_;
    std::string* text_ = nullptr;
    std::unique_ptr<Replacement> file_;  // empty for standard output
    Encoding encoding_ = Encoding::utf8;
    bool marked_ = false;
    bool coloured_ = false;
    std::string half_;  // the start of a character whose end is not here yet
};

// Writes one text where the options say.
void write_output(std::string_view text, const Common& common);

}  // namespace tool
