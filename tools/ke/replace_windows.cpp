// See replace_file.h. The temporary file is marked for deletion while it is written, so it disappears if the
// program ends; the mark is removed when the file is complete. Moving it over the old file is one operation
// of the file system.
#include <windows.h>

#include <cstdlib>
#include <vector>

#include "failure.h"
#include "ke_utils.h"
#include "replace_file.h"

namespace tool {

void (*on_replacement_step)(const char* step) = nullptr;
bool temporary_is_named = true;

namespace {

struct Free {
    void operator()(void* block) const { free(block); }
};

void step_done(const char* step) {
    if (on_replacement_step != nullptr)
        on_replacement_step(step);
}

std::wstring wide(const std::string& path) {
    u32 code = 0;
    const std::unique_ptr<wchar_t, Free> text(widen(path.c_str(), &code));
    if (!text)
        throw failure(path, WIQ_ERR_NO_MEMORY);
    return text.get();
}

Failure system_failure(const std::string& path, const char* action) {
    const DWORD code = GetLastError();
    if (code == ERROR_PATH_NOT_FOUND || code == ERROR_FILE_NOT_FOUND)
        return failure(path, WIQ_ERR_NOT_FOUND);
    if (code == ERROR_ACCESS_DENIED)
        return failure(path, WIQ_ERR_ACCESS_DENIED);
    const char* reason = code == ERROR_DISK_FULL || code == ERROR_HANDLE_DISK_FULL
                             ? "the disk is full"
                         : code == ERROR_SHARING_VIOLATION ? "another program holds it open"
                                                           : "";
    return {path + ": " + action + ": " + reason + " (system error " + std::to_string(code) + ")"};
}

// Returns the file that a link names, or the path itself if it is not a link.
std::wstring end_of_links(const std::wstring& path, DWORD attributes) {
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
        return path;
    const HANDLE handle =
        CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return path;
    std::vector<wchar_t> name(32768);
    const DWORD length =
        GetFinalPathNameByHandleW(handle, name.data(), static_cast<DWORD>(name.size()), 0);
    CloseHandle(handle);
    return length == 0 || length >= name.size() ? path : std::wstring(name.data(), length);
}

SRWLOCK g_moving = SRWLOCK_INIT;

// Runs in its own thread when the user interrupts the program; the program ends when this returns.
BOOL WINAPI wait_for_move(DWORD) {
    AcquireSRWLockExclusive(&g_moving);
    ReleaseSRWLockExclusive(&g_moving);
    return FALSE;
}

// Keeps the program from ending between removing the temporary file's deletion mark and moving it over the
// old file.
class HeldInterrupts {
  public:
    HeldInterrupts() {
        SetConsoleCtrlHandler(wait_for_move, TRUE);
        AcquireSRWLockExclusive(&g_moving);
    }
    HeldInterrupts(const HeldInterrupts&) = delete;
    HeldInterrupts& operator=(const HeldInterrupts&) = delete;
    ~HeldInterrupts() {
        ReleaseSRWLockExclusive(&g_moving);
        SetConsoleCtrlHandler(wait_for_move, FALSE);
    }
};

void mark_for_deletion(HANDLE handle, bool marked) {
    FILE_DISPOSITION_INFO info = {};
    info.DeleteFile = marked ? TRUE : FALSE;
    SetFileInformationByHandle(handle, FileDispositionInfo, &info, sizeof(info));
}

}  // namespace

struct Replacement::State {
    std::string shown;
    std::wstring target;
    std::wstring temporary;
    HANDLE handle = INVALID_HANDLE_VALUE;
    bool into = false;
    bool exists = false;
    DWORD attributes = INVALID_FILE_ATTRIBUTES;

    void inspect_target() {
        attributes = GetFileAttributesW(target.c_str());
        exists = attributes != INVALID_FILE_ATTRIBUTES;
        if (!exists) {
            into = is_device();
            return;
        }
        if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
            throw Failure{shown + ": is a directory; name a file to write to"};
        if ((attributes & FILE_ATTRIBUTE_READONLY) != 0)
            throw Failure{shown +
                          ": is read-only; make it writable first, or write to another "
                          "file with -o (WIQ_ERR_ACCESS_DENIED, -4)"};
        into = is_device();
        target = end_of_links(target, attributes);
    }

