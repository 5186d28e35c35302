// JSON documents, side by side: every benchmark is named OPERATION/CORPUS/LIBRARY, so that bench/report.py
// can compare the libraries. "heap" is not a time: it is the bytes of heap for a document.
#include <benchmark/benchmark.h>

#include <memory>

#include "json/floor.h"
#include "json/libraries.h"
#include "support/corpora.h"
#include "support/heap.h"

namespace {

template <class Run>
void add(const std::string& operation, const std::string& corpus, const char* library, Run run) {
    benchmark::RegisterBenchmark((operation + "/" + corpus + "/" + library).c_str(), run)
        ->Unit(benchmark::kMicrosecond);
}

// Returns whether a library can process the document at all; one that recurses cannot process the deepest.
template <class Library>
bool takes(const Corpus& corpus) {
    return corpus.name != "nested" || std::string(Library::kName) == Ke::kName;
}

template <class Library>
constexpr bool kWritesPretty = true;
#if defined(KE_BENCH_BOOST)
template <>
constexpr bool kWritesPretty<Boost> = false;
#endif

template <class Library>
void add_parsing(const Corpus& corpus) {
    const char* text = corpus.text.c_str();
    add("parse+release", corpus.name, Library::kName, [text](benchmark::State& state) {
        for (auto _ : state)
            Library::release(Library::parse(text));
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(strlen(text)));
    });
}

template <class Library>
void add_memory(const Corpus& corpus) {
    const char* text = corpus.text.c_str();
    add("heap", corpus.name, Library::kName, [text](benchmark::State& state) {
        size_t bytes = 0;
        for (auto _ : state) {
            typename Library::Doc doc{};
            bytes = heap_of([&] { doc = Library::parse(text); });
            Library::release(doc);
        }
        state.counters["bytes"] = static_cast<double>(bytes);
    });
}

template <class Library>
void add_writing(const Corpus& corpus) {
    const char* text = corpus.text.c_str();
    for (const bool pretty : {false, true}) {
        if (pretty && !kWritesPretty<Library>)
            continue;
        add(pretty ? "dump pretty" : "dump compact", corpus.name, Library::kName,
            [text, pretty](benchmark::State& state) {
                typename Library::Doc doc = Library::parse(text);
                size_t length = 0;
                for (auto _ : state)
                    benchmark::DoNotOptimize(length = Library::dump(doc, pretty));
                state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(length));
                Library::release(doc);
            });
    }
    add("copy+release", corpus.name, Library::kName, [text](benchmark::State& state) {
        typename Library::Doc doc = Library::parse(text);
        for (auto _ : state)
            Library::release(Library::copy(doc));
        Library::release(doc);
    });
}

template <class Library>
void add_equality(const Corpus& corpus) {
    const char* text = corpus.text.c_str();
    add("equal", corpus.name, Library::kName, [text](benchmark::State& state) {
        typename Library::Doc a = Library::parse(text);
        typename Library::Doc b = Library::parse(text);
        for (auto _ : state) {
            if (!Library::equal(a, b))
                state.SkipWithError("not equal");
        }
        Library::release(a);
        Library::release(b);
    });
}

template <class Library>
void add_look_up(const Corpus& corpus) {
    const char* text = corpus.text.c_str();
    add("look-up", corpus.name, Library::kName, [text](benchmark::State& state) {
        typename Library::Doc doc = Library::parse(text);
        std::vector<typename Library::Place> places;
        Library::collect(doc, places);
        if (places.size() < 1000)
            state.SkipWithError("no objects to look into");
        for (auto _ : state) {
            for (const auto& place : places)
                benchmark::DoNotOptimize(Library::look_up(place));
        }
        state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(places.size()));
        Library::release(doc);
    });
}

template <class Library>
void add_build() {
    add("build", "records", Library::kName, [](benchmark::State& state) {
        for (auto _ : state)
            Library::release(Library::build(1000));
    });
}

template <class Library>
void add_library() {
    for (const Corpus& corpus : corpora()) {
        if (takes<Library>(corpus)) {
            add_parsing<Library>(corpus);
            add_writing<Library>(corpus);
        }
    }
}

void add_floor(const Corpus& corpus) {
    const std::string text = corpus.text;
    wiq_json_t* doc = Ke::parse(text.c_str());
    char* compact = nullptr;
    wiq_json_sdump(doc, &compact, 0);
    Ke::release(doc);
    auto floor = std::make_shared<Floor>(text, compact);
    free(compact);
    add("parse+release", corpus.name, "floor", [floor](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(floor->parse());
    });
    add("dump compact", corpus.name, "floor", [floor](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(floor->dump());
    });
}

