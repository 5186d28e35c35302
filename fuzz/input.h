// Shared by all targets: how the fuzzer's bytes become numbers and texts, and a check that ends the run when
// the library is wrong.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ke_utils.h"

#define CHECK(condition)                                                              \
    do {                                                                              \
        if (!(condition)) {                                                           \
            fprintf(stderr, "%s:%d: not true: %s\n", __FILE__, __LINE__, #condition); \
            abort();                                                                  \
        }                                                                             \
    } while (false)

class Input {
  public:
    Input(const u8* data, size_t size) : data_(data), size_(size) {}

    bool empty() const { return size_ == 0; }
    u8 byte() {
        if (size_ == 0)
            return 0;
        --size_;
        return *data_++;
    }
    template <class T>
    T number() {
        T value = 0;
        for (size_t i = 0; i < sizeof(T); ++i)
            value = static_cast<T>(static_cast<u64>(value) << 8 | byte());
        return value;
    }
    // Returns the text up to a line feed, or to the end.
    std::string line() {
        std::string text;
        while (size_ != 0) {
            const char c = static_cast<char>(byte());
            if (c == '\n')
                break;
            text += c;
        }
        return text;
    }
    // Returns all remaining bytes; as a C string, they end at a NUL.
    std::string rest() {
        std::string text(reinterpret_cast<const char*>(data_), size_);
        size_ = 0;
        return text;
    }

  private:
    const u8* data_;
    size_t size_;
};

inline std::string dump(wiq_json_t* node, u32 flags) {
    char* text = nullptr;
    const i32 length = wiq_json_sdump(node, &text, flags);
    std::string copy = length < 0 ? "(" + std::to_string(length) + ")" : std::string(text);
    free(text);
    return copy;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size);
