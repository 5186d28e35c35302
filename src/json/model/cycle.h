// The test that keeps containers from forming cycles.
#pragma once

#include "json/model/node.h"

namespace ke::json {

// Returns whether attaching the child to the container would make the child its own ancestor, which
// includes attaching a container to itself. Containers that form a cycle could be neither released
// nor walked.
bool would_form_cycle(const wiq_json* container, wiq_json* child);

}  // namespace ke::json
