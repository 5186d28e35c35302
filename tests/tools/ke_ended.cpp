// The tool, except that it ends at a step of the replacement of a file, as a crash or a loss of power would
// end it: KE_END_AT names the step.
#include <cstdlib>
#include <cstring>

#include "platform.h"
#include "replace_file.h"

namespace {

const char* g_end_at = nullptr;

void maybe_end(const char* step) {
    if (g_end_at != nullptr && strcmp(step, g_end_at) == 0)
        std::_Exit(99);
}

}  // namespace

int main(int argc, char** argv) {
    g_end_at = getenv("KE_END_AT");
    tool::on_replacement_step = maybe_end;
    return tool::run(std::vector<std::string>(argv + 1, argv + argc));
}
