// Schema files: they are named after commands and found beside the running executable.

#include <cstdlib>
#include <cstring>

#include "core/err.h"
#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "ke_utils/text.h"

using ke::report;

namespace {

constexpr u64 kPathSize = 260;  // to begin with: the buffer of a longer path grows
// Relative to the folder of the executable, in the order in which they are searched.
constexpr const char* kSchemaDirs[] = {"schemas", "..\\schemas"};

// Returns the text that stands for a directory in a path. Without a directory, the path names no
// file.
const char* text_of(const char* dir) {
    return dir == nullptr ? "(null)" : dir;
}

}  // namespace

char* wiq_schema_filename(const char* command, bool input, u32* err) {
    report(err, 0);
    if (command == nullptr)
        return nullptr;
    const char* suffix = input ? "_input.json" : "_output.json";
    const size_t length = strlen(command);
    const size_t suffix_size = strlen(suffix) + 1;
    char* name = static_cast<char*>(malloc(length + suffix_size));
    if (name == nullptr) {
        report(err, WIQ_ERR_NO_MEMORY);
        return nullptr;
    }
    // NOLINTNEXTLINE(bugprone-not-null-terminated-result): the suffix contains the NUL.
    memcpy(name, command, length);
    memcpy(name + length, suffix, suffix_size);
    return wiq_strchr_replace(name, '-', '_');
}

FILE* wiq_schema_open(const char* filename, u32* err) {
    if (filename == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    char* dir = wiq_install_dir();
    wiq_strbuf path;
    if (wiq_strbuf_init(&path, kPathSize) != 0) {
        free(dir);
        report(err, WIQ_ERR_NO_MEMORY);
        return nullptr;
    }
    report(err, 0);
    FILE* fp = nullptr;
    for (const char* schemas : kSchemaDirs) {
        const i32 length = wiq_strbuf_rprintf(&path, "%s\\%s\\%s", text_of(dir), schemas, filename);
        if (length < 0) {
            // No file has a name that is too long to be formatted.
            report(err, length == WIQ_ERR_FAILED ? static_cast<i32>(WIQ_ERR_NOT_FOUND) : length);
            break;
        }
        fp = wiq_fopen(path.data, "r", err);
        if (fp != nullptr)
            break;
    }
    wiq_strbuf_finalize(&path);
    free(dir);
    return fp;
}

wiq_json_t* wiq_load_schema(const char* filename, u32* err) {
    report(err, 0);
    if (filename == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    FILE* fp = wiq_schema_open(filename, nullptr);
    if (fp == nullptr) {
        report(err, WIQ_ERR_IO);
        return nullptr;
    }
    wiq_json_load_error error;
    wiq_json_t* schema = wiq_json_loadf(fp, 0, &error);
    fclose(fp);
    report(err, error.status);
    return schema;
}
