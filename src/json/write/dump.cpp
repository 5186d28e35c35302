// The exported dump functions: each makes a visitor, gives it its target, and starts the walk.

#include "json/write/dump.h"

#include "json/model/text_limits.h"
#include "json/write/dump_visitor.h"

namespace ke::json {

namespace {

i32 walk(JsonDumpVisitor* visitor, wiq_json_t* node, u32 flags, u32 indent) {
    visitor->flags = flags;
    visitor->indent = static_cast<i32>(indent);
    const auto* slots = reinterpret_cast<const WiqJsonVisitorClass*>(visitor->base.object.klass);
    return slots->visit(&visitor->base, node);
}

}  // namespace

}  // namespace ke::json

using ke::json::JsonDumpFileVisitor;
using ke::json::JsonDumpStrVisitor;

i32 wiq_json_sdump_ext(wiq_json_t* node, wiq_strbuf* buf, u32 flags, u32 indent) {
    if (node == nullptr || buf == nullptr)
        return WIQ_ERR_INVALID_ARG;
    WiqObject* object = object_new(&ke::json::JsonDumpStrVisitorType);
    if (object == nullptr)
        return WIQ_ERR_NO_MEMORY;
    auto* visitor = reinterpret_cast<JsonDumpStrVisitor*>(object);
    visitor->buf = buf;
    const i32 status = ke::json::walk(&visitor->base, node, flags, indent);
    object_unref(object);
    return status;
}

i32 ke::json::sdump_within(wiq_json_t* node, char** out, u32 flags, u64 max_length) {
    if (node == nullptr || out == nullptr)
        return WIQ_ERR_INVALID_ARG;
    wiq_strbuf buf;
    i32 status = wiq_strbuf_init(&buf, 0);
    if (status == 0)
        status = wiq_json_sdump_ext(node, &buf, flags, 0);
    if (status == 0)
        status = take_text(&buf, out, max_length);
    wiq_strbuf_finalize(&buf);
    return status;
}

i32 wiq_json_sdump(wiq_json_t* node, char** out, u32 flags) {
    return ke::json::sdump_within(node, out, flags, ke::json::kMaxTextLength);
}

i32 wiq_json_fdump(wiq_json_t* node, FILE* fp, u32 flags, u32 indent) {
    if (node == nullptr || fp == nullptr)
        return WIQ_ERR_INVALID_ARG;
    WiqObject* object = object_new(&ke::json::JsonDumpFileVisitorType);
    if (object == nullptr)
        return WIQ_ERR_NO_MEMORY;
    auto* visitor = reinterpret_cast<JsonDumpFileVisitor*>(object);
    visitor->stream = fp;
    const i32 status = ke::json::walk(&visitor->base, node, flags, indent);
    const i32 written = visitor->written;
    object_unref(object);
    return status != 0 ? status : written;
}
