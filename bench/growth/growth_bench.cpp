// Operations on 1,000 to 10,000,000 elements, named OPERATION/COUNT/ke_utils, so that bench/report.py can
// draw how the time per element grows. A line that rises is an operation that takes more than linear time.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "ke_utils.h"

namespace {

constexpr int kSizes[] = {1000, 10000, 100000, 1000000, 10000000};

// Runs an operation on `count` elements; what prepare() makes is neither measured nor shared.
template <class Prepare, class Run, class Clear>
void add(const char* operation, Prepare prepare, Run run, Clear clear) {
    for (const int count : kSizes) {
        const std::string name = std::string(operation) + "/" + std::to_string(count) + "/ke_utils";
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
            auto input = prepare(count);
            for (auto _ : state)
                run(input, count, state);
            clear(input);
        })->Unit(benchmark::kMicrosecond);
    }
}

std::string integers(int count) {
    std::string text = "[";
    for (int i = 0; i < count; ++i)
        text += (i == 0 ? "" : ",") + std::to_string(i);
    return text + "]";
}
std::string members(int count) {
    std::string text = "{\"k0\":0";
    for (int i = 1; i < count; ++i) {
        const std::string number = std::to_string(i);
        text.append(",\"k").append(number).append("\":").append(number);
    }
    return text.append("}");
}
std::string nesting(int count) {
    return std::string(static_cast<size_t>(count), '[') +
           std::string(static_cast<size_t>(count), ']');
}
wiq_json_t* parsed(const std::string& text) {
    return wiq_json_loads(text.c_str(), 0, nullptr);
}

void parse(const std::string& text, int, benchmark::State&) {
    wiq_json_unref(parsed(text));
}
void nothing(const std::string&) {}

void dump(wiq_json_t* root, int, benchmark::State&) {
    char* text = nullptr;
    benchmark::DoNotOptimize(wiq_json_sdump(root, &text, 0));
    free(text);
}
void copy(wiq_json_t* root, int, benchmark::State&) {
    wiq_json_unref(wiq_json_copy(root, nullptr));
}
struct Pair {
    wiq_json_t* root;
    wiq_json_t* same;
};
void compare(const Pair& pair, int, benchmark::State&) {
    benchmark::DoNotOptimize(wiq_json_equal(pair.root, pair.same));
}
void release(const Pair& pair) {
    wiq_json_unref(pair.root);
    wiq_json_unref(pair.same);
}
void look_up(wiq_json_t* root, int count, benchmark::State&) {
    char key[16] = "k";
    for (int i = 0; i < count; ++i) {
        snprintf(key + 1, sizeof(key) - 1, "%d", i);
        benchmark::DoNotOptimize(wiq_json_obj_get_ext(root, key, 0, nullptr));
    }
}
wiq_json_t* members_of(int count) {
    return parsed(members(count));
}

Pair twice(int count) {
    return {members_of(count), members_of(count)};
}

// Adds elements one by one to a container that is empty at first.
int no_input(int) {
    return 0;
}
void put(int, int count, benchmark::State&) {
    wiq_json_t* root = wiq_json_obj_new(0, nullptr);
    char key[16] = "k";
    for (int i = 0; i < count; ++i) {
        snprintf(key + 1, sizeof(key) - 1, "%d", i);
        wiq_json_obj_put_i64(root, key, i, nullptr);
    }
    wiq_json_unref(root);
}
void push(int, int count, benchmark::State&) {
    wiq_json_t* root = wiq_json_array_new(0, nullptr);
    for (int i = 0; i < count; ++i)
        wiq_json_array_push_i64(root, i, nullptr);
    wiq_json_unref(root);
}
void drain(int, int count, benchmark::State& state) {
    state.PauseTiming();
    wiq_json_t* root = members_of(count);
    state.ResumeTiming();
    char key[16] = "k";
    for (int i = 0; i < count; ++i) {
        snprintf(key + 1, sizeof(key) - 1, "%d", i);
        wiq_json_obj_remove(root, key);
    }
    wiq_json_unref(root);
}
void insert(int, int count, benchmark::State&) {
    wiq_map map;
    wiq_map_init(&map, 0, wiq_hash_int, wiq_cmp_int, nullptr, nullptr);
    for (uintptr_t i = 1; i <= static_cast<uintptr_t>(count); ++i)
        wiq_map_put(&map, reinterpret_cast<void*>(i), reinterpret_cast<void*>(i));
    wiq_map_finalize(&map);
}
void append(int, int count, benchmark::State&) {
    wiq_strbuf buf;
    wiq_strbuf_init(&buf, 0);
    for (int i = 0; i < count; ++i)
        wiq_strbuf_write(&buf, "text", 4);
    wiq_strbuf_finalize(&buf);
}

void add_all() {
    add("parse and release an array", integers, parse, nothing);
    add("parse and release an object", members, parse, nothing);
    add("parse and release nesting", nesting, parse, nothing);
    add("write an object", members_of, dump, wiq_json_unref);
    add("copy and release an object", members_of, copy, wiq_json_unref);
    add("compare an object", twice, compare, release);
    add("look up each key", members_of, look_up, wiq_json_unref);
    add("put each key", no_input, put, [](int) {});
    add("remove each key", no_input, drain, [](int) {});
    add("push each element", no_input, push, [](int) {});
    add("put into a map", no_input, insert, [](int) {});
    add("append to a string buffer", no_input, append, [](int) {});
}

// Runs before main(), which the benchmark library defines.
[[maybe_unused]] const bool added = (add_all(), true);

}  // namespace
