// A second parser to compare the library's with: it works byte by byte, is recursive, and does every step in
// the order in which it happens, never early, late or in bulk. It is slow and plain on purpose. It builds its
// trees and converts its numbers with the library's public functions.
#pragma once

#include <functional>
#include <string>

#include "json/parser_support.h"

class ParserModel {
  public:
    // Parses the text up to its first NUL.
    static LoadOutcome string(const std::string& text, i32 flags) {
        const std::string visible = text.substr(0, text.find('\0'));
        return ParserModel(visible, flags).run();
    }
    // Parses a stream with this content.
    static LoadOutcome stream(const std::string& content, i32 flags) {
        return ParserModel(content, flags).run();
    }

  private:
    ParserModel(std::string source, i32 flags) : source_(std::move(source)), flags_(flags) {}

    LoadOutcome run() {
        error_ = {0, 1, 0, 0};
        wiq_json_t* node = document();
        if (node != nullptr)
            error_.position = position_;
        LoadOutcome outcome = outcome_of(node, error_, MemberOrder::kMap);
        outcome.consumed = taken_;
        return outcome;
    }

    // --- bytes -----------------------------------------------------------------------------------

    int take_byte() {
        if (taken_ == source_.size())
            return WIQ_ERR_EOF;
        return static_cast<u8>(source_[taken_++]);
    }

    int fill() {
        int c = take_byte();
        if (c < 0)
            return state_ = c;
        character_.assign(1, static_cast<char>(c));
        index_ = 0;
        if (c < 0x80)
            return 0;
        const u32 length = wiq_utf8_char_sz(static_cast<u8>(c));
        if (length == 0)
            return state_ = WIQ_ERR_JSON_BAD_UTF8;
        for (u32 i = 1; i < length; ++i) {
            c = take_byte();
            if (c < 0)
                return state_ = WIQ_ERR_JSON_BAD_UTF8;
            character_.push_back(static_cast<char>(c));
        }
        return valid_sequence() ? 0 : state_ = WIQ_ERR_JSON_BAD_UTF8;
    }

    bool valid_sequence() const {
        const size_t length = character_.size();
        const u32 lead_bits[] = {0, 0, 0x1f, 0x0f, 0x07};
        const u32 lowest[] = {0, 0, 0x80, 0x800, 0x10000};
        u32 code_point = static_cast<u8>(character_[0]) & lead_bits[length];
        for (size_t i = 1; i < length; ++i) {
            const u8 byte = static_cast<u8>(character_[i]);
            if (byte < 0x80 || byte > 0xbf)
                return false;
            code_point = (code_point << 6) + (byte - 0x80u);
        }
        return code_point <= 0x10ffff && (code_point < 0xd800 || code_point > 0xdfff) &&
               code_point >= lowest[length];
    }

    int get() {
        if (state_ != 0)
            return state_;
        if (index_ == character_.size() && fill() < 0)
            return state_;
        const int c = static_cast<i8>(character_[index_++]);
        ++position_;
        if (c == '\n') {
            ++line_;
            column_before_ = column_;
            column_ = 0;
        } else if (wiq_utf8_char_sz(static_cast<u8>(c)) != 0) {
            ++column_;
        }
        return c;
    }

    void push_back(int c) {
        if (c <= 0)
            return;
        --position_;
        if (c == '\n') {
            --line_;
            column_ = column_before_;
        } else if (wiq_utf8_char_sz(static_cast<u8>(c)) != 0) {
            --column_;
        }
        --index_;
        saved_.pop_back();
    }

    // --- tokens ----------------------------------------------------------------------------------

    enum { kInvalid = -1, kEnd = 0, kString = 256, kInt, kReal, kTrue, kFalse, kNull, kBig };

    // Reads a character and appends it to the token's text, which cannot contain a NUL.
    int get_save() {
        const int c = get();
        if (c >= -128 && c != 0)
            saved_.push_back(static_cast<char>(c));
        return c;
    }

