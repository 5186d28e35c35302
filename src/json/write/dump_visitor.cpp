// The serializer's classes. An object of exactly one of the library's two output classes takes the
// short cut of dump_writer.h, which gives the same text without recursion. The walk of a client's
// subclass goes slot by slot, so that every override takes effect.

#include "json/write/dump_visitor.h"

#include <cstdarg>

#include "json/write/dump_sink.h"
#include "json/write/dump_writer.h"
#include "os/os.h"

namespace ke::json {

namespace {

JsonDumpVisitor* dump_visitor(WiqJsonVisitor* self) {
    return reinterpret_cast<JsonDumpVisitor*>(self);
}
JsonDumpStrVisitor* str_visitor(WiqJsonVisitor* self) {
    return reinterpret_cast<JsonDumpStrVisitor*>(self);
}
JsonDumpFileVisitor* file_visitor(WiqJsonVisitor* self) {
    return reinterpret_cast<JsonDumpFileVisitor*>(self);
}
JsonDumpVisitorClass* dump_slots(WiqClass* klass) {
    return reinterpret_cast<JsonDumpVisitorClass*>(klass);
}
const JsonDumpVisitorClass* slots_of(const WiqJsonVisitor* self) {
    return reinterpret_cast<const JsonDumpVisitorClass*>(self->object.klass);
}

// The print slots here convert doubles themselves, because runtimes write infinities and NaN in
// different ways.
constexpr const char* kDoubleFormat = "%f";

bool is_double(const char* format) {
    return strcmp(format, kDoubleFormat) == 0;
}

bool is_pretty(WiqJsonVisitor* self) {
    return (dump_visitor(self)->flags & WIQ_JSON_DUMP_PRETTY) != 0;
}

// These call the two output slots, either of which a subclass may replace. So the arguments that
// the slots get are part of the interface.
i32 print(WiqJsonVisitor* self, const char* literal) {
    return slots_of(self)->print(self, literal);
}

i32 print_newline(WiqJsonVisitor* self) {
    return is_pretty(self) ? slots_of(self)->print(self, "\n%*s", dump_visitor(self)->indent, "")
                           : 0;
}

// Writes an opening bracket. If pretty, the lines after it are indented one level further.
i32 begin(WiqJsonVisitor* self, const char* bracket) {
    if (is_pretty(self))
        dump_visitor(self)->indent = moved_indent(dump_visitor(self)->indent, kIndentStep);
    return print(self, bracket);
}

// Writes a closing bracket; if pretty, on a line of its own, indented one level less.
i32 end(WiqJsonVisitor* self, const char* bracket, const char* bracket_on_its_line) {
    if (!is_pretty(self))
        return print(self, bracket);
    const i32 indent = moved_indent(dump_visitor(self)->indent, -kIndentStep);
    dump_visitor(self)->indent = indent;
    return slots_of(self)->print(self, bracket_on_its_line, indent, "");
}

i32 end_object(WiqJsonVisitor* self) {
    return end(self, "}", "\n%*s}");
}

i32 print_key(WiqJsonVisitor* self, const char* key) {
    i32 status = slots_of(self)->print_string(self, key);
    if (status == 0)
        status = print(self, ":");
    return status != 0 || !is_pretty(self) ? status : print(self, " ");
}

// Writes an object with one member whose value is a string.
i32 print_single_member(WiqJsonVisitor* self, const char* key, const char* text) {
    i32 status = begin(self, "{");
    if (status == 0)
        status = print_newline(self);
    if (status == 0)
        status = print_key(self, key);
    if (status == 0)
        status = slots_of(self)->print_string(self, text);
    return status != 0 ? status : end_object(self);
}

i32 dump_string(WiqJsonVisitor* self, wiq_json_t*, const char* text) {
    return slots_of(self)->print_string(self, text);
}

i32 dump_i64(WiqJsonVisitor* self, wiq_json_t*, i64 value) {
    return slots_of(self)->print(self, "%lld", static_cast<long long>(value));
}

i32 dump_u64(WiqJsonVisitor* self, wiq_json_t*, u64 value) {
    return slots_of(self)->print(self, "%llu", static_cast<unsigned long long>(value));
}

i32 dump_u128(WiqJsonVisitor* self, wiq_json_t*, const wiq_uint128* value) {
    char digits[kMaxDecimalDigits128 + 1];
    const i32 status = wiq_uint128_to_str(*value, 10, digits, sizeof(digits));
    if (status < 0)
        return status;
    const bool as_object = (dump_visitor(self)->flags & WIQ_JSON_DUMP_U128_AS_OBJECT) != 0;
    return as_object ? print_single_member(self, "u128", digits)
                     : slots_of(self)->print(self, "%s", digits);
}

i32 dump_double(WiqJsonVisitor* self, wiq_json_t*, double value) {
    return slots_of(self)->print(self, kDoubleFormat, value);
}

i32 dump_ref(WiqJsonVisitor* self, wiq_json_t*, const char* uri) {
    return print_single_member(self, "$ref", uri);
}

i32 dump_bool(WiqJsonVisitor* self, wiq_json_t*, bool value) {
    return print(self, value ? "true" : "false");
}

i32 dump_null(WiqJsonVisitor* self, wiq_json_t*) {
    return print(self, "null");
}

i32 dump_object_begin(WiqJsonVisitor* self, wiq_json_t*) {
    return begin(self, "{");
}

i32 dump_object_end(WiqJsonVisitor* self, wiq_json_t*) {
    return end_object(self);
}

i32 dump_member(WiqJsonVisitor* self, wiq_json_t*, const char* key, wiq_json_t* value, bool first) {
    i32 status = first ? 0 : print(self, ",");
    if (status == 0)
        status = print_newline(self);
    if (status == 0)
        status = print_key(self, key);
    return status != 0 ? status : slots_of(self)->base.visit(self, value);
}

i32 dump_keys(WiqJsonVisitor* self, wiq_json_t* obj, wiq_strv* keys) {
    const i32 count = wiq_json_obj_keys(obj, keys);
    if (count > 0 && (dump_visitor(self)->flags & WIQ_JSON_DUMP_SORT_KEYS) != 0)
        wiq_strv_sort(keys);
    return count;
}

i32 dump_array_begin(WiqJsonVisitor* self, wiq_json_t*) {
    return begin(self, "[");
}

i32 dump_array_end(WiqJsonVisitor* self, wiq_json_t*) {
    return end(self, "]", "\n%*s]");
}

i32 dump_element(WiqJsonVisitor* self, wiq_json_t*, i32 index, wiq_json_t* elem) {
    i32 status = index > 0 ? print(self, ",") : 0;
    if (status == 0)
        status = print_newline(self);
    return status != 0 ? status : slots_of(self)->base.visit(self, elem);
}

i32 dump_class_init(WiqClass* klass) {
    WiqJsonVisitorClass& slots = dump_slots(klass)->base;
    slots.visit_string = dump_string;
    slots.visit_i64 = dump_i64;
    slots.visit_u64 = dump_u64;
    slots.visit_u128 = dump_u128;
    slots.visit_double = dump_double;
    slots.visit_ref = dump_ref;
    slots.visit_bool = dump_bool;
    slots.visit_null = dump_null;
    slots.object_begin = dump_object_begin;
    slots.object_end = dump_object_end;
    slots.object_member = dump_member;
    slots.object_keys = dump_keys;
    slots.array_begin = dump_array_begin;
    slots.array_end = dump_array_end;
    slots.array_element = dump_element;
    return 0;
}

// The walk of the base class, which calls slot by slot, for subclasses.
i32 visit_by_slots(WiqJsonVisitor* self, wiq_json_t* node) {
    const auto* base = reinterpret_cast<const WiqJsonVisitorClass*>(
        object_get_super_class(&self->object, &WiqJsonVisitorType));
    return base->visit(self, node);
}

i32 str_visit(WiqJsonVisitor* self, wiq_json_t* node) {
    if (self->object.klass->type != &JsonDumpStrVisitorType)
        return visit_by_slots(self, node);
    const JsonDumpStrVisitor* visitor = str_visitor(self);
    StrbufSink sink(visitor->buf);
    return DumpWriter<StrbufSink>(sink, visitor->base.flags, visitor->base.indent).dump(node);
}

i32 str_print(WiqJsonVisitor* self, const char* format, ...) {
    wiq_strbuf* buf = str_visitor(self)->buf;
    va_list args;
    va_start(args, format);
    i32 written = 0;
    if (is_double(format)) {
        char text[kMaxDoubleText];
        const char* text_end = write_double(text, va_arg(args, double));
        written = wiq_strbuf_write(buf, text, static_cast<u64>(text_end - text));
    } else {
        written = wiq_strbuf_vprintf(buf, format, args);
    }
    va_end(args);
    return written < 0 ? written : 0;
}

// Appends a text as a JSON string. Returns 0, or the status of a failure, with the part of the text
// before it appended.
i32 append_quoted(wiq_strbuf* buf, const char* text) {
    if (text == nullptr)
        return WIQ_ERR_INVALID_ARG;
    StrbufSink sink(buf);
    i32 status = sink.write("\"", 1);
    if (status == 0)
        status = escape_text(text, text + strlen(text), sink);
    if (status == 0)
        status = sink.write("\"", 1);
    sink.finish();
    return status;
}

i32 str_print_string(WiqJsonVisitor* self, const char* text) {
    return append_quoted(str_visitor(self)->buf, text);
}

i32 str_class_init(WiqClass* klass) {
    dump_slots(klass)->base.visit = str_visit;
    dump_slots(klass)->print = str_print;
    dump_slots(klass)->print_string = str_print_string;
    return 0;
}

// Adds to the count of bytes, which is an i32 and stays at INT32_MAX.
void count_written(JsonDumpFileVisitor* visitor, u64 count) {
    const u64 left = static_cast<u64>(i64{INT32_MAX} - visitor->written);
    visitor->written = count < left ? visitor->written + static_cast<i32>(count) : INT32_MAX;
}

i32 file_visit(WiqJsonVisitor* self, wiq_json_t* node) {
    if (self->object.klass->type != &JsonDumpFileVisitorType)
        return visit_by_slots(self, node);
    JsonDumpFileVisitor* visitor = file_visitor(self);
    StreamSink sink(visitor->stream, &visitor->scratch);
    const i32 status =
        DumpWriter<StreamSink>(sink, visitor->base.flags, visitor->base.indent).dump(node);
    count_written(visitor, sink.written());
    return status;
}

// Writes bytes to the stream. Returns 0, or -1 if the stream fails, as the printing functions of
// the runtime do.
i32 file_write(JsonDumpFileVisitor* visitor, const char* bytes, u64 count) {
    if (os::write_stream(visitor->stream, bytes, count) != count)
        return EOF;
    count_written(visitor, count);
    return 0;
}

i32 file_print(WiqJsonVisitor* self, const char* format, ...) {
    JsonDumpFileVisitor* visitor = file_visitor(self);
    va_list args;
    va_start(args, format);
    i32 status = 0;
    if (is_double(format)) {
        char text[kMaxDoubleText];
        const char* text_end = write_double(text, va_arg(args, double));
        status = file_write(visitor, text, static_cast<u64>(text_end - text));
    } else {
        const i32 written = os::format_stream(visitor->stream, format, args);
        if (written >= 0)
            count_written(visitor, static_cast<u64>(written));
        else
            status = written;
    }
    va_end(args);
    return status;
}

// Writes by way of the scratch buffer: if a text cannot be escaped, no part of it reaches the
// stream.
i32 file_print_string(WiqJsonVisitor* self, const char* text) {
    JsonDumpFileVisitor* visitor = file_visitor(self);
    i32 status = append_quoted(&visitor->scratch, text);
    if (status == 0)
        status = file_write(visitor, visitor->scratch.data, visitor->scratch.len);
    wiq_strbuf_reset(&visitor->scratch);
    return status;
}

// The other fields of a new object are 0 already, which `written` relies on.
i32 file_instance_init(WiqObject* object) {
    return wiq_strbuf_init(&reinterpret_cast<JsonDumpFileVisitor*>(object)->scratch, 0);
}

void file_instance_finalize(WiqObject* object) {
    wiq_strbuf_finalize(&reinterpret_cast<JsonDumpFileVisitor*>(object)->scratch);
}

i32 file_class_init(WiqClass* klass) {
    dump_slots(klass)->base.visit = file_visit;
    dump_slots(klass)->print = file_print;
    dump_slots(klass)->print_string = file_print_string;
    return 0;
}

constexpr WiqType describe(const char* name, WiqType* parent, size_t instance_size,
                           size_t class_size, WiqClassInitFn class_init,
                           WiqInstanceInitFn instance_init = nullptr,
                           WiqInstanceFinalizeFn instance_finalize = nullptr) {
    return {
        .name = name,
        .parent = parent,
        .instance_size = instance_size,
        .instance_init = instance_init,
        .instance_finalize = instance_finalize,
        .class_size = class_size,
        .class_init = class_init,
        .class_base_init = nullptr,
        .klass = nullptr,
        .initialised = 0,
        .lock = {},
    };
}

}  // namespace

constinit WiqType JsonDumpVisitorType =
    describe("JsonDumpVisitor", &WiqJsonVisitorType, sizeof(JsonDumpVisitor),
             sizeof(JsonDumpVisitorClass), dump_class_init);
constinit WiqType JsonDumpStrVisitorType =
    describe("JsonDumpStrVisitor", &JsonDumpVisitorType, sizeof(JsonDumpStrVisitor),
             sizeof(JsonDumpVisitorClass), str_class_init);
constinit WiqType JsonDumpFileVisitorType = describe(
    "JsonDumpFileVisitor", &JsonDumpVisitorType, sizeof(JsonDumpFileVisitor),
    sizeof(JsonDumpVisitorClass), file_class_init, file_instance_init, file_instance_finalize);

}  // namespace ke::json
