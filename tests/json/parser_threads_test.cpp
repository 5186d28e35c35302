// Loads on several threads at once: from their own streams and strings, and from one stream that all of them
// read, each load taking one complete value.
#include <uv.h>

#include <atomic>

#include "json/parser_support.h"

namespace {

constexpr int kThreads = 4;

// Runs the body on all threads, which start together.
template <class Body>
void run_on_threads(Body body) {
    struct Shared {
        Body* body;
        uv_barrier_t barrier;
    } shared = {&body, {}};
    ASSERT_EQ(uv_barrier_init(&shared.barrier, kThreads), 0);
    uv_thread_t threads[kThreads];
    for (uv_thread_t& thread : threads) {
        ASSERT_EQ(uv_thread_create(
                      &thread,
                      [](void* arg) {
                          auto* at = static_cast<Shared*>(arg);
                          uv_barrier_wait(&at->barrier);
                          (*at->body)();
                      },
                      &shared),
                  0);
    }
    for (uv_thread_t& thread : threads)
        EXPECT_EQ(uv_thread_join(&thread), 0);
    uv_barrier_destroy(&shared.barrier);
}

constexpr int kRounds = 200;
const char kText[] =
    "{\"a\":[1,-2.5,\"\\u00e9\\ud83d\\ude00\",null,{\"$ref\":\"#/a/"
    "0\"}],\"b\":99999999999999999999}";
const char kTree[] =
    "{\"a\":[1,d:-2.5,\"\\xC3\\xA9\\xF0\\x9F\\x98\\x80\",null,ref:\"#/a/0\"],"
    "\"b\":u:99999999999999999999}";

TEST(ParserThreads, SourcesOfTheirOwn) {
    std::atomic<int> wrong = 0;
    // Created beforehand, because on Windows two threads can get the same temporary name.
    ScratchFile files[kThreads];
    std::atomic<int> next = 0;
    run_on_threads([&] {
        ScratchFile& file = files[next++];
        for (int i = 0; i < kRounds; ++i) {
            wrong += load_string(kText, 0).tree == kTree ? 0 : 1;
            wrong += load_string("[1,\n x]", 0).error.status == WIQ_ERR_JSON_BAD_TOKEN ? 0 : 1;
        }
        wrong += file.load(kText, 0).tree == kTree ? 0 : 1;
    });
    EXPECT_EQ(wrong, 0);
}

// Returns the number of which an array holds exactly `copies` copies; -1 if it holds anything else.
i64 number_of(wiq_json_t* array, i32 copies) {
    if (wiq_json_array_size(array) != copies)
        return -1;
    const i64 first = wiq_json_i64_get(wiq_json_array_get_ext(array, 0, 0, nullptr));
    for (i32 i = 1; i < copies; ++i) {
        if (wiq_json_i64_get(wiq_json_array_get_ext(array, i, 0, nullptr)) != first)
            return -1;
    }
    return first;
}

// Without a lock on the stream, the values are long enough for one thread to read one part and another thread
// the rest. Each is an array of one number, repeated.
TEST(ParserThreads, OneStream) {
    constexpr int kValues = 4000;
    constexpr int kCopies = 20;
    std::string content;
    for (int i = 0; i < kValues; ++i) {
        content += "[";
        for (int copy = 0; copy < kCopies; ++copy)
            content += (copy == 0 ? "" : ", ") + std::to_string(i);
        content += "]\n";
    }
    ScratchFile file;
    FILE* stream = file.with(content);
    std::vector<std::atomic<int>> seen(kValues);
    std::atomic<int> wrong = 0;
    run_on_threads([&] {
        for (;;) {
            wiq_json_load_error error = {};
            wiq_json_t* node = wiq_json_loadf(stream, WIQ_JSON_ALLOW_TRAILING, &error);
            if (node == nullptr) {
                wrong += error.status == WIQ_ERR_JSON_UNEXPECTED_TOKEN ? 0 : 1;
                return;
            }
            const i64 number = number_of(node, kCopies);
            const bool whole = number >= 0 && number < kValues;
            if (whole)
                ++seen[static_cast<size_t>(number)];
            else
                ++wrong;
            wiq_json_unref(node);
        }
    });
    EXPECT_EQ(wrong, 0);
    for (const std::atomic<int>& times : seen)
        EXPECT_EQ(times, 1);
}

}  // namespace
