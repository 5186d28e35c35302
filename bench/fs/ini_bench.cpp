// INI files side by side: OPERATION/FILE/LIBRARY.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "ke_utils/files.h"
#if defined(KE_BENCH_INIH)
#include <ini.h>
#endif

namespace {

const std::string& text() {
    static const std::string made = [] {
        std::string ini;
        for (int i = 0; i < 2000; ++i) {
            ini += "[drive" + std::to_string(i) + "]\nname = boot drive\nserial = ZR500" +
                   std::to_string(i) + "AB\nwarn_above = 55 ; degrees\n; a comment line\n\n";
        }
        return ini;
    }();
    return made;
}

template <class Parse>
void run(benchmark::State& state, Parse parse) {
    FILE* file = tmpfile();
    fwrite(text().data(), 1, text().size(), file);
    for (auto _ : state) {
        rewind(file);
        if (parse(file) != 0)
            state.SkipWithError("not parsed");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text().size()));
    fclose(file);
}

const bool added = [] {
    benchmark::RegisterBenchmark("ini/2000 sections/ke_utils", [](benchmark::State& state) {
        run(state, [](FILE* file) {
            return wiq_ini_parse(
                file,
                [](const char* name, const WiqIniLocation*, const char*, const WiqIniLocation*,
                   void*) {
                    benchmark::DoNotOptimize(name);
                    return 0;
                },
                [](const char* key, const WiqIniLocation*, const char*, const WiqIniLocation*,
                   void*) {
                    benchmark::DoNotOptimize(key);
                    return 0;
                },
                nullptr, nullptr);
        });
    })->Unit(benchmark::kMicrosecond);
#if defined(KE_BENCH_INIH)
    benchmark::RegisterBenchmark("ini/2000 sections/inih", [](benchmark::State& state) {
        run(state, [](FILE* file) {
            return ini_parse_file(
                file,
                [](void*, const char*, const char* name, const char*) {
                    benchmark::DoNotOptimize(name);
                    return 1;
                },
                nullptr);
        });
    })->Unit(benchmark::kMicrosecond);
#endif
    return true;
}();

}  // namespace
