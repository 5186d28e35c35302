// Scripts of calls while one allocation fails, or all from some point on, or no mutex can be made. The results and
// what each call leaves are those in the reference, and no block is lost.
#include "starved.h"

#include <uv.h>

#include <iterator>

#include "starved_containers.h"
#include "starved_files.h"
#include "starved_json.h"

extern "C" {
void* __wrap_malloc(size_t size) {
    return starved::fails() ? nullptr : starved::counted(__real_malloc(size));
}
void* __wrap_calloc(size_t count, size_t size) {
    return starved::fails() ? nullptr : starved::counted(__real_calloc(count, size));
}
void* __wrap_realloc(void* block, size_t size) {
    if (size != 0 && starved::fails())
        return nullptr;
    starved::g_blocks -= block != nullptr && size == 0;
    void* moved = __real_realloc(block, size);
    return block == nullptr ? starved::counted(moved) : moved;
}
void __wrap_free(void* block) {
    starved::g_blocks -= block != nullptr;
    __real_free(block);
}
char* __wrap_strdup(const char* text) {
    const size_t size = strlen(text) + 1;
    void* copy = __wrap_malloc(size);
    return copy == nullptr ? nullptr : static_cast<char*>(memcpy(copy, text, size));
}
int __real_uv_mutex_init(uv_mutex_t* mutex);
int __wrap_uv_mutex_init(uv_mutex_t* mutex) {
    return starved::g_no_locks ? UV_EAGAIN : __real_uv_mutex_init(mutex);
}
int __real_uv_mutex_init_recursive(uv_mutex_t* mutex);
int __wrap_uv_mutex_init_recursive(uv_mutex_t* mutex) {
    return starved::g_no_locks ? UV_EAGAIN : __real_uv_mutex_init_recursive(mutex);
}
}

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    using namespace starved;
    constexpr void (*kOperations[])(const Op&) = {
        load,        make_of,    change,  expand,     filter,   make_text, use_texts, use_buffer,
        use_strings, use_vector, use_map, use_values, use_type, use_paths, use_file,
    };
    // The classes of the visitors are built once and are never freed, so build them before counting blocks.
    static const bool ready = [] {
        object_unref(object_new(&WiqJsonVisitorType));
        wiq_json_t* node = wiq_json_null_new(nullptr);
        FILE* fp = fopen("/dev/null", "w");
        const bool written = dump(node, 0) == "null" && wiq_json_fdump(node, fp, 0, 0) == 4;
        fclose(fp);
        wiq_json_unref(node);
        return written;
    }();
    CHECK(ready);
    Script script = script_of(data, size);
    script.resize(std::min<size_t>(script.size(), 60));
    for (const Op& op : script) {
        begin(op);
        const long before = g_blocks;
        kOperations[op.code % std::size(kOperations)](op);
        if (g_blocks != before)
            fprintf(stderr, "operation %zu: %ld blocks, not %ld\n",
                    op.code % std::size(kOperations), g_blocks, before);
        CHECK(g_blocks == before);
    }
    g_no_locks = false;
    return 0;
}
