// Text between UTF-8 and the system's wide characters. Only these functions report system error
// codes instead of statuses.

#include <cstdlib>

#include "core/err.h"
#include "ke_utils/files.h"
#include "os/os.h"

using ke::report;

char* narrow(const wchar_t* w, u32* err) {
    u32 code = ke::os::kErrorNone;
    char* narrowed = w == nullptr ? nullptr : ke::os::narrow_text(w, &code);
    report(err, code);
    return narrowed;
}

wchar_t* widen(const char* s, u32* err) {
    u32 code = ke::os::kErrorNone;
    wchar_t* widened = s == nullptr ? nullptr : ke::os::widen_text(s, &code);
    report(err, code);
    return widened;
}

char** narrow_array(int count, const wchar_t* const* items, u32* err) {
    report(err, ke::os::kErrorNone);
    if (count <= 0 || items == nullptr)
        return nullptr;
    auto** narrowed = static_cast<char**>(calloc(static_cast<size_t>(count), sizeof(char*)));
    if (narrowed == nullptr) {
        report(err, ke::os::kErrorNotEnoughMemory);
        return nullptr;
    }
    for (int i = 0; i < count; ++i) {
        narrowed[i] = narrow(items[i], err);
        // A caller that passes no `err` gets what could be converted, with gaps.
        if (narrowed[i] == nullptr && err != nullptr) {
            free_narrow_array(i, narrowed, nullptr);
            return nullptr;
        }
    }
    return narrowed;
}

void free_narrow_array(int count, char** items, u32* err) {
    for (int i = 0; items != nullptr && i < count; ++i)
        free(items[i]);
    free(items);
    report(err, ke::os::kErrorNone);
}
