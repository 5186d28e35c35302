// Linux: arguments are bytes already, streams are binary already.
#include <unistd.h>

#include "platform.h"

namespace tool {

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
