// Windows: the standard streams are switched to binary so that output is byte for byte the same as on Linux.
// While the tool runs, a console shows UTF-8 and understands escape sequences; afterwards its settings are
// restored.
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "ke_utils/files.h"
#include "platform.h"

#ifndef ENABLE_VIRTUAL_TERMINAL_PROCESSING
#define ENABLE_VIRTUAL_TERMINAL_PROCESSING 0x0004
#endif

namespace tool {

namespace {

// The console's previous settings; 0 if there was no console.
struct ConsoleState {
    UINT output_code_page = 0;
    DWORD stdout_mode = 0;
    DWORD stderr_mode = 0;
};
ConsoleState g_console;

DWORD switch_escapes_on(DWORD which) {
    const HANDLE handle = GetStdHandle(which);
    DWORD mode = 0;
    if (handle == INVALID_HANDLE_VALUE || GetConsoleMode(handle, &mode) == 0)
        return 0;
    SetConsoleMode(handle, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    return mode;
}

// An unbuffered runtime writes to a console byte by byte, and the console does not reassemble the bytes of
// one character. exit() writes whatever is left in the buffer.
void buffer_whole_texts(FILE* fp) {
    setvbuf(fp, nullptr, _IOFBF, size_t{1} << 16);
}

BOOL WINAPI restore_on_interrupt(DWORD) {
    restore_console();
    return FALSE;
}

struct Free {
    void operator()(void* block) const { free(block); }
};

}  // namespace

bool stdin_is_terminal() {
    return _isatty(_fileno(stdin)) != 0;
}

bool stdout_is_terminal() {
    return _isatty(_fileno(stdout)) != 0;
}

bool stderr_is_terminal() {
    return _isatty(_fileno(stderr)) != 0;
}

void prepare_console() {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    if (!stdout_is_terminal() && !stderr_is_terminal())
        return;
    if (stdout_is_terminal())
        buffer_whole_texts(stdout);
    if (stderr_is_terminal())
        buffer_whole_texts(stderr);
    g_console.output_code_page = GetConsoleOutputCP();
    if (g_console.output_code_page != 0)
        SetConsoleOutputCP(CP_UTF8);
    g_console.stdout_mode = switch_escapes_on(STD_OUTPUT_HANDLE);
    g_console.stderr_mode = switch_escapes_on(STD_ERROR_HANDLE);
    SetConsoleCtrlHandler(restore_on_interrupt, TRUE);
}

void restore_console() {
    // The buffered text is UTF-8 and contains escape sequences, so it must be written before the settings are
    // restored.
    fflush(stdout);
    fflush(stderr);
    if (g_console.stdout_mode != 0)
        SetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), g_console.stdout_mode);
    if (g_console.stderr_mode != 0)
        SetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), g_console.stderr_mode);
    if (g_console.output_code_page != 0)
        SetConsoleOutputCP(g_console.output_code_page);
    g_console = {};
}

bool limit_memory(u64 bytes) {
    // The job ends with the process, which is the only one in it.
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION info = {};
    info.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_PROCESS_MEMORY;
    info.ProcessMemoryLimit = static_cast<SIZE_T>(bytes);
    return job != nullptr &&
           SetInformationJobObject(job, JobObjectExtendedLimitInformation, &info, sizeof(info)) !=
               0 &&
           AssignProcessToJobObject(job, GetCurrentProcess()) != 0;
}

FILE* stream_of(const std::string& text) {
    // This runtime has no stream that reads memory, so the text goes through a file that is deleted when it
    // is closed. The runtime's tmpfile() would create it in the root of the drive, where users may not write.
    wchar_t folder[MAX_PATH + 1] = {};
    wchar_t name[MAX_PATH + 1] = {};
    if (GetTempPathW(MAX_PATH + 1, folder) == 0 || GetTempFileNameW(folder, L"ke", 0, name) == 0)
        return nullptr;
    FILE* stream = _wfopen(name, L"w+bTD");
    if (stream == nullptr) {
        DeleteFileW(name);
        return nullptr;
    }
    if (fwrite(text.data(), 1, text.size(), stream) != text.size() || fflush(stream) != 0) {
        fclose(stream);
        return nullptr;
    }
    rewind(stream);
    return stream;
}

FileKind kind_of_path(const std::string& path) {
    const std::unique_ptr<wchar_t, Free> wide(widen(path.c_str(), nullptr));
    const DWORD attributes = wide ? GetFileAttributesW(wide.get()) : INVALID_FILE_ATTRIBUTES;
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return FileKind::none;
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return FileKind::directory;
    return (attributes & FILE_ATTRIBUTE_DEVICE) != 0 ? FileKind::other : FileKind::regular;
}

FileFacts facts_of(FILE* fp) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the runtime returns the handle as a number.
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(fp)));
    LARGE_INTEGER size = {};
    if (GetFileType(handle) != FILE_TYPE_DISK || GetFileSizeEx(handle, &size) == 0)
        return {};
    return {FileKind::regular, static_cast<u64>(size.QuadPart)};
}

bool seek_to(FILE* fp, u64 offset) {
    return _fseeki64(fp, static_cast<long long>(offset), SEEK_SET) == 0;
}

}  // namespace tool
