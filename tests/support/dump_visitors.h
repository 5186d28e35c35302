// The instance and class records of the serializer's visitors, as known to a client that finds their types in
// type_list() and derives from them.
#pragma once

#include <cstdio>
#include <cstring>

#include "ke_utils/json.h"

struct DumpStrVisitor {
    WiqJsonVisitor base;
    u32 flags;
    i32 indent;
    wiq_strbuf* buf;
};
struct DumpFileVisitor {
    WiqJsonVisitor base;
    u32 flags;
    i32 indent;
    FILE* stream;
    i32 written;
    wiq_strbuf scratch;
};
struct DumpClass {
    WiqJsonVisitorClass base;
    i32 (*print)(WiqJsonVisitor* self, const char* format, ...);
    i32 (*print_string)(WiqJsonVisitor* self, const char* text);
};

// Returns the registered type with this name, or NULL if it is not found.
inline WiqType* find_type(const char* name) {
    u32 count = 0;
    WiqType** types = type_list(&count);
    for (u32 i = 0; i < count; ++i) {
        if (types[i]->name != nullptr && strcmp(types[i]->name, name) == 0)
            return types[i];
    }
    return nullptr;
}
