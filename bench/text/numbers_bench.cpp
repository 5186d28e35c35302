// Numbers from text, compared with the runtime's conversions.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "ke_utils/text.h"

namespace {

constexpr const char* kIntegers[] = {"7", "-42", "1234567", "9223372036854775807", "0x7fffffff"};
constexpr const char* kReals[] = {"0.1", "-273.15", "6.02214076e23", "1.7976931348623157e308",
                                  "3.14159265358979323846"};

void Int64(benchmark::State& state) {
    const char* text = kIntegers[state.range(0)];
    i64 value = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(wiq_strtoint64(text, &value));
        benchmark::DoNotOptimize(value);
    }
    state.SetLabel(text);
}
BENCHMARK(Int64)->DenseRange(0, 4);

void RuntimeInt64(benchmark::State& state) {
    const char* text = kIntegers[state.range(0)];
    for (auto _ : state)
        benchmark::DoNotOptimize(strtoll(text, nullptr, 0));
    state.SetLabel(text);
}
BENCHMARK(RuntimeInt64)->DenseRange(0, 4);

void Double(benchmark::State& state) {
    const char* text = kReals[state.range(0)];
    double value = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(wiq_strtodouble(text, &value));
        benchmark::DoNotOptimize(value);
    }
    state.SetLabel(text);
}
BENCHMARK(Double)->DenseRange(0, 4);

void RuntimeDouble(benchmark::State& state) {
    const char* text = kReals[state.range(0)];
    for (auto _ : state)
        benchmark::DoNotOptimize(strtod(text, nullptr));
    state.SetLabel(text);
}
BENCHMARK(RuntimeDouble)->DenseRange(0, 4);

}  // namespace
