// Text functions compared with those of other libraries: OPERATION/INPUT/LIBRARY. The other files in this
// folder measure only this library, with more inputs.
#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "ke_utils/text.h"
#if defined(KE_BENCH_OPENSSL)
#include <openssl/evp.h>
#endif

namespace {

template <class Run>
void add(const char* operation, const char* input, const char* library, Run run) {
    benchmark::RegisterBenchmark((std::string(operation) + "/" + input + "/" + library).c_str(),
                                 [run](benchmark::State& state) {
                                     for (auto _ : state)
                                         run(state);
                                 })
        ->Unit(benchmark::kMicrosecond);
}

const std::string& bytes() {
    static const std::string made = [] {
        std::mt19937 random(3);
        std::string text(300000, '\0');
        for (char& c : text)
            c = static_cast<char>(random());
        return text;
    }();
    return made;
}
const u8* raw(const std::string& text) {
    return reinterpret_cast<const u8*>(text.data());
}

const std::string& encoded() {
    static const std::string made = [] {
        size_t length = wiq_base64_encode_len(bytes().size());
        std::string text(length, '\0');
        wiq_base64_encode(raw(bytes()), bytes().size(), text.data(), &length);
        text.resize(length);
        return text;
    }();
    return made;
}

__extension__ using Native = unsigned __int128;

const std::vector<Native>& wide() {
    static const std::vector<Native> made = [] {
        std::mt19937_64 random(4);
        std::vector<Native> numbers;
        for (int i = 0; i < 1000; ++i)
            numbers.push_back((Native{random()} << 64 | random()) >> (random() % 60));
        return numbers;
    }();
    return made;
}
wiq_uint128 ours(Native value) {
    return {static_cast<u64>(value), static_cast<u64>(value >> 64)};
}

// Writes decimal digits with the compiler's division by 10^19, the largest power of ten that fits in 64 bits.
char* native_decimal(char* end, Native value) {
    constexpr u64 kChunk = 10000000000000000000u;
    while (value != 0) {
        u64 part = static_cast<u64>(value % kChunk);
        value /= kChunk;
        for (int digit = 0; digit < 19 && (value != 0 || part != 0); ++digit, part /= 10)
            *--end = static_cast<char>('0' + part % 10);
    }
    return end;
}

const std::vector<std::string>& numbers() {
    static const std::vector<std::string> made = [] {
        std::mt19937_64 random(5);
        std::vector<std::string> texts;
        for (int i = 0; i < 1000; ++i)
            texts.push_back(std::to_string(static_cast<i64>(random()) >> (random() % 50)));
        return texts;
    }();
    return made;
}

i32 count_line(void* user, u64, const char* hex, const char*) {
    *static_cast<size_t*>(user) += strlen(hex);
    return 0;
}

void add_base64() {
    add("base64 encode", "300 kB", "ke_utils", [](benchmark::State&) {
        static std::string out(500000, '\0');
        size_t length = out.size();
        wiq_base64_encode(raw(bytes()), bytes().size(), out.data(), &length);
        benchmark::DoNotOptimize(length);
    });
    add("base64 decode", "300 kB", "ke_utils", [](benchmark::State&) {
        static std::string out(500000, '\0');
        size_t length = out.size();
        wiq_base64_decode(encoded().data(), encoded().size(), reinterpret_cast<u8*>(out.data()),
                          &length);
        benchmark::DoNotOptimize(length);
    });
#if defined(KE_BENCH_OPENSSL)
    add("base64 encode", "300 kB", "OpenSSL", [](benchmark::State&) {
        static std::string out(500000, '\0');
        benchmark::DoNotOptimize(EVP_EncodeBlock(reinterpret_cast<u8*>(out.data()), raw(bytes()),
                                                 static_cast<int>(bytes().size())));
    });
    add("base64 decode", "300 kB", "OpenSSL", [](benchmark::State&) {
        static std::string out(500000, '\0');
        benchmark::DoNotOptimize(EVP_DecodeBlock(reinterpret_cast<u8*>(out.data()), raw(encoded()),
                                                 static_cast<int>(encoded().size())));
    });
#endif
}

void add_wide() {
    add("u128 to decimal", "1000", "ke_utils", [](benchmark::State&) {
        char text[64];
        for (const Native value : wide())
            benchmark::DoNotOptimize(wiq_uint128_to_str(ours(value), 10, text, sizeof(text)));
    });
    add("u128 to decimal", "1000", "compiler", [](benchmark::State&) {
        char text[64];
        for (const Native value : wide())
            benchmark::DoNotOptimize(native_decimal(text + sizeof(text), value));
    });
    add("u128 multiply", "1000", "ke_utils", [](benchmark::State&) {
        wiq_uint128 product = {1, 0};
        for (const Native value : wide())
            product = wiq_uint128_mul(product, ours(value));
        benchmark::DoNotOptimize(product);
    });
    add("u128 multiply", "1000", "compiler", [](benchmark::State&) {
        Native product = 1;
        for (const Native value : wide())
            product *= value;
        benchmark::DoNotOptimize(product);
    });
    add("u128 divide", "1000", "ke_utils", [](benchmark::State&) {
        for (const Native value : wide()) {
            wiq_uint128 quotient;
            wiq_uint128 remainder;
            wiq_uint128_div(ours(value), {12345678901, 77}, &quotient, &remainder);
            benchmark::DoNotOptimize(quotient);
        }
    });
    add("u128 divide", "1000", "compiler", [](benchmark::State&) {
        Native divisor = Native{77} << 64 | 12345678901u;
        benchmark::DoNotOptimize(divisor);
        for (const Native value : wide())
            benchmark::DoNotOptimize(value / divisor + value % divisor);
    });
}

void add_format() {
    add("asprintf", "1000", "ke_utils", [](benchmark::State&) {
        for (int i = 0; i < 1000; ++i) {
            char* text = nullptr;
            benchmark::DoNotOptimize(wiq_asprintf(&text, "%s: %d of %u", "drive", i, 1000u));
            free(text);
        }
    });
    add("asprintf", "1000", "C library", [](benchmark::State&) {
        for (int i = 0; i < 1000; ++i) {
            char* text = nullptr;
            benchmark::DoNotOptimize(asprintf(&text, "%s: %d of %u", "drive", i, 1000u));
            free(text);
        }
    });
}

const bool added = [] {
    add_base64();
    add_format();
    add_wide();
    add("number int64", "1000", "ke_utils", [](benchmark::State&) {
        i64 value = 0;
        for (const std::string& text : numbers())
            benchmark::DoNotOptimize(wiq_strtoint64(text.c_str(), &value));
    });
    add("number int64", "1000", "strtoll", [](benchmark::State&) {
        for (const std::string& text : numbers())
            benchmark::DoNotOptimize(strtoll(text.c_str(), nullptr, 10));
    });
    add("number int64", "1000", "from_chars", [](benchmark::State&) {
        i64 value = 0;
        for (const std::string& text : numbers())
            benchmark::DoNotOptimize(
                std::from_chars(text.data(), text.data() + text.size(), value).ptr);
    });
    for (const bool ascii : {false, true}) {
        const std::string name = std::string("dump lines/") +
                                 (ascii ? "300 kB with characters" : "300 kB") + "/ke_utils";
        benchmark::RegisterBenchmark(name.c_str(), [ascii](benchmark::State& state) {
            size_t length = 0;
            for (auto _ : state) {
                length = 0;
                wiq_memdump_ex(raw(bytes()), bytes().size(), 16, 1, 8, 1, ascii, true, count_line,
                               &length);
            }
            // Counts hexadecimal text, including blanks.
            state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(length));
        })->Unit(benchmark::kMicrosecond);
    }
    return true;
}();

}  // namespace