// Operations that only this library has, and those that are measured without other libraries.
void add_own(const Corpus& corpus) {
    const char* text = corpus.text.c_str();
    add("parse stream", corpus.name, Ke::kName, [text](benchmark::State& state) {
        FILE* stream = fmemopen(const_cast<char*>(text), strlen(text), "r");
        for (auto _ : state) {
            rewind(stream);
            Ke::release(Ke::parse_stream(stream));
        }
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(strlen(text)));
        fclose(stream);
    });
    add("dump file", corpus.name, Ke::kName, [text](benchmark::State& state) {
        wiq_json_t* doc = Ke::parse(text);
        FILE* out = fopen("/dev/null", "w");
        for (auto _ : state)
            Ke::dump_file(doc, out);
        fclose(out);
        Ke::release(doc);
    });
    if (corpus.name == "nested")
        return;  // a base walk is recursive
    add("walk", corpus.name, Ke::kName, [text](benchmark::State& state) {
        wiq_json_t* doc = Ke::parse(text);
        WiqObject* visitor = object_new(&WiqJsonVisitorType);
        const auto* slots = reinterpret_cast<const WiqJsonVisitorClass*>(object_get_class(visitor));
        for (auto _ : state)
            benchmark::DoNotOptimize(slots->visit(reinterpret_cast<WiqJsonVisitor*>(visitor), doc));
        object_unref(visitor);
        Ke::release(doc);
    });
    add("pointer get", corpus.name, Ke::kName, [text](benchmark::State& state) {
        wiq_json_t* doc = Ke::parse(text);
        std::vector<Ke::Place> places;
        Ke::collect(doc, places);
        std::vector<std::string> pointers;
        for (const Ke::Place& place : places) {
            char* pointer = nullptr;
            wiq_json_ptr(static_cast<const wiq_json_t*>(Ke::look_up(place)), &pointer);
            pointers.emplace_back(pointer);
            free(pointer);
        }
        for (auto _ : state) {
            for (const std::string& pointer : pointers)
                benchmark::DoNotOptimize(wiq_json_ptr_get(doc, pointer.c_str(), nullptr, nullptr));
        }
        state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(pointers.size()));
        Ke::release(doc);
    });
}

void add_all() {
    add_library<Ke>();
    add_build<Ke>();
    for (const Corpus& corpus : corpora()) {
        add_equality<Ke>(corpus);
        add_look_up<Ke>(corpus);
        add_own(corpus);
        add_floor(corpus);
    }
#if defined(KE_BENCH_JSONC)
    add_library<JsonC>();
    add_build<JsonC>();
    for (const Corpus& corpus : corpora()) {
        if (takes<JsonC>(corpus)) {
            add_equality<JsonC>(corpus);
            add_look_up<JsonC>(corpus);
        }
    }
#endif
#if defined(KE_BENCH_CJSON)
    add_library<CJson>();
    add_build<CJson>();
#endif
#if defined(KE_BENCH_RAPIDJSON)
    add_library<Rapid>();
    for (const Corpus& corpus : corpora()) {
        if (takes<Rapid>(corpus))
            add_equality<Rapid>(corpus);
    }
#endif
#if defined(KE_BENCH_NLOHMANN)
    add_library<Nlohmann>();
#endif
#if defined(KE_BENCH_RAPIDJSON)
    add_library<RapidPool>();
#endif
#if defined(KE_BENCH_BOOST)
    add_library<Boost>();
    for (const Corpus& corpus : corpora()) {
        if (takes<Boost>(corpus))
            add_equality<Boost>(corpus);
    }
#endif
}

template <class Library>
void add_memory() {
    for (const Corpus& corpus : corpora()) {
        if (takes<Library>(corpus))
            add_memory<Library>(corpus);
    }
}

// Added after everything else, so that it also runs last: heap_of() starts a thread, and malloc() and free() take
// locks from the first thread on.
void add_memory_of_all() {
    add_memory<Ke>();
#if defined(KE_BENCH_JSONC)
    add_memory<JsonC>();
#endif
#if defined(KE_BENCH_CJSON)
    add_memory<CJson>();
#endif
#if defined(KE_BENCH_RAPIDJSON)
    add_memory<Rapid>();
    add_memory<RapidPool>();
#endif
#if defined(KE_BENCH_NLOHMANN)
    add_memory<Nlohmann>();
#endif
#if defined(KE_BENCH_BOOST)
    add_memory<Boost>();
#endif
}

// Runs before main(), which the benchmark library defines.
[[maybe_unused]] const bool added = (add_all(), add_memory_of_all(), true);

}  // namespace
