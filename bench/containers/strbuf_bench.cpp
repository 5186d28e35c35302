// Growing texts and arrays side by side: OPERATION/SIZE/LIBRARY.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "ke_utils/containers.h"
#if defined(KE_BENCH_GLIB)
#include <glib.h>
#endif

namespace {

constexpr int kCount = 100000;

template <class Run>
void add(const char* operation, const char* library, Run run) {
    benchmark::RegisterBenchmark((std::string(operation) + "/100k/" + library).c_str(),
                                 [run](benchmark::State& state) {
                                     for (auto _ : state)
                                         run();
                                 })
        ->Unit(benchmark::kMicrosecond);
}

template <class Append>
void with_strbuf(Append append) {
    wiq_strbuf buf;
    wiq_strbuf_init(&buf, 0);
    for (int i = 0; i < kCount; ++i)
        append(&buf, i);
    benchmark::DoNotOptimize(buf.data);
    wiq_strbuf_finalize(&buf);
}

#if defined(KE_BENCH_GLIB)
template <class Append>
void with_gstring(Append append) {
    GString* text = g_string_new(nullptr);
    for (int i = 0; i < kCount; ++i)
        append(text, i);
    benchmark::DoNotOptimize(text->str);
    g_string_free(text, TRUE);
}
#endif

const bool added = [] {
    add("strbuf putc", "ke_utils", [] {
        with_strbuf([](wiq_strbuf* buf, int i) {
            wiq_strbuf_putc_inline(buf, static_cast<char>('a' + i % 26));
        });
    });
    add("strbuf write", "ke_utils", [] {
        with_strbuf([](wiq_strbuf* buf, int) { wiq_strbuf_write(buf, "a serial number", 15); });
    });
    add("strbuf printf", "ke_utils", [] {
        with_strbuf(
            [](wiq_strbuf* buf, int i) { wiq_strbuf_printf(buf, "%d of %s\n", i, "many"); });
    });
    add("strbuf printhex", "ke_utils", [] {
        with_strbuf([](wiq_strbuf* buf, int) { wiq_strbuf_printhex(buf, "0123456789abcdef", 16); });
    });
    add("vector push", "ke_utils", [] {
        wiq_vector vec;
        wiq_vector_init(&vec, sizeof(u64), 0, nullptr, nullptr);
        for (u64 i = 0; i < kCount; ++i)
            *static_cast<u64*>(wiq_vector_push(&vec)) = i;
        benchmark::DoNotOptimize(vec.data);
        wiq_vector_finalize(&vec);
    });
    add("strbuf putc", "std::string", [] {
        std::string text;
        for (int i = 0; i < kCount; ++i)
            text.push_back(static_cast<char>('a' + i % 26));
        benchmark::DoNotOptimize(text.data());
    });
    add("strbuf write", "std::string", [] {
        std::string text;
        for (int i = 0; i < kCount; ++i)
            text.append("a serial number", 15);
        benchmark::DoNotOptimize(text.data());
    });
    add("vector push", "std::vector", [] {
        std::vector<u64> vec;
        for (u64 i = 0; i < kCount; ++i)
            vec.push_back(i);
        benchmark::DoNotOptimize(vec.data());
    });
#if defined(KE_BENCH_GLIB)
    add("strbuf putc", "GString", [] {
        with_gstring(
            [](GString* text, int i) { g_string_append_c(text, static_cast<char>('a' + i % 26)); });
    });
    add("strbuf write", "GString", [] {
        with_gstring([](GString* text, int) { g_string_append_len(text, "a serial number", 15); });
    });
    add("strbuf printf", "GString", [] {
        with_gstring(
            [](GString* text, int i) { g_string_append_printf(text, "%d of %s\n", i, "many"); });
    });
    add("vector push", "GArray", [] {
        GArray* array = g_array_new(FALSE, FALSE, sizeof(u64));
        for (u64 i = 0; i < kCount; ++i)
            g_array_append_val(array, i);
        benchmark::DoNotOptimize(array->data);
        g_array_free(array, TRUE);
    });
#endif
    return true;
}();

}  // namespace
