// Linux: arguments are bytes already, streams are binary already.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "ke_utils/core.h"
#include "platform.h"

namespace tool {

namespace {

// A name as the library gives it to the system.
std::string native(std::string name) {
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
}

mode_t mode_of_new_files() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

i32 replace_file(const std::string& from, const std::string& to) {
    const std::string native_from = native(from);
    const std::string native_to = native(to);
    struct stat old = {};
    const bool is_there = stat(native_to.c_str(), &old) == 0;
    if (chmod(native_from.c_str(), is_there ? old.st_mode & 0777 : mode_of_new_files()) == 0 &&
        rename(native_from.c_str(), native_to.c_str()) == 0)
        return 0;
    return errno == EACCES || errno == EISDIR ? WIQ_ERR_ACCESS_DENIED : WIQ_ERR_IO;
}

bool stderr_is_terminal() {
    return isatty(STDERR_FILENO) != 0;
}

void use_binary_streams() {}

FILE* scratch_file() {
    return tmpfile();
}

}  // namespace tool

int main(int argc, char** argv) {
    return tool::run(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
