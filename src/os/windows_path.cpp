// See windows_path.h. The plain form is kept wherever it is short enough: in the extended one the system looks for
// no "/", "." or "..", so that it has to be a full name, which the system itself makes.
#include "os/windows_path.h"

#include <windows.h>

#include <cstdlib>
#include <cstring>

#include "os/os.h"

namespace ke::os {

namespace {

constexpr wchar_t kExtended[] = L"\\\\?\\";
constexpr wchar_t kExtendedShare[] = L"\\\\?\\UNC\\";
constexpr size_t kMaxPart = 255;
constexpr size_t kMaxPath = 32767;

bool is_separator(wchar_t c) {
    return c == L'\\' || c == L'/';
}

// A drive with its root: what a name of this kind stands for is no longer than the name.
bool has_drive_and_root(const wchar_t* text) {
    return text[0] != L'\0' && text[1] == L':' && is_separator(text[2]);
}

// Of devices, and of what is in the extended form already.
bool is_special(const wchar_t* text) {
    return is_separator(text[0]) && is_separator(text[1]) && (text[2] == L'?' || text[2] == L'.') &&
           is_separator(text[3]);
}

// The extended form of a name whose full form has `size` characters, the NUL included; nullptr without memory, or if
// there is none.
wchar_t* extended(const wchar_t* text, DWORD size) {
    constexpr size_t kRoom = sizeof(kExtendedShare) / sizeof(wchar_t);
    auto* result = static_cast<wchar_t*>(malloc((kRoom + size) * sizeof(wchar_t)));
    if (result == nullptr)
        return nullptr;
    wchar_t* full = result + kRoom;
    const DWORD length = GetFullPathNameW(text, size, full, nullptr);
    // Of a device; or longer than before, since another thread has changed the current directory.
    if (length == 0 || length >= size || is_special(full)) {
        free(result);
        return nullptr;
    }
    const bool on_share = is_separator(full[0]) && is_separator(full[1]);
    const wchar_t* prefix = on_share ? kExtendedShare : kExtended;
    if (on_share)
        full += 2;
    const size_t prefix_length = wcslen(prefix);
    memcpy(result, prefix, prefix_length * sizeof(wchar_t));
    memmove(result + prefix_length, full, (wcslen(full) + 1) * sizeof(wchar_t));
    return result;
}

}  // namespace

SystemPath::SystemPath(const char* path) {
    u32 code = 0;
    text_ = widen_text(path, &code);
    if (text_ == nullptr || is_special(text_))
        return;
    const size_t length = wcslen(text_);
    // The system need not count beyond that.
    if (length > kMaxPath)
        return;
    const bool is_long = length >= kPlainLimit;
    if (!is_long && has_drive_and_root(text_))
        return;
    // 0 where there is no full name, as of nothing.
    const DWORD size = GetFullPathNameW(text_, 0, nullptr, nullptr);
    if (size == 0 || (size <= kPlainLimit && !is_long))
        return;
    wchar_t* plain = text_;
    text_ = extended(plain, size);
    free(plain);
}

SystemPath::~SystemPath() {
    free(text_);
}

bool is_too_long(const wchar_t* path) {
    if (wcslen(path) > kMaxPath)
        return true;
    size_t part = 0;
    for (; *path != L'\0'; ++path) {
        part = is_separator(*path) ? 0 : part + 1;
        if (part > kMaxPart)
            return true;
    }
    return false;
}

}  // namespace ke::os