    // Recognises NUL, CON, \\.\name: anything that can be opened and is not a file on a disk.
    bool is_device() const {
        const HANDLE probe =
            CreateFileW(target.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                        OPEN_EXISTING, 0, nullptr);
        if (probe == INVALID_HANDLE_VALUE)
            return false;
        const bool device = GetFileType(probe) != FILE_TYPE_DISK;
        CloseHandle(probe);
        return device;
    }

    void open_temporary() {
        const size_t slash = target.find_last_of(L"\\/:") + 1;  // npos + 1 is 0
        for (int attempt = 0; attempt < 1000; ++attempt) {
            const std::wstring name = target.substr(0, slash) + L".ke-" +
                                      std::to_wstring(GetCurrentProcessId()) + L"-" +
                                      std::to_wstring(attempt);
            handle = CreateFileW(name.c_str(), GENERIC_WRITE | DELETE, 0, nullptr, CREATE_NEW,
                                 FILE_ATTRIBUTE_NORMAL, nullptr);
            if (handle != INVALID_HANDLE_VALUE) {
                temporary = name;
                mark_for_deletion(handle, true);
                return;
            }
            if (GetLastError() != ERROR_FILE_EXISTS && GetLastError() != ERROR_ALREADY_EXISTS)
                break;
        }
        throw system_failure(shown, "no temporary file can be made next to it");
    }

    // Copies the access rights and attributes of the old file.
    void copy_metadata() const {
        if (!exists)
            return;
        DWORD size = 0;
        GetFileSecurityW(target.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
        std::vector<unsigned char> rights(size);
        if (size != 0 && GetFileSecurityW(target.c_str(), DACL_SECURITY_INFORMATION, rights.data(),
                                          size, &size) != 0)
            SetFileSecurityW(temporary.c_str(), DACL_SECURITY_INFORMATION, rights.data());
        SetFileAttributesW(temporary.c_str(), attributes);
    }
};

Replacement::Replacement(const std::string& path) : state_(std::make_unique<State>()) {
    State& state = *state_;
    state.shown = path;
    state.target = wide(path);
    state.inspect_target();
    if (!state.into) {
        state.open_temporary();
        step_done("created");
        return;
    }
    state.handle =
        CreateFileW(state.target.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (state.handle == INVALID_HANDLE_VALUE)
        throw system_failure(path, "cannot be written");
}

Replacement::~Replacement() {
    if (state_->handle != INVALID_HANDLE_VALUE)
        CloseHandle(state_->handle);
    if (!state_->temporary.empty())
        DeleteFileW(state_->temporary.c_str());
}

void Replacement::write(const char* bytes, size_t size) {
    while (size != 0) {
        const DWORD piece = size > (1u << 30) ? 1u << 30 : static_cast<DWORD>(size);
        DWORD written = 0;
        if (WriteFile(state_->handle, bytes, piece, &written, nullptr) == 0)
            throw system_failure(state_->shown, "cannot be written");
        bytes += written;
        size -= written;
    }
}

void Replacement::commit() {
    State& state = *state_;
    std::unique_ptr<HeldInterrupts> held;
    if (!state.into) {
        step_done("written");
        if (FlushFileBuffers(state.handle) == 0)
            throw system_failure(state.shown, "cannot be written");
        step_done("flushed");
        held = std::make_unique<HeldInterrupts>();
        mark_for_deletion(state.handle, false);
    }
    CloseHandle(state.handle);
    state.handle = INVALID_HANDLE_VALUE;
    if (state.into)
        return;
    step_done("named");
    state.copy_metadata();
    step_done("metadata");
    if (MoveFileExW(state.temporary.c_str(), state.target.c_str(),
                    MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0)
        throw system_failure(state.shown, "cannot be replaced");
    state.temporary.clear();
    step_done("renamed");
}

}  // namespace tool
