// The file system: thin wrappers around the system's calls, which turn their results into statuses.

#include <uv.h>

#include <cstdlib>
#include <cstring>

#include "core/err.h"
#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "os/os.h"

using ke::report;
using ke::os::FileResult;

namespace {

constexpr size_t kMaxHomeDir = 260;

i32 status_of(FileResult result) {
    switch (result) {
        case FileResult::kOk:
            return 0;
        case FileResult::kBadPath:
            return WIQ_ERR_ENCODING;
        case FileResult::kNotFound:
            return WIQ_ERR_NOT_FOUND;
        case FileResult::kAccessDenied:
            return WIQ_ERR_ACCESS_DENIED;
        default:
            return WIQ_ERR_IO;
    }
}

i32 status_of_mkdir(u32 code) {
    switch (code) {
        case ke::os::kErrorNone:
            return 0;
        case ke::os::kErrorAlreadyExists:
            return WIQ_ERR_ALREADY_EXISTS;
        case ke::os::kErrorPathNotFound:
            return WIQ_ERR_PATH_NOT_FOUND;
        case ke::os::kErrorAccessDenied:
            return WIQ_ERR_ACCESS_DENIED;
        default:
            return WIQ_ERR_IO;
    }
}

// Makes one directory whose parents exist. Returns the system's code, except that if something else
// has this name, the code is that of a missing path.
u32 make_level(const char* path) {
    const u32 code = ke::os::make_dir(path);
    if (code == ke::os::kErrorAlreadyExists && ke::os::path_kind(path) == ke::os::PathKind::kOther)
        return ke::os::kErrorPathNotFound;
    return code;
}

// Makes a directory and its missing parents, without recursion. The first loop goes up to the
// innermost parent that exists, and replaces each separator on the way with a NUL. The second loop
// goes down again, makes one level after the other, and puts the separators back.
u32 make_levels(char* path) {
    char* const end = path + strlen(path);
    char* cut = end;
    for (;;) {
        char* separator = static_cast<char*>(strrchr(path, '\\'));
        if (separator == nullptr)
            break;
        *separator = '\0';
        if (ke::os::check_access(path, 0) == FileResult::kOk) {
            *separator = '\\';
            break;
        }
        cut = separator;
    }
    // Every separator from `cut` on is now a NUL, so `path` ends at `cut`. Each turn moves `cut` to
    // the next one.
    for (;;) {
        const u32 code = make_level(path);
        if (cut == end)
            return code;
        *cut = '\\';
        if (code != ke::os::kErrorNone && code != ke::os::kErrorAlreadyExists)
            return code;
        cut += strlen(cut);
    }
}

// Makes the directory that a copied path names, and frees the copy. NULL means that the copy could
// not be made.
i32 make_copy(char* copy) {
    if (copy == nullptr)
        return WIQ_ERR_NO_MEMORY;
    wiq_trim_dirsep(copy);
    const u32 code = make_levels(copy);
    free(copy);
    return status_of_mkdir(code);
}

}  // namespace

char* wiq_install_dir(void) {
    return wiq_dirname(ke::os::executable_path());
}

char* wiq_home_dir(void) {
    char dir[kMaxHomeDir];
    size_t size = sizeof(dir);
    return uv_os_homedir(dir, &size) == 0 ? strdup(dir) : nullptr;
}

FILE* wiq_fopen(const char* path, const char* mode, u32* err) {
    if (path == nullptr || mode == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    FileResult result = FileResult::kOk;
    FILE* fp = ke::os::open_file(path, mode, &result);
    report(err, status_of(result));
    return fp;
}

FILE* wiq_mkstemp(char* tmpl, u32* err, const char* mode) {
    const size_t length = tmpl == nullptr ? 0 : strlen(tmpl);
    if (length < ke::os::kTempSuffixLength ||
        strcmp(tmpl + length - ke::os::kTempSuffixLength, "XXXXXX") != 0 || mode == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    FileResult result = ke::os::make_temp_name(tmpl);
    if (result != FileResult::kOk) {
        report(err, result == FileResult::kInvalid ? WIQ_ERR_INVALID_ARG : WIQ_ERR_IO);
        return nullptr;
    }
    FILE* fp = ke::os::open_new_file(tmpl, mode, &result);
    report(err, status_of(result));
    return fp;
}

i32 wiq_access(const char* path, int mode) {
    if (path == nullptr)
        return 0;
    const FileResult result = ke::os::check_access(path, mode);
    return result == FileResult::kOk || result == FileResult::kBadPath
               ? 0
               : static_cast<i32>(WIQ_ERR_ACCESS_DENIED);
}

i32 wiq_mkdir(const char* path) {
    return path == nullptr ? static_cast<i32>(WIQ_ERR_INVALID_ARG) : make_copy(strdup(path));
}

i32 wiq_mkdir_parents(const char* path) {
    if (path == nullptr)
        return WIQ_ERR_INVALID_ARG;
    const char* last = strrchr(path, '\\');
    if (last == nullptr)
        return 0;
    const size_t length = static_cast<size_t>(last - path);
    char* head = static_cast<char*>(malloc(length + 1));
    if (head != nullptr) {
        memcpy(head, path, length);
        head[length] = '\0';
    }
    return make_copy(head);
}

i32 wiq_rmdir(const char* path) {
    if (path == nullptr)
        return WIQ_ERR_INVALID_ARG;
    const FileResult result = ke::os::remove_dir(path);
    // The reason why a directory was not removed is not reported.
    return result == FileResult::kOk || result == FileResult::kBadPath
               ? status_of(result)
               : static_cast<i32>(WIQ_ERR_IO);
}

i32 wiq_rename(const char* from, const char* to) {
    if (from == nullptr || to == nullptr)
        return WIQ_ERR_INVALID_ARG;
    return status_of(ke::os::rename_file(from, to));
}

i32 wiq_unlink(const char* path) {
    return path == nullptr ? static_cast<i32>(WIQ_ERR_INVALID_ARG)
                           : status_of(ke::os::remove_file(path));
}
