// The tool, except that it ends at a step of replacing a file, which KE_END_AT names. It ends as it would in
// a crash or a power failure, or by the signal whose number is in KE_END_BY. With KE_NAMED, the temporary
// file has a name from the start.
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "platform.h"
#include "replace_file.h"

namespace {

const char* g_end_at = nullptr;
const char* g_end_by = nullptr;

void maybe_end(const char* step) {
    if (g_end_at == nullptr || strcmp(step, g_end_at) != 0)
        return;
    if (g_end_by == nullptr || g_end_by[0] == '\0')
        std::_Exit(99);
    raise(atoi(g_end_by));  // the signal may be blocked for a while
}

}  // namespace

int main(int argc, char** argv) {
    g_end_at = getenv("KE_END_AT");
    g_end_by = getenv("KE_END_BY");
    if (getenv("KE_NAMED") != nullptr)
        tool::temporary_is_named = true;
    tool::on_replacement_step = maybe_end;
    return tool::run(std::vector<std::string>(argv + 1, argv + argc));
}
