// The serializer's classes. JsonDumpVisitor makes the text by way of two output slots of its own;
// its two subclasses implement them for a string buffer and for a stream. A client that finds their
// descriptors in type_list() may derive from them.
#pragma once

#include <cstdio>

#include "ke_utils/json.h"
#include "ke_utils/object.h"

namespace ke::json {

struct JsonDumpVisitor {
    WiqJsonVisitor base;
    u32 flags;
    i32 indent;  // blanks before a line; in pretty output it changes by two with each level
};

struct JsonDumpStrVisitor {
    JsonDumpVisitor base;
    wiq_strbuf* buf;  // not owned
};

struct JsonDumpFileVisitor {
    JsonDumpVisitor base;
    FILE* stream;  // not owned
    i32 written;   // bytes; stays at INT32_MAX if there are more
    wiq_strbuf scratch;
};

struct JsonDumpVisitorClass {
    WiqJsonVisitorClass base;
    // Writes formatted text. Returns 0 or a negative status. The format is a literal text without a
    // conversion, or one of these: "%lld", "%llu"; "%f" for a double; "%s" for the digits of a
    // 128-bit number; before a line "\n%*s", "\n%*s}" or "\n%*s]", with the indentation and an
    // empty text as arguments.
    i32 (*print)(WiqJsonVisitor* self, const char* format, ...);
    // Writes a text as a JSON string, including the quotes. Returns 0 or a negative status.
    i32 (*print_string)(WiqJsonVisitor* self, const char* text);
};

extern WiqType JsonDumpVisitorType;
extern WiqType JsonDumpStrVisitorType;
extern WiqType JsonDumpFileVisitorType;

}  // namespace ke::json
