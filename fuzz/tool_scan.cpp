// The tool's scanner of JSON text: it accepts and rejects what the library's parser does, each token is where
// it says, and a file that is read in blocks has the same tokens as the text in memory.
#include <sys/mman.h>
#include <unistd.h>

#include "failure.h"
#include "input.h"
#include "json_string.h"
#include "scanner.h"

namespace {

// Collects the tokens of a text; returns false, with the message, at a mistake.
bool scan(tool::Source& source, std::string* all) {
    try {
        tool::Scanner scanner(source);
        for (tool::Token token = scanner.next(); token != tool::Token::end;
             token = scanner.next()) {
            CHECK(scanner.stop() - scanner.start() == scanner.text().size());
            *all += std::to_string(static_cast<int>(token)) + std::string(scanner.text()) + "\n";
            if (token == tool::Token::string || token == tool::Token::key) {
                const std::string plain = tool::decode_string(scanner.text());
                CHECK(tool::stands_for(scanner.text(), plain));
                CHECK(tool::decode_string(tool::encode_string(plain)) == plain);
            } else if (token == tool::Token::number) {
                CHECK(tool::compare_numbers(scanner.text(), scanner.text()) == 0);
                tool::fit_of(scanner.text());
            }
        }
        return true;
    } catch (const tool::Failure& failure) {
        CHECK(!failure.message.empty());
        *all = failure.message;
        return false;
    }
}

bool scan_text(const std::string& text, std::string* all) {
    tool::Source source("text", text);
    return scan(source, all);
}

// Scans the bytes as a file.
bool scan_file(const std::string& bytes, std::string* all) {
    const int file = memfd_create("ke-fuzz", 0);
    CHECK(file >= 0);
    CHECK(write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
    tool::Common common;
    common.quiet = true;
    bool taken = false;
    try {
        tool::Source source("/proc/self/fd/" + std::to_string(file), common);
        taken = scan(source, all);
    } catch (const tool::Failure& failure) {
        *all = failure.message;
    }
    close(file);
    return taken;
}

bool is_taken_by_library(const std::string& text) {
    wiq_json_t* root = wiq_json_loads(text.c_str(), 0, nullptr);
    wiq_json_unref(root);
    return root != nullptr;
}

bool is_ascii(const std::string& text) {
    for (const char c : text) {
        if (c <= 0)
            return false;
    }
    return true;
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Input input(data, size);
    const u8 flags = input.byte();
    std::string text = input.rest();
    std::string tokens;
    std::string from_file;
    if (is_ascii(text)) {
        const bool taken = scan_text(text, &tokens);
        CHECK(taken == is_taken_by_library(text));
        // Move the text across the boundary of two blocks.
        if (flags % 8 == 0)
            text.insert(0, size_t{262144} - flags / 8 % 32, ' ');
        const bool taken_there = scan_file(text, &from_file);
        CHECK(taken_there == taken);
        CHECK(!taken || from_file == tokens);
    } else {
        scan_text(text, &tokens);
        scan_file(text, &from_file);
        scan_file((flags % 2 == 0 ? "\xFF\xFE" : "\xFE\xFF") + text, &from_file);
    }
    return 0;
}
