// Path strings; the file system is not accessed. The functions always write "\" as the separator;
// whether they also recognise "/" depends on their purpose.

#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "containers/strbuf.h"
#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "ke_utils/text.h"

namespace {

bool is_separator(char c) {
    return c == '\\' || c == '/';
}

// Appends `length` bytes of a part, with a separator before it if one is needed. The part may lie
// in the buffer. `before` is the number of bytes that earlier parts have added; with this part, the
// sum must still fit into an i32.
i32 append_part(wiq_strbuf* buf, const ke::BufferArg& part, u64 length, i32 before = 0) {
    const bool apart = buf->len != 0 && length != 0 && buf->data[buf->len - 1] != '\\';
    const i32 separators = apart ? 1 : 0;
    const i32 left = INT32_MAX - before;
    if (left < separators || length > static_cast<u64>(left - separators))
        return WIQ_ERR_RANGE;
    if (apart) {
        const i32 status = wiq_strbuf_putc(buf, '\\');
        if (status != 0)
            return status;
    }
    const i32 appended = wiq_strbuf_write(buf, part.now(buf), length);
    if (appended >= 0)
        return appended + separators;
    // Remove the separator again: on its own it would make a different path.
    wiq_strbuf_erase(buf, static_cast<u64>(separators));
    return appended;
}

// Appends a part as it was when the buffer was in the state `before`. A part that lies in the
// buffer's text ended where that text did, although more text may follow it by now.
i32 append_part_of(const wiq_strbuf& before, wiq_strbuf* buf, const char* part, i32 total) {
    const ke::BufferArg arg(&before, part);
    if (!arg.inside())
        return append_part(buf, arg, strlen(part), total);
    const u64 end = arg.offset() <= before.len ? before.len : before.capacity;
    return append_part(buf, arg, wiq_strnlen(arg.now(buf), end - arg.offset()), total);
}

}  // namespace

const char* wiq_basename(const char* path) {
    if (path == nullptr)
        return nullptr;
    const char* tail = path;
    for (const char* p = path; *p != '\0'; ++p) {
        if (is_separator(*p))
            tail = p + 1;
    }
    return tail;
}

char* wiq_dirname(char* path) {
    if (path == nullptr)
        return nullptr;
    const size_t tail = static_cast<size_t>(wiq_basename(path) - path);
    const bool in_drive_root = tail == 3 && path[1] == ':';
    // The separator is cut off too, unless the directory is a root ("\" or "C:\").
    path[tail >= 2 && !in_drive_root ? tail - 1 : tail] = '\0';
    return path;
}

bool wiq_is_abs_path(const char* path) {
    if (path == nullptr || path[0] == '\0')
        return false;
    return path[0] == '\\' || path[1] == ':';
}

bool wiq_filename_only(const char* s) {
    return s != nullptr && strpbrk(s, "\\/") == nullptr;
}

void wiq_trim_dirsep(char* path) {
    if (path == nullptr || *path == '\0')
        return;
    char* last = path + strlen(path) - 1;
    if (is_separator(*last))
        *last = '\0';
}

char* wiq_build_path(const char* dir, const char* name) {
    if (dir == nullptr || name == nullptr)
        return nullptr;
    const size_t dir_length = strlen(dir);
    const size_t name_length = strlen(name);
    char* path = static_cast<char*>(malloc(dir_length + name_length + 2));
    if (path == nullptr)
        return nullptr;
    memcpy(path, dir, dir_length + 1);
    wiq_trim_dirsep(path);
    char* end = path + strlen(path);
    *end++ = '\\';
    memcpy(end, name, name_length + 1);
    return path;
}

i32 wiq_append_path(wiq_strbuf* buf, const char* part) {
    if (buf == nullptr || part == nullptr)
        return WIQ_ERR_INVALID_ARG;
    return append_part(buf, ke::BufferArg(buf, part), strlen(part));
}

i32 wiq_append_paths(wiq_strbuf* buf, int count, ...) {
    const wiq_strbuf before = buf == nullptr ? wiq_strbuf{} : *buf;
    va_list args;
    va_start(args, count);
    i32 total = 0;
    for (int i = 0; i < count && total >= 0; ++i) {
        const char* part = va_arg(args, const char*);
        const i32 appended = buf == nullptr || part == nullptr
                                 ? static_cast<i32>(WIQ_ERR_INVALID_ARG)
                                 : append_part_of(before, buf, part, total);
        total = appended < 0 ? appended : total + appended;
    }
    va_end(args);
    return total;
}
