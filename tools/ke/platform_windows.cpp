// Windows: arguments come as UTF-16 and are narrowed by the library; the standard streams are switched to
// binary so that output is the same, byte for byte, as on Linux.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>

#include "ke_utils/files.h"
#include "platform.h"

namespace tool {

bool stderr_is_terminal() {
    return _isatty(_fileno(stderr)) != 0;
}

void use_binary_streams() {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
}

FILE* scratch_file() {
    // The runtime's tmpfile() wants to write into the root of the drive, which users may not.
    wchar_t folder[MAX_PATH + 1] = {};
    wchar_t name[MAX_PATH + 1] = {};
    if (GetTempPathW(MAX_PATH + 1, folder) == 0 || GetTempFileNameW(folder, L"ke", 0, name) == 0)
        return nullptr;
    return _wfopen(name, L"w+bTD");
}

}  // namespace tool

extern "C" int wmain(int argc, wchar_t** argv) {
    u32 code = 0;
    char** items = narrow_array(argc, argv, &code);
    if (items == nullptr) {
        fprintf(stderr, "ke: an argument is no valid Unicode text\n");
        return 64;
    }
    const std::vector<std::string> args(items + (argc > 0 ? 1 : 0), items + argc);
    free_narrow_array(argc, items, nullptr);
    return tool::run(args);
}
