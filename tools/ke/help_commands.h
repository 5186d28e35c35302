// ke help, ke completion: what the commands are, for people and for their shells.
#pragma once

#include "commands.h"

namespace tool {

// To be called when all other commands are there.
void add_help_commands(CLI::App& app, Session& session);

}  // namespace tool
