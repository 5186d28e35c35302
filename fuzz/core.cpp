// A script of allocations through the leak tracker's hooks, compared with a model of what is allocated and
// counted; and times of day compared with the C library's.
#include <ctime>

#include "script.h"

namespace {

struct Block {
    u8* data = nullptr;
    std::string model;  // the expected contents
    bool aligned = false;
};

struct Counts {
    i32 balance = 0;
    i32 count = 0;
    int paused = 0;

    void allocated(const void* block) {
        const i32 one = block != nullptr && paused == 0 ? 1 : 0;
        balance += one;
        count += one;
    }
    void released(const void* block) { balance -= block != nullptr && paused == 0 ? 1 : 0; }
};

void fill(Block& block, size_t size, char c) {
    block.model.assign(size, c);
    if (size != 0)
        memset(block.data, c, size);
}

void release(Block& block, Counts& counts) {
    counts.released(block.data);
    if (block.aligned)
        KE_ALIGNED_FREE(block.data);
    else
        KE_FREE(block.data);
    block = {};
}

void allocate(Block& block, Counts& counts, const Op& op) {
    release(block, counts);
    const size_t size = op.c;
    void* data = nullptr;
    if (op.d % 4 == 0) {
        const size_t alignment = op.e % 8 == 7 ? 24 : op.e % 8 == 0 ? 0 : size_t{1} << op.e % 8;
        const i32 status = KE_ALIGNED_ALLOC(&data, size + 1, alignment);
        CHECK(status == (alignment == 24 ? WIQ_ERR_NO_MEMORY : 0));
        CHECK(alignment == 0 || reinterpret_cast<uintptr_t>(data) % alignment == 0);
        block.aligned = true;
    } else if (op.d % 4 == 1) {
        data = KE_MALLOC0(size);
        for (size_t i = 0; i < size; ++i)
            CHECK(static_cast<u8*>(data)[i] == 0);
    } else if (op.d % 4 == 2) {
        data = KE_STRDUP(std::string(size, 'x').c_str());
        CHECK(strlen(static_cast<char*>(data)) == size);
    } else {
        data = KE_MALLOC(size);
        CHECK((data == nullptr) == (size == 0));
    }
    counts.allocated(data);
    block.data = static_cast<u8*>(data);
    if (data != nullptr)
        fill(block, size, static_cast<char>(op.e));
    else
        block.aligned = false;
}

void resize(Block& block, Counts& counts, size_t size, char c) {
    if (block.aligned)
        return;
    counts.released(block.data);
    block.data = static_cast<u8*>(KE_REALLOC(block.data, size));
    counts.allocated(block.data);
    CHECK((block.data == nullptr) == (size == 0));
    const size_t kept = std::min(size, block.model.size());
    CHECK(kept == 0 || memcmp(block.data, block.model.data(), kept) == 0);
    if (block.data != nullptr)
        fill(block, size, c);
    else
        block.model.clear();
}

void check_time(const Op& op) {
    const u64 ms = (u64{op.a} << 16 | u64{op.b} << 8 | op.c) * 7;
    const u64 ns = u64{op.d} * 999983;
    char text[14];
    CHECK(time_ms_to_string(ms, ns, text) == 13);
    const u64 all = ms + ns / 1000000;
    char expected[40];
    snprintf(expected, sizeof(expected), "%02d:%02d:%02d.%03d ",
             static_cast<int>(all / 3600000 % 24), static_cast<int>(all / 60000 % 60),
             static_cast<int>(all / 1000 % 60), static_cast<int>(all % 1000));
    CHECK(strcmp(text, expected) == 0);
    struct tm tm = {};
    tm.tm_hour = op.a % 24;
    tm.tm_min = op.b % 60;
    tm.tm_sec = op.c % 60;
    CHECK(calc_tm_to_ms(&tm) == ((tm.tm_hour * 60 + tm.tm_min) * 60 + tm.tm_sec) * 1000);
    CHECK(wiq_get_tm(&tm) == 0 && tm.tm_year > 100);
    i64 now = 0;
    CHECK(wiq_time_real_ptr(&now) == now && now > 0);
    wiq_sleep_real_ptr(0);
}

// Loads an existing module and looks up a symbol that may not exist, or tries a module that does not exist.
void check_module(bool there, bool symbol) {
    wiq_lib lib = {};
    const i32 status = wiq_dlopen_real_ptr(there ? "libm.so.6" : "/nonexistent/module.so", &lib);
    CHECK((status == 0) == there);
    void* found = nullptr;
    if (there)
        CHECK((wiq_dlsym_real_ptr(&lib, symbol ? "cos" : "no such symbol", &found) == 0) == symbol);
    CHECK((found != nullptr) == (there && symbol));
    wiq_dlclose_real_ptr(&lib);
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Block blocks[4];
    Counts counts;
    wiq_memleak_begin();
    for (const Op& op : script_of(data, size)) {
        Block& block = blocks[op.a % 4];
        switch (op.code % 8) {
            case 0:
            case 1:
                allocate(block, counts, op);
                break;
            case 2:
                resize(block, counts, op.c, static_cast<char>(op.e));
                break;
            case 3:
                release(block, counts);
                break;
            case 4:
                KE_ALLOC_TRACK_PAUSE();
                ++counts.paused;
                break;
            case 5:
                if (counts.paused != 0) {
                    KE_ALLOC_TRACK_RESUME();
                    --counts.paused;
                }
                break;
            case 6:
                check_time(op);
                break;
            default:
                if (op.b % 16 == 0)
                    check_module(op.c % 2 == 0, op.d % 2 == 0);
        }
        CHECK(block.model.empty() ||
              memcmp(block.data, block.model.data(), block.model.size()) == 0);
        CHECK(wiq_memleak_balance() == counts.balance);
        CHECK(wiq_memleak_count() == counts.count);
    }
    for (Block& block : blocks)
        release(block, counts);
    return 0;
}
