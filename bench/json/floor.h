// The minimum of work: a parser cannot avoid finding every token, copying texts and keys, and hashing the
// keys; a serializer cannot avoid writing the bytes of every token. Memory comes in chunks, and no tree is
// built.
#pragma once

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "json/read/escape_scan.h"
#include "ke_utils/containers.h"

class Floor {
  public:
    // `compact` is a document without blanks between its tokens, which is what dump() writes.
    Floor(std::string text, std::string compact)
        : text_(std::move(text)), compact_(std::move(compact)) {
        scan(compact_, [this](const char* first, const char* last, bool) {
            tokens_.emplace_back(first, static_cast<size_t>(last - first));
        });
    }

    // Returns a value that depends on every token, so that no work can be optimised away.
    u64 parse() {
        u64 sum = 0;
        std::vector<char*> chunks;
        char* out = nullptr;
        char* end = nullptr;
        scan(text_, [&](const char* first, const char* last, bool is_key) {
            ++sum;
            if (*first != '"')
                return;
            const auto length = static_cast<size_t>(last - first) - 2;
            if (static_cast<size_t>(end - out) <= length) {
                const size_t size = length < kChunk ? kChunk : length + 1;
                out = static_cast<char*>(malloc(size));
                end = out + size;
                chunks.push_back(out);
            }
            memcpy(out, first + 1, length);
            out[length] = '\0';
            if (is_key)
                sum += wiq_hash_str(out);
            out += length + 1;
        });
        for (char* chunk : chunks)
            free(chunk);
        return sum;
    }

    size_t dump() const {
        size_t length = 0;
        size_t capacity = 0;
        char* out = nullptr;
        for (const std::string_view token : tokens_) {
            if (length + token.size() >= capacity) {
                capacity = 2 * capacity + token.size() + 64;
                out = static_cast<char*>(realloc(out, capacity));
            }
            memcpy(out + length, token.data(), token.size());
            length += token.size();
        }
        free(out);
        return length;
    }

  private:
    static constexpr size_t kChunk = 16384;

    // Calls token(first, last, is_key) for each token. The text must be a valid document.
    template <class Token>
    static void scan(const std::string& text, Token token) {
        const char* p = text.c_str();
        const char* const end = p + text.size();
        while (p != end) {
            const char* const first = p++;
            switch (*first) {
                case ' ':
                case '\n':
                case '\r':
                case '\t':
                    p = ke::json::skip_spaces_before(p, end);
                    continue;
                case '"':
                    while (*(p = ke::json::skip_plain_ascii(p, end)) != '"')
                        p += *p == '\\' ? 2 : 1;
                    ++p;
                    break;
                case '{':
                case '}':
                case '[':
                case ']':
                case ':':
                case ',':
                    break;
                default:
                    while (p != end && *p > ' ' && *p != ',' && *p != ']' && *p != '}')
                        ++p;
            }
            token(first, p, *first == '"' && p != end && *p == ':');
        }
    }

    std::string text_;
    std::string compact_;
    std::vector<std::string_view> tokens_;
};
