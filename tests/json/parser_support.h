// Shared by the tests of the parser: a text for a whole tree, so that trees can be compared as strings, and
// files to parse from.
#pragma once

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "ke_utils/json.h"
#include "support/pch.h"

// Short names, so that a row of a table fits on a line.
constexpr i32 kEnd = WIQ_ERR_JSON_UNEXPECTED_END;
constexpr i32 kControl = WIQ_ERR_JSON_CONTROL_CHAR;
constexpr i32 kEscape = WIQ_ERR_JSON_BAD_ESCAPE;
constexpr i32 kNumber = WIQ_ERR_JSON_BAD_NUMBER;
constexpr i32 kUnexpected = WIQ_ERR_JSON_UNEXPECTED_TOKEN;
constexpr i32 kToken = WIQ_ERR_JSON_BAD_TOKEN;
constexpr i32 kTwice = WIQ_ERR_JSON_DUPLICATE_KEY;
constexpr i32 kUtf8 = WIQ_ERR_JSON_BAD_UTF8;
constexpr i32 kUnicode = WIQ_ERR_JSON_BAD_UNICODE_ESCAPE;
constexpr i32 kTrailing = WIQ_ERR_JSON_TRAILING_DATA;

// In map order, members appear as a walk visits them; sorted, as a person would write them down.
enum class MemberOrder { kMap, kSorted };

inline std::string describe_text(const char* text) {
    std::string out = "\"";
    for (; *text != '\0'; ++text) {
        const auto code = static_cast<unsigned char>(*text);
        char hex[8];
        snprintf(hex, sizeof hex, "\\x%02X", code);
        out += code < 0x20 || code >= 0x7f || code == '"' || code == '\\' ? hex
                                                                          : std::string(1, *text);
    }
    return out + '"';
}

inline std::string describe_double(double value) {
    if (value != value)
        return "d:nan";
    if (value - value != 0)
        return value < 0 ? "d:-inf" : "d:inf";
    char text[64];
    snprintf(text, sizeof text, "d:%.17g", value);
    return text;
}

inline std::string describe_scalar(const wiq_json_t* node) {
    if (wiq_json_is_null(node))
        return "null";
    if (wiq_json_is_bool(node))
        return wiq_json_is_true(node) ? "true" : "false";
    if (wiq_json_is_i64_ext(node, false)) {
        char text[32];
        snprintf(text, sizeof text, "%" PRId64, wiq_json_i64_get(node));
        return text;
    }
    if (wiq_json_is_double_ext(node, false))
        return describe_double(wiq_json_double_get(node));
    if (wiq_json_is_str(node))
        return describe_text(wiq_json_str_get(node));
    if (wiq_json_is_jref(node))
        return "ref:" + describe_text(wiq_json_jref_uri(node));
    wiq_uint128 value = {};
    char digits[64] = "not a value that a parser makes";
    if (wiq_json_is_u128_ext(node, false))
        wiq_uint128_to_str(*wiq_json_u128_get(&value, node), 10, digits, sizeof digits);
    return std::string("u:") + digits;
}

// Returns the tree as text, including the kinds: 1 is signed, u:1 has 128 bits, d:1 is a double, ref:"#/a" a
// reference. A child with the wrong parent, key or index is marked. For trees of modest depth.
inline std::string describe(wiq_json_t* node, MemberOrder order = MemberOrder::kSorted) {
    if (wiq_json_is_array(node)) {
        std::string out = "[";
        for (i32 i = 0; i < wiq_json_array_size(node); ++i) {
            wiq_json_t* elem = wiq_json_array_get_ext(node, i, 0, nullptr);
            out += (i == 0 ? "" : ",") + describe(elem, order);
            if (wiq_json_parent_index(elem) != i)
                out += "<misplaced>";
        }
        return out + "]";
    }
    if (!wiq_json_is_obj(node))
        return describe_scalar(node);
    struct Walk {
        MemberOrder order;
        std::vector<std::string> members;
    } walk = {order, {}};
    wiq_json_obj_foreach(
        node,
        [](const char* key, wiq_json_t* child, void* user) {
            auto* at = static_cast<Walk*>(user);
            const char* known = wiq_json_parent_key(child);
            const bool placed = known != nullptr && strcmp(known, key) == 0;
            at->members.push_back(describe_text(key) + ":" + describe(child, at->order) +
                                  (placed ? "" : "<misplaced>"));
            return true;
        },
        &walk);
    if (order == MemberOrder::kSorted)
        std::sort(walk.members.begin(), walk.members.end());
    std::string out = "{";
    for (const std::string& member : walk.members)
        out += (out.size() == 1 ? "" : ",") + member;
    return out + "}";
}

