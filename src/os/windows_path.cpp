// See windows_path.h. A path that is short enough keeps the plain form. In the extended form the
// system does not interpret "/", "." and "..", so the path must be a full name, which the system
// itself makes.
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

// Whether a path begins with a drive and its root. The full name of such a path is no longer than
// the path, so the system need not be asked for it.
bool has_drive_and_root(const wchar_t* text) {
    return text[0] != L'\0' && text[1] == L':' && is_separator(text[2]);
}

// Whether a path is that of a device, or has the extended form already.
bool is_special(const wchar_t* text) {
    return is_separator(text[0]) && is_separator(text[1]) && (text[2] == L'?' || text[2] == L'.') &&
           is_separator(text[3]);
}

// Returns a new text with the extended form of a path, or nullptr when out of memory or if the path
// has none. `size` is the number of characters of its full form, the NUL included.
wchar_t* extended(const wchar_t* text, DWORD size) {
    constexpr size_t kRoom = sizeof(kExtendedShare) / sizeof(wchar_t);
    auto* result = static_cast<wchar_t*>(malloc((kRoom + size) * sizeof(wchar_t)));
    if (result == nullptr)
        return nullptr;
    // The full name is written after space for the longest prefix, and then moved to follow the
    // prefix that it gets.
    wchar_t* full = result + kRoom;
    const DWORD length = GetFullPathNameW(text, size, full, nullptr);
    // The path is that of a device; or it is now longer than when it was measured, because another
    // thread has changed the current directory.
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
    // No name is that long, so the system need not be asked.
    if (length > kMaxPath)
        return;
    const bool is_long = length >= kMaxPlainSize;
    if (!is_long && has_drive_and_root(text_))
        return;
    // 0 if there is no full name, as for an empty path.
    const DWORD size = GetFullPathNameW(text_, 0, nullptr, nullptr);
    if (size == 0 || (size <= kMaxPlainSize && !is_long))
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
