// 128-bit integers: multiplication, division, and decimal text in both directions.
#include <benchmark/benchmark.h>

#include "ke_utils/text.h"

namespace {

constexpr wiq_uint128 kMax = {~u64{0}, ~u64{0}};
constexpr wiq_uint128 kMiddle = {0x123456789abcdef0, 0xfedcba98};
constexpr wiq_uint128 kSmall = {123456789, 0};
constexpr wiq_uint128 kValues[] = {kSmall, kMiddle, kMax};

void Multiply(benchmark::State& state) {
    wiq_uint128 a = kValues[state.range(0)];
    for (auto _ : state) {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(wiq_uint128_mul(a, kMiddle));
    }
}
BENCHMARK(Multiply)->DenseRange(0, 2);

void Divide(benchmark::State& state) {
    wiq_uint128 a = kMax;
    wiq_uint128 quotient;
    wiq_uint128 remainder;
    for (auto _ : state) {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(
            wiq_uint128_div(a, kValues[state.range(0)], &quotient, &remainder));
        benchmark::DoNotOptimize(remainder);
    }
}
BENCHMARK(Divide)->DenseRange(0, 2);

void ToDecimal(benchmark::State& state) {
    wiq_uint128 a = kValues[state.range(0)];
    char buf[40];
    for (auto _ : state) {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(wiq_uint128_to_str(a, 10, buf, sizeof buf));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(ToDecimal)->DenseRange(0, 2);

void ToBinary(benchmark::State& state) {
    wiq_uint128 a = kMax;
    char buf[129];
    for (auto _ : state) {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(wiq_uint128_to_str(a, 2, buf, sizeof buf));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(ToBinary);

void FromDecimal(benchmark::State& state) {
    char buf[40];
    wiq_uint128_to_str(kValues[state.range(0)], 10, buf, sizeof buf);
    wiq_uint128 value;
    for (auto _ : state) {
        benchmark::DoNotOptimize(wiq_uint128_from_str(buf, &value));
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(FromDecimal)->DenseRange(0, 2);

}  // namespace
