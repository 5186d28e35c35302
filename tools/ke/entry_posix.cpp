// The program's entry point on Linux.
#include "platform.h"

int main(int argc, char** argv) {
    return tool::run(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
