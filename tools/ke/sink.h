// The destination of a command's output: standard output, the file of -o, or the input file itself. A file is
// replaced only by finish(); otherwise it is unchanged.
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
    // `input_path` is the file that --in-place replaces; empty if the input is not a file.
    Sink(const Common& common, const std::string& input_path);
    // Collects the text in a string instead, for output that is examined before it is written.
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

    // Whether output goes to a terminal and colours are not disabled.
    bool coloured() const { return coloured_; }

    // Writes the text in this encoding, with a byte order mark. Must be called before anything is written.
    void encode_as(Encoding encoding) { encoding_ = encoding; }

    // When this returns, all output is in its final place; otherwise it throws. If a command fails before it
    // has written 256 KiB, none of its output appears.
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
    std::unique_ptr<Replacement> file_;  // null for standard output
    Encoding encoding_ = Encoding::utf8;
    bool marked_ = false;
    bool coloured_ = false;
    std::string half_;  // the start of a character whose end has not arrived yet
};

// Writes one text to the destination that the options name.
void write_output(std::string_view text, const Common& common);

}  // namespace tool