    static bool digit(int c) { return c >= '0' && c <= '9'; }
    static bool letter(int c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
    static bool hex(int c) { return digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

    i32 scan() {
        saved_.clear();
        token_ = kInvalid;
        int c = get();
        while (c == ' ' || c == '\t' || c == '\n' || c == '\r')
            c = get();
        if (c == WIQ_ERR_EOF) {
            token_ = kEnd;
            return 0;
        }
        if (c < 0)
            return c;
        if (c != 0)
            saved_.push_back(static_cast<char>(c));
        if (c == '{' || c == '}' || c == '[' || c == ']' || c == ':' || c == ',') {
            token_ = c;
            return 0;
        }
        if (c == '"')
            return scan_string();
        if (digit(c) || c == '-')
            return scan_number(c);
        return letter(c) ? scan_word() : static_cast<i32>(WIQ_ERR_JSON_BAD_TOKEN);
    }

    i32 scan_word() {
        int c = get_save();
        while (letter(c))
            c = get_save();
        if (c < 0 && c != WIQ_ERR_EOF)
            return c;
        push_back(c);
        if (saved_ == "true")
            token_ = kTrue;
        else if (saved_ == "false")
            token_ = kFalse;
        else if (saved_ == "null")
            token_ = kNull;
        else
            return WIQ_ERR_JSON_BAD_TOKEN;
        return 0;
    }

    i32 scan_string() {
        for (int c = get_save(); c != '"'; c = get_save()) {
            if (c == WIQ_ERR_EOF)
                return WIQ_ERR_JSON_UNEXPECTED_END;
            if (c < 0)
                return c;
            if (c < 0x20)
                return WIQ_ERR_JSON_CONTROL_CHAR;
            if (c != '\\')
                continue;
            c = get_save();
            if (c == 'u') {
                for (int i = 0; i < 4; ++i) {
                    if (!hex(get_save()))
                        return WIQ_ERR_JSON_BAD_ESCAPE;
                }
            } else if (c <= 0 || strchr("\"\\/bfnrt", c) == nullptr) {
                return WIQ_ERR_JSON_BAD_ESCAPE;
            }
        }
        return decode(saved_.substr(1, saved_.size() - 2));
    }

    static u32 unit_at(const std::string& raw, size_t at) {
        return static_cast<u32>(strtoul(raw.substr(at, 4).c_str(), nullptr, 16));
    }

    i32 decode(const std::string& raw) {
        text_.clear();
        for (size_t i = 0; i < raw.size(); ++i) {
            if (raw[i] != '\\') {
                text_.push_back(raw[i]);
                continue;
            }
            ++i;
            if (raw[i] != 'u') {
                const char* names = "bfnrt";
                const char* name = strchr(names, raw[i]);
                text_.push_back(name == nullptr ? raw[i] : "\b\f\n\r\t"[name - names]);
                continue;
            }
            u32 code_point = unit_at(raw, i + 1);
            i += 4;
            if (code_point >= 0xd800 && code_point <= 0xdbff) {
                if (raw.substr(i + 1, 2) != "\\u")
                    return WIQ_ERR_JSON_BAD_UNICODE_ESCAPE;
                const u32 low = unit_at(raw, i + 3);
                if (low < 0xdc00 || low > 0xdfff)
                    return WIQ_ERR_JSON_BAD_UNICODE_ESCAPE;
                i += 6;
                code_point = ((code_point - 0xd800) << 10) + (low - 0xdc00) + 0x10000;
            } else if (code_point == 0 || (code_point >= 0xdc00 && code_point <= 0xdfff)) {
                return WIQ_ERR_JSON_BAD_UNICODE_ESCAPE;
            }
            append_utf8(code_point);
        }
        token_ = kString;
        return 0;
    }

    void append_utf8(u32 code_point) {
        auto put = [this](u32 byte) { text_.push_back(static_cast<char>(byte)); };
        if (code_point < 0x80)
            return put(code_point);
        if (code_point < 0x800) {
            put(0xc0 + code_point / 64);
        } else if (code_point < 0x10000) {
            put(0xe0 + code_point / 4096);
            put(0x80 + code_point / 64 % 64);
        } else {
            put(0xf0 + code_point / 262144);
            put(0x80 + code_point / 4096 % 64);
            put(0x80 + code_point / 64 % 64);
        }
        put(0x80 + code_point % 64);
    }

    i32 scan_number(int c) {
        bool is_real = false;
        if (c == '-')
            c = get_save();
        if (c == '0') {
            c = get_save();
            if (digit(c))
                return WIQ_ERR_JSON_BAD_NUMBER;
        } else if (digit(c)) {
            while (digit(c))
                c = get_save();
        } else {
            return WIQ_ERR_JSON_BAD_NUMBER;
        }
        if (c == '.') {
            is_real = true;
            c = get_save();
            if (!digit(c))
                return WIQ_ERR_JSON_BAD_NUMBER;
            while (digit(c))
                c = get_save();
        }
        if (c == 'e' || c == 'E') {
            is_real = true;
            c = get_save();
            if (c == '+' || c == '-')
                c = get_save();
            if (!digit(c))
                return WIQ_ERR_JSON_BAD_NUMBER;
            while (digit(c))
                c = get_save();
        }
        push_back(c);
        return convert(is_real);
    }

    i32 convert(bool is_real) {
        i32 status = is_real ? wiq_strtodouble(saved_.c_str(), &real_)
                             : wiq_strtoint64(saved_.c_str(), &integer_);
        int token = is_real ? kReal : kInt;
        if (!is_real && status == WIQ_ERR_RANGE) {
            status = wiq_uint128_from_str(saved_.c_str(), &big_);
            token = kBig;
        }
        if (status == 0)
            token_ = token;
        return status;
    }

    // --- grammar ---------------------------------------------------------------------------------

    // Only the first failure is recorded.
    wiq_json_t* fail(i32 status) {
        if (error_.status == 0)
            error_ = {status, line_, column_, position_};
        return nullptr;
    }

    wiq_json_t* document() {
        const i32 status = scan();
        if (status != 0)
            return fail(status);
        wiq_json_t* node = value();
        if (node == nullptr || (flags_ & WIQ_JSON_ALLOW_TRAILING) != 0)
            return node;
        scan();
        if (token_ == kEnd)
            return node;
        wiq_json_unref(node);
        return fail(WIQ_ERR_JSON_TRAILING_DATA);
    }

    wiq_json_t* value() {
        switch (token_) {
            case '[':
                return array();
            case '{':
                return object();
            case kString:
                return wiq_json_str_new(text_.c_str(), nullptr);
            case kInt:
                return wiq_json_i64_new(integer_, nullptr);
            case kReal:
                return wiq_json_double_new(real_, nullptr);
            case kTrue:
            case kFalse:
                return wiq_json_bool_new(token_ == kTrue, nullptr);
            case kNull:
                return wiq_json_null_new(nullptr);
            case kBig:
                return wiq_json_u128_new(&big_, nullptr);
            case kInvalid:
                return fail(WIQ_ERR_JSON_BAD_TOKEN);
            default:
                return fail(WIQ_ERR_JSON_UNEXPECTED_TOKEN);
        }
    }

    // Releases a container, and fails because of the token after its last child.
    wiq_json_t* fail_at_end(wiq_json_t* container) {
        wiq_json_unref(container);
        return fail(token_ == kEnd ? WIQ_ERR_JSON_UNEXPECTED_END : WIQ_ERR_JSON_UNEXPECTED_TOKEN);
    }

    wiq_json_t* array() {
        wiq_json_t* node = wiq_json_array_new(0, nullptr);
        scan();
        if (token_ == ']')
            return node;
        while (token_ != kEnd) {
            wiq_json_t* elem = value();
            if (elem == nullptr) {
                wiq_json_unref(node);
                return nullptr;
            }
            wiq_json_array_push_ext(node, elem, nullptr);
            scan();
            if (token_ != ',')
                break;
            scan();
        }
        return token_ == ']' ? node : fail_at_end(node);
    }

    wiq_json_t* object() {
        wiq_json_t* node = wiq_json_obj_new(0, nullptr);
        scan();
        if (token_ == '}')
            return node;
        while (token_ == kString) {
            if (!member(node)) {
                wiq_json_unref(node);
                return nullptr;
            }
            scan();
            if (token_ != ',')
                return token_ == '}' ? as_reference(node) : fail_at_end(node);
            scan();
            if (token_ != kString) {
                wiq_json_unref(node);
                return fail(WIQ_ERR_JSON_UNEXPECTED_TOKEN);
            }
        }
        return fail_at_end(node);
    }

    bool member(wiq_json_t* node) {
        const std::string key = text_;
        u32 err = 0;
        if ((flags_ & WIQ_JSON_REJECT_DUPLICATES) != 0 &&
            wiq_json_obj_get_ext(node, key.c_str(), 0, &err) != nullptr)
            return fail(WIQ_ERR_JSON_DUPLICATE_KEY) != nullptr;
        scan();
        if (token_ != ':')
            return fail(WIQ_ERR_JSON_UNEXPECTED_TOKEN) != nullptr;
        scan();
        wiq_json_t* child = value();
        return child != nullptr && wiq_json_obj_put_ext(node, key.c_str(), child, nullptr) == 0;
    }

    static wiq_json_t* as_reference(wiq_json_t* node) {
        u32 err = 0;
        const char* uri = nullptr;
        if (wiq_json_obj_size(node) == 1)
            uri = wiq_json_obj_get_str(node, "$ref", &err);
        if (uri == nullptr)
            return node;
        wiq_json_t* reference = wiq_json_jref_new(uri, nullptr);
        wiq_json_unref(node);
        return reference;
    }

    std::string source_;
    i32 flags_;
    size_t taken_ = 0;

    std::string character_;
    size_t index_ = 0;
    int state_ = 0;
    i32 line_ = 1;
    i32 column_ = 0;
    i32 column_before_ = 0;
    i32 position_ = 0;

    std::string saved_;
    int token_ = kInvalid;
    std::string text_;
    i64 integer_ = 0;
    double real_ = 0;
    wiq_uint128 big_ = {};

    wiq_json_load_error error_ = {};
};
