// Memory dumps; bytes per second are those of the hexadecimal text.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "ke_utils/text.h"

namespace {

i32 count_text(void* user, u64, const char* hex, const char*) {
    *static_cast<u64*>(user) += strlen(hex);
    return 0;
}

// Arguments: bytes per line, group and block, and whether there is a column of characters.
void Memdump(benchmark::State& state) {
    const std::vector<u8> data(1 << 20, 0x5a);
    u64 text = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            wiq_memdump_ex(data.data(), data.size(), static_cast<int>(state.range(0)),
                           static_cast<int>(state.range(1)), static_cast<int>(state.range(2)), 1,
                           state.range(3) != 0, true, count_text, &text));
    }
    state.SetBytesProcessed(static_cast<i64>(text));
}
BENCHMARK(Memdump)
    ->Args({16, 4, 8, 0})
    ->Args({16, 4, 8, 1})
    ->Args({16, 1, 8, 1})
    ->Args({32, 0, 0, 0})
    ->Args({4096, 4, 8, 0})
    ->Args({0, 0, 0, 0});

}  // namespace
