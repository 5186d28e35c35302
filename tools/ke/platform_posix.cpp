// Linux: arguments and streams already consist of bytes, and consoles use UTF-8, so there is little to do.
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "platform.h"

namespace tool {

namespace {

FileKind kind_of_mode(mode_t mode) {
    if (S_ISREG(mode))
        return FileKind::regular;
    return S_ISDIR(mode) ? FileKind::directory : FileKind::other;
}

}  // namespace

bool stdin_is_terminal() {
    return isatty(STDIN_FILENO) != 0;
}

bool stdout_is_terminal() {
    return isatty(STDOUT_FILENO) != 0;
}

bool stderr_is_terminal() {
    return isatty(STDERR_FILENO) != 0;
}

void prepare_console() {}

void restore_console() {}

bool limit_memory(u64 bytes) {
    const rlimit limit = {bytes, bytes};
    return setrlimit(RLIMIT_AS, &limit) == 0;
}

FILE* stream_of(const std::string& text) {
    // The stream is only read, although the function takes a pointer to writable memory.
    return fmemopen(const_cast<char*>(text.data()), text.size(), "r");
}

FileKind kind_of_path(const std::string& path) {
    std::string native = path;
    std::replace(native.begin(), native.end(), '\\', '/');  // as the library does
    struct stat facts = {};
    return stat(native.c_str(), &facts) == 0 ? kind_of_mode(facts.st_mode) : FileKind::none;
}

FileFacts facts_of(FILE* fp) {
    struct stat facts = {};
    if (fstat(fileno(fp), &facts) != 0)
        return {};
    const FileKind kind = kind_of_mode(facts.st_mode);
    return {kind, kind == FileKind::regular ? static_cast<u64>(facts.st_size) : 0};
}

bool seek_to(FILE* fp, u64 offset) {
    return fseeko(fp, static_cast<off_t>(offset), SEEK_SET) == 0;
}

}  // namespace tool
