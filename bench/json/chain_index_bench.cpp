// Objects with a million keys that all have the same hash, beside objects with a million ordinary keys of the same
// length. The names are OPERATION/KEYS; each operation runs once in a repetition.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "ke_utils.h"
#include "support/colliding_keys.h"

namespace {

constexpr size_t kKeys = 1000000;

std::string text_of(const std::vector<std::string>& keys) {
    std::string text = "{";
    for (const std::string& key : keys)
        text += (text.size() > 1 ? ",\"" : "\"") + key + "\":1";
    return text + "}";
}

// Keys, and what is made of them, before the measurement begins.
struct Input {
    explicit Input(const std::vector<std::string>& all) : keys(all), shuffled(all) {
        std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(1));
        text = text_of(keys);
        other_text = text_of(shuffled);
    }

    std::vector<std::string> keys;
    std::vector<std::string> shuffled;
    std::string text;
    std::string other_text;  // the same members in another order
};

const Input& input_of(bool is_colliding) {
    static const Input s_ordinary(colliding::ordinary_keys(kKeys));
    static const Input s_colliding(colliding::keys(kKeys));
    return is_colliding ? s_colliding : s_ordinary;
}

void stop_unless(bool ok, const char* what) {
    if (!ok) {
        fprintf(stderr, "chain_index: %s failed\n", what);
        exit(1);
    }
}

wiq_json_t* parse(const std::string& text, i32 flags = 0) {
    wiq_json_t* root = wiq_json_loads(text.c_str(), flags, nullptr);
    stop_unless(root != nullptr, "parsing");
    return root;
}

// What an operation works on; both are released after the measurement.
struct Pair {
    wiq_json_t* object = nullptr;
    wiq_json_t* other = nullptr;
};
using Operation = std::function<void(const Input&, Pair&)>;

Operation each_key(const char* what, const std::function<bool(wiq_json_t*, const char*)>& call) {
    return [what, call](const Input& input, Pair& pair) {
        for (const std::string& key : input.shuffled)
            stop_unless(call(pair.object, key.c_str()), what);
    };
}

void nothing(const Input&, Pair&) {}
void parse_object(const Input& input, Pair& pair) {
    pair.object = parse(input.text);
}
void parse_both(const Input& input, Pair& pair) {
    pair = {parse(input.text), parse(input.text)};
}
void parse_both_orders(const Input& input, Pair& pair) {
    pair = {parse(input.text), parse(input.other_text)};
}

bool put(wiq_json_t* object, const char* key) {
    return wiq_json_obj_put_i64(object, key, 1, nullptr) != nullptr;
}

void add(const char* name, const Operation& prepare, const Operation& run) {
    for (const bool is_colliding : {false, true}) {
        benchmark::RegisterBenchmark(
            (std::string(name) + (is_colliding ? "/colliding" : "/ordinary")).c_str(),
            [=](benchmark::State& state) {
                const Input& input = input_of(is_colliding);
                for (auto _ : state) {
                    state.PauseTiming();
                    Pair pair;
                    prepare(input, pair);
                    state.ResumeTiming();
                    run(input, pair);
                    state.PauseTiming();
                    wiq_json_unref(pair.object);
                    wiq_json_unref(pair.other);
                    state.ResumeTiming();
                }
            })
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
    }
}

const int kRegistered = [] {
    add("parse", nothing, parse_object);
    add(
        "put new keys",
        [](const Input&, Pair& pair) { pair.object = wiq_json_obj_new(0, nullptr); },
        each_key("putting", put));
    add("get", parse_object, each_key("getting", [](wiq_json_t* object, const char* key) {
            return wiq_json_obj_get_ext(object, key, 0, nullptr) != nullptr;
        }));
    add("has_key", parse_object, each_key("looking up", wiq_json_obj_has_key));
    add("pointer access", parse_object,
        each_key("following", [](wiq_json_t* object, const char* key) {
            return wiq_json_ptr_get(object, ("/" + std::string(key)).c_str(), nullptr, nullptr) !=
                   nullptr;
        }));
    add("copy", parse_object, [](const Input&, Pair& pair) {
        pair.other = wiq_json_copy(pair.object, nullptr);
        stop_unless(pair.other != nullptr, "copying");
    });
    const Operation compare = [](const Input&, Pair& pair) {
        stop_unless(wiq_json_equal(pair.object, pair.other), "comparing");
    };
    add("equality in the same order", parse_both, compare);
    add("equality in another order", parse_both_orders, compare);
    add("subset in another order", parse_both_orders, [](const Input&, Pair& pair) {
        stop_unless(wiq_json_subset(pair.object, pair.other, 0), "comparing");
    });
    add("parse and refuse duplicates", nothing, [](const Input& input, Pair& pair) {
        pair.object = parse(input.text, WIQ_JSON_REJECT_DUPLICATES);
    });
    add("put existing keys", parse_object, each_key("replacing", put));
    add("remove", parse_object, each_key("removing", [](wiq_json_t* object, const char* key) {
            return wiq_json_obj_remove(object, key) == 0;
        }));
    add("release", parse_object, [](const Input&, Pair& pair) {
        wiq_json_unref(pair.object);
        pair.object = nullptr;
    });
    return 0;
}();

}  // namespace
