// ke base64 encode, decode: convert bytes to text and back, piece by piece. The library's decoder accepts
// missing padding and ignores anything after it; the tool rejects both, because they are a sign of damaged
// text.
#include <algorithm>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "ke_utils.h"

namespace tool {

namespace {

struct EncodeArgs {
    std::string file;
    size_t wrap = 0;
};

// Writes text in lines of the given width; 0 means a single line.
class Lines {
  public:
    Lines(Sink& sink, size_t width) : sink_(sink), width_(width) {}

    void write(std::string_view text) {
        while (width_ != 0 && column_ + text.size() > width_) {
            const size_t count = width_ - column_;
            sink_.write(text.substr(0, count));
            sink_.put('\n');
            text.remove_prefix(count);
            column_ = 0;
        }
        sink_.write(text);
        column_ += text.size();
        any_ = any_ || !text.empty();
    }
    void finish() {
        if (column_ != 0 || !any_)
            sink_.put('\n');
        sink_.finish();
    }

  private:
    Sink& sink_;
    size_t width_;
    size_t column_ = 0;
    bool any_ = false;
};

int encode(const EncodeArgs& args, const Common& common) {
    RawInput input(args.file, common);
    Sink sink(common, "");
    Lines lines(sink, args.wrap);
    // The size of a piece is a multiple of 3, so only the last piece is padded.
    std::string bytes(size_t{3} << 16, '\0');
    std::string text(wiq_base64_encode_len(bytes.size()), '\0');
    for (;;) {
        const size_t count = input.read(bytes.data(), bytes.size());
        size_t length = text.size();
        check(input.name(), wiq_base64_encode(reinterpret_cast<const u8*>(bytes.data()), count,
                                              text.data(), &length));
        lines.write(std::string_view(text).substr(0, length));
        if (count < bytes.size())
            break;
    }
    input.close();  // the output may take its place
    lines.finish();
    return kExitOk;
}

bool is_digit(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' ||
           c == '/';
}

// Collects the characters of a base64 text and passes complete groups of four to the library.
class Decoder {
  public:
    Decoder(Source& source, Sink& sink) : source_(source), sink_(sink) {}

    void add(const char* p) {
        if (*p == '\n' || *p == '\r')
            return;
        if (*p == '=' && digits_.size() % 4 + padding_ < 4 && digits_.size() % 4 >= 2)
            ++padding_;
        else if (padding_ != 0)
            throw source_.failure(p,
                                  "something follows the padding of a base64 text, which is its "
                                  "end; cut the text there");
        else if (is_digit(*p))
            digits_ += *p;
        else if (*p == '=')
            throw source_.failure(p, "padding where a base64 text has nothing to pad");
        else
            throw source_.failure(p, WIQ_ERR_INVALID_VALUE, "no character of base64");
        if (digits_.size() == kPiece)
            decode();
    }

    void finish() {
        if ((digits_.size() + padding_) % 4 != 0)
            throw source_.failure(source_.end(),
                                  "the base64 text ends within a group of four characters; \"=\" "
                                  "pads the last group, or the text is cut off");
        decode();
        sink_.finish();
    }

  private:
    static constexpr size_t kPiece = size_t{4} << 14;

    void decode() {
        char bytes[kPiece];
        size_t length = sizeof(bytes);
        if (!digits_.empty())
            check(source_.name(), wiq_base64_decode(digits_.data(), digits_.size(),
                                                    reinterpret_cast<u8*>(bytes), &length));
        if (!digits_.empty())
            sink_.write(std::string_view(bytes, length));
        digits_.clear();
    }

    Source& source_;
    Sink& sink_;
    std::string digits_;
    size_t padding_ = 0;
};

int decode(const std::string& file, const Common& common) {
    Source source(file, common);
    Sink sink(common, "");
    Decoder decoder(source, sink);
    const char* p = source.begin();
    for (;;) {
        for (; p != source.end(); ++p)
            decoder.add(p);
        const u64 offset = source.offset_of(p);
        if (!source.more(p))
            break;
        p = source.at_offset(offset);
    }
    source.close();
    decoder.finish();
    return kExitOk;
}

}  // namespace

void add_base64_commands(CLI::App& app, Session& session) {
    CLI::App* base64 = app.add_subcommand("base64", "Convert bytes to base64 text and back");
    base64->require_subcommand(1);

    auto args = std::make_shared<EncodeArgs>();
    CLI::App* to_text = base64->add_subcommand("encode", "Print a file's bytes as base64");
    add_input(*to_text, args->file);
    to_text->add_option("--wrap", args->wrap, "Characters per line; 0: a single line")
        ->capture_default_str();
    to_text->callback([args, &session] {
        session.action = [args, &session] { return encode(*args, session.common); };
    });

    auto file = std::make_shared<std::string>();
    CLI::App* to_bytes =
        base64->add_subcommand("decode", "Print the bytes that a base64 text encodes");
    add_input(*to_bytes, *file);
    to_bytes->callback([file, &session] {
        session.action = [file, &session] { return decode(*file, session.common); };
    });
}

}  // namespace tool
