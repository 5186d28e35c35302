// Base64 in both directions; bytes per second are those of the binary data.
#include <benchmark/benchmark.h>

#include <vector>

#include "ke_utils/text.h"

namespace {

std::vector<u8> some_bytes(size_t n) {
    std::vector<u8> bytes(n);
    u32 state = 1;
    for (u8& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<u8>(state >> 24);
    }
    return bytes;
}

void Encode(benchmark::State& state) {
    const std::vector<u8> bytes = some_bytes(static_cast<size_t>(state.range(0)));
    std::vector<char> text(wiq_base64_encode_len(bytes.size()));
    for (auto _ : state) {
        size_t length = text.size();
        benchmark::DoNotOptimize(
            wiq_base64_encode(bytes.data(), bytes.size(), text.data(), &length));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Encode)->Arg(30)->Arg(3000)->Arg(3000000);

// The second argument is the length of the text's lines; 0 means a single line.
void Decode(benchmark::State& state) {
    const std::vector<u8> bytes = some_bytes(static_cast<size_t>(state.range(0)));
    std::vector<char> text(wiq_base64_encode_len(bytes.size()));
    size_t length = text.size();
    wiq_base64_encode(bytes.data(), bytes.size(), text.data(), &length);
    std::vector<char> lines;
    for (size_t i = 0; i < length; ++i) {
        if (state.range(1) != 0 && i != 0 && i % static_cast<size_t>(state.range(1)) == 0)
            lines.push_back('\n');
        lines.push_back(text[i]);
    }
    std::vector<u8> out(bytes.size());
    for (auto _ : state) {
        size_t written = out.size();
        benchmark::DoNotOptimize(
            wiq_base64_decode(lines.data(), lines.size(), out.data(), &written));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Decode)->Args({30, 0})->Args({3000000, 0})->Args({3000000, 76});

}  // namespace
