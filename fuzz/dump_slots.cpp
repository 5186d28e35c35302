// The serializer's visitors, derived from as a client would: a walk through the slots writes the same text as
// the direct path of the exported functions, to a string buffer and to a stream. It ends at a print slot that
// fails, with that slot's status, and survives running out of memory.
#include "input.h"
#include "support/dump_visitors.h"

extern "C" {
void* __real_malloc(size_t size);
void* __real_realloc(void* block, size_t size);
}

namespace {

int g_allocations_left = -1;  // that succeed before one fails; negative: none fails

bool allocation_fails() {
    return g_allocations_left >= 0 && g_allocations_left-- == 0;
}

constexpr i32 kStopped = -4711;
int g_prints_left = -1;  // that succeed before one fails; negative: none fails
i32 (*g_print_string)(WiqJsonVisitor* self, const char* text);

i32 stopping_print_string(WiqJsonVisitor* self, const char* text) {
    return g_prints_left >= 0 && g_prints_left-- == 0 ? kStopped : g_print_string(self, text);
}

i32 class_init(WiqClass* klass) {
    auto* slots = reinterpret_cast<DumpClass*>(klass);
    g_print_string = slots->print_string;
    slots->print_string = stopping_print_string;
    return 0;
}

WiqType new_type(const char* name, WiqClassInitFn init) {
    WiqType type = {};
    type.name = name;
    type.class_init = init;
    return type;
}

// The second type writes to a stream; the third can be stopped.
WiqType g_types[] = {new_type("FuzzStrDump", nullptr), new_type("FuzzFileDump", nullptr),
                     new_type("FuzzStoppingDump", class_init)};

void make_types() {
    const char* const parents[] = {"JsonDumpStrVisitor", "JsonDumpFileVisitor",
                                   "JsonDumpStrVisitor"};
    for (size_t i = 0; i < 3; ++i) {
        CHECK(type_init(&g_types[i], find_type(parents[i])) == 0);
        // The first object builds the class.
        object_unref(object_new(&g_types[i]));
    }
}

struct Text {
    i32 status;
    std::string bytes;
};

i32 visit(WiqObject* object, wiq_json_t* node) {
    const auto* slots = reinterpret_cast<const WiqJsonVisitorClass*>(object_get_class(object));
    return slots->visit(reinterpret_cast<WiqJsonVisitor*>(object), node);
}

Text by_slots(WiqType* type, wiq_json_t* node, u32 flags, i32 indent, int allocations_left) {
    wiq_strbuf buf = {};
    CHECK(wiq_strbuf_init(&buf, 0) == 0);
    WiqObject* object = object_new(type);
    CHECK(object != nullptr);
    auto* visitor = reinterpret_cast<DumpStrVisitor*>(object);
    visitor->flags = flags;
    visitor->indent = indent;
    visitor->buf = &buf;
    g_allocations_left = allocations_left;
    const i32 status = visit(object, node);
    g_allocations_left = -1;
    CHECK(status != 0 || visitor->indent == indent);
    object_unref(object);
    Text text = {status, std::string(buf.data, buf.len)};
    wiq_strbuf_finalize(&buf);
    return text;
}

Text by_file_slots(wiq_json_t* node, u32 flags, i32 indent) {
    char* block = nullptr;
    size_t size = 0;
    FILE* stream = open_memstream(&block, &size);
    WiqObject* object = object_new(&g_types[1]);
    CHECK(stream != nullptr && object != nullptr);
    auto* visitor = reinterpret_cast<DumpFileVisitor*>(object);
    visitor->flags = flags;
    visitor->indent = indent;
    visitor->stream = stream;
    const i32 status = visit(object, node);
    fclose(stream);
    CHECK(visitor->written == static_cast<i32>(size));
    object_unref(object);
    Text text = {status, std::string(block, size)};
    free(block);
    return text;
}

Text by_function(wiq_json_t* node, u32 flags, u32 indent) {
    wiq_strbuf buf = {};
    CHECK(wiq_strbuf_init(&buf, 0) == 0);
    const i32 status = wiq_json_sdump_ext(node, &buf, flags, indent);
    Text text = {status, std::string(buf.data, buf.len)};
    wiq_strbuf_finalize(&buf);
    return text;
}

bool begins(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

}  // namespace

extern "C" void* __wrap_malloc(size_t size) {
    return allocation_fails() ? nullptr : __real_malloc(size);
}
extern "C" void* __wrap_realloc(void* block, size_t size) {
    return allocation_fails() ? nullptr : __real_realloc(block, size);
}

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    static const bool ready = (make_types(), true);
    if (!ready || size > 2000)  // a walk through the slots is recursive
        return 0;
    Input input(data, size);
    const u32 flags = input.byte() & 7;
    const u32 indent = input.byte() % 32;
    const int stop = input.byte();
    const int allocations = input.byte();
    wiq_json_t* root = wiq_json_loads(input.rest().c_str(), 0, nullptr);
    if (root == nullptr)
        return 0;
    const i32 signed_indent = static_cast<i32>(indent);
    const Text expected = by_function(root, flags, indent);
    const Text slots = by_slots(&g_types[0], root, flags, signed_indent, -1);
    CHECK(expected.status == 0 && slots.status == 0 && slots.bytes == expected.bytes);
    const Text stream = by_file_slots(root, flags, signed_indent);
    CHECK(stream.status == 0 && stream.bytes == expected.bytes);
    g_prints_left = stop;
    const Text stopped = by_slots(&g_types[2], root, flags, signed_indent, -1);
    CHECK(stopped.status == (g_prints_left < 0 ? kStopped : 0));
    CHECK(begins(expected.bytes, stopped.bytes));
    CHECK((stopped.status == 0) == (stopped.bytes == expected.bytes));
    g_prints_left = -1;
    const Text starved = by_slots(&g_types[0], root, flags, signed_indent, allocations);
    CHECK(starved.status == 0 || starved.status == WIQ_ERR_NO_MEMORY);
    // If an object's keys cannot be collected, it is written as an empty object; this is not a failure.
    CHECK(starved.bytes.size() <= expected.bytes.size());
    wiq_json_unref(root);
    return 0;
}
