// Windows: arguments come as UTF-16 and are narrowed by the library; the standard streams are switched to
// binary so that output is the same, byte for byte, as on Linux.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>

#include "ke_utils/core.h"
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

i32 replace_file(const std::string& from, const std::string& to) {
    wchar_t* wide_from = widen(from.c_str(), nullptr);
    wchar_t* wide_to = widen(to.c_str(), nullptr);
    i32 status = WIQ_ERR_NO_MEMORY;
    if (wide_from != nullptr && wide_to != nullptr) {
        status = 0;
        if (!MoveFileExW(wide_from, wide_to, MOVEFILE_REPLACE_EXISTING))
            status = GetLastError() == ERROR_ACCESS_DENIED ? WIQ_ERR_ACCESS_DENIED : WIQ_ERR_IO;
    }
    free(wide_to);
    free(wide_from);
    return status;
}

FILE* scratch_file() {
    // The runtime's tmpfile() wants to write into the root of the drive, which users may not.
    wchar_t folder[MAX_PATH + 1] = {};
    wchar_t name[MAX_PATH + 1] = {};
    if (GetTempPathW(MAX_PATH + 1, folder) == 0 || GetTempFileNameW(folder, L"ke", 0, name) == 0)
        return nullptr;
    return _wfopen(name, L"w+bTD");
}

namespace {

// Lets the console show UTF-8, which is what the tool writes, and leaves it as it was: other programs share it.
class Utf8Console {
  public:
    Utf8Console() : before_(GetConsoleOutputCP()) {
        if (before_ != 0)
            SetConsoleOutputCP(CP_UTF8);
    }
    Utf8Console(const Utf8Console&) = delete;
    Utf8Console& operator=(const Utf8Console&) = delete;
    ~Utf8Console() {
        if (before_ == 0)
            return;
        fflush(stdout);
        SetConsoleOutputCP(before_);
    }

  private:
    UINT before_;  // 0 without a console
};

}  // namespace

}  // namespace tool

extern "C" int wmain(int argc, wchar_t** argv) {
    const tool::Utf8Console console;
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
