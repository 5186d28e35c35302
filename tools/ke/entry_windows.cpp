// The program's entry point on Windows: the library converts the arguments from UTF-16 to UTF-8.
#include <cstdio>

#include "ke_utils/files.h"
#include "platform.h"

extern "C" int wmain(int argc, wchar_t** argv) {
    u32 code = 0;
    char** items = narrow_array(argc, argv, &code);
    if (items == nullptr) {
        fprintf(stderr, "ke: an argument is not valid Unicode text\n");
        return 64;
    }
    const std::vector<std::string> args(items + (argc > 0 ? 1 : 0), items + argc);
    free_narrow_array(argc, items, nullptr);
    return tool::run(args);
}
