// A call locks the stream that it reads for exactly as long as it reads.
#include <gtest/gtest.h>
#include <uv.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "ke_utils/json.h"
#include "support/temporary_stream.h"

namespace {

// Returns what another thread reads next. If the stream is still locked, this waits forever.
int read_on_another_thread(FILE* stream) {
    struct Shared {
        FILE* stream;
        int c;
    } shared = {stream, -2};
    uv_thread_t thread;
    EXPECT_EQ(uv_thread_create(
                  &thread,
                  [](void* arg) {
                      auto* at = static_cast<Shared*>(arg);
                      at->c = fgetc(at->stream);
                  },
                  &shared),
              0);
    EXPECT_EQ(uv_thread_join(&thread), 0);
    return shared.c;
}

TEST(StreamLockThreads, IsReleasedAfterEachCall) {
    FILE* stream = stream_of("one\ntwo\n[a]\nk=v\n");
    char* line = nullptr;
    u64 size = 0;
    EXPECT_EQ(wiq_getline(&line, &size, stream), 4);
    EXPECT_EQ(read_on_another_thread(stream), 't');
    EXPECT_EQ(wiq_getline(&line, &size, stream), 3);
    free(line);
    EXPECT_EQ(wiq_ini_parse(stream, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(read_on_another_thread(stream), EOF);
    fclose(stream);
    stream = stream_of("[1]");
    wiq_json_load_error error;
    wiq_json_t* loaded = wiq_json_loadf(stream, 0, &error);
    EXPECT_EQ(error.status, 0);
    EXPECT_NE(read_on_another_thread(stream), -2);
    wiq_json_unref(loaded);
    fclose(stream);
}

// Two parses of one stream: the second begins in the middle of the first and must wait for its end.
struct Parse {
    FILE* stream;
    uv_thread_t thread;
    uv_sem_t begun;
    std::atomic<int> keys;
    bool started;
};

i32 on_key_of_second(const char*, const WiqIniLocation*, const char*, const WiqIniLocation*,
                     void* user) {
    ++static_cast<Parse*>(user)->keys;
    return 0;
}

i32 on_key_of_first(const char*, const WiqIniLocation*, const char*, const WiqIniLocation*,
                    void* user) {
    auto* second = static_cast<Parse*>(user);
    if (second->started)
        return 0;
    second->started = true;
    EXPECT_EQ(uv_thread_create(
                  &second->thread,
                  [](void* arg) {
                      auto* at = static_cast<Parse*>(arg);
                      uv_sem_post(&at->begun);
                      wiq_ini_parse(at->stream, nullptr, on_key_of_second, nullptr, at);
                  },
                  second),
              0);
    uv_sem_wait(&second->begun);
    wiq_sleep_real(50);
    return 0;
}

TEST(StreamLockThreads, IsHeldForAWholeFile) {
    std::string text = "[a]\n";
    for (int i = 0; i < 20; ++i)
        text += "[b]\nk=v\n";
    Parse second = {stream_of(text), {}, {}, {0}, false};
    ASSERT_EQ(uv_sem_init(&second.begun, 0), 0);
    EXPECT_EQ(wiq_ini_parse(second.stream, nullptr, on_key_of_first, nullptr, &second), 0);
    ASSERT_TRUE(second.started);
    EXPECT_EQ(uv_thread_join(&second.thread), 0);
    EXPECT_EQ(second.keys, 0) << "the first parse has read to the end";
    uv_sem_destroy(&second.begun);
    fclose(second.stream);
}

}  // namespace