// The outcome of a load. If the status is 0, there is a tree.
struct LoadOutcome {
    std::string tree;
    wiq_json_load_error error = {};
    size_t consumed = 0;  // bytes taken from a stream

    bool operator==(const LoadOutcome& other) const {
        return tree == other.tree && error.status == other.error.status &&
               error.line == other.error.line && error.column == other.error.column &&
               error.position == other.error.position;
    }
};

inline std::ostream& operator<<(std::ostream& out, const LoadOutcome& outcome) {
    return out << "status " << outcome.error.status << " line " << outcome.error.line << " column "
               << outcome.error.column << " position " << outcome.error.position << " tree "
               << (outcome.tree.empty() ? "none" : outcome.tree) << " (" << outcome.consumed
               << " bytes taken)";
}

// Describes and releases what a load returned.
inline LoadOutcome outcome_of(wiq_json_t* node, const wiq_json_load_error& error,
                              MemberOrder order) {
    LoadOutcome outcome;
    outcome.error = error;
    if (node != nullptr)
        outcome.tree = describe(node, order);
    wiq_json_unref(node);
    return outcome;
}

// The record always contains stale values before a load, since a load must reset it.
constexpr wiq_json_load_error kStaleError = {-99, -99, -99, -99};

inline LoadOutcome load_string(const std::string& text, i32 flags,
                               MemberOrder order = MemberOrder::kSorted) {
    // In a block of exactly the text's size, the sanitizer detects a read beyond its end.
    char* block = static_cast<char*>(malloc(text.size() + 1));
    memcpy(block, text.c_str(), text.size() + 1);
    wiq_json_load_error error = kStaleError;
    wiq_json_t* node = wiq_json_loads(block, flags, &error);
    free(block);
    return outcome_of(node, error, order);
}

// A file whose contents can be replaced again and again. With a small buffer, which holds only a few tokens,
// a reader must store their text itself.
class ScratchFile {
  public:
    enum Buffer { kUsual, kSmall };

    explicit ScratchFile(Buffer buffer = kUsual)
        : name_(testing::TempDir() + "ke_parser_XXXXXX"), buffer_(buffer) {
        file_ = wiq_mkstemp(name_.data(), nullptr, "w+b");
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    ~ScratchFile() {
        if (file_ != nullptr)
            fclose(file_);
        remove(name_.c_str());
    }

    // Returns the stream, at its beginning, with this content; nullptr if that fails.
    FILE* with(std::string_view content) {
        if (file_ != nullptr)
            file_ = freopen(name_.c_str(), "w+b", file_);
        if (file_ == nullptr ||
            (buffer_ == kSmall && setvbuf(file_, bytes_, _IOFBF, sizeof bytes_) != 0) ||
            fwrite(content.data(), 1, content.size(), file_) != content.size() ||
            fseek(file_, 0, SEEK_SET) != 0)
            return nullptr;
        return file_;
    }

    LoadOutcome load(std::string_view content, i32 flags,
                     MemberOrder order = MemberOrder::kSorted) {
        FILE* stream = with(content);
        EXPECT_NE(stream, nullptr);
        wiq_json_load_error error = kStaleError;
        wiq_json_t* node = wiq_json_loadf(stream, flags, &error);
        LoadOutcome outcome = outcome_of(node, error, order);
        outcome.consumed = static_cast<size_t>(ftell(stream));
        return outcome;
    }

  private:
    std::string name_;
    Buffer buffer_;
    char bytes_[2] = {};
    FILE* file_;
};
