// ke help, ke completion: describe the commands, for people and for their shells.
#pragma once

#include "commands.h"

namespace tool {

// Must be called after all other commands have been added.
void add_help_commands(CLI::App& app, Session& session);

}  // namespace tool
