// Dumping with a limit, see text_limits.h.
#pragma once

#include "ke_utils/json.h"

namespace ke::json {

// Like wiq_json_sdump(), but returns WIQ_ERR_RANGE, with nothing changed, if the text is longer
// than `max_length` bytes.
i32 sdump_within(wiq_json_t* node, char** out, u32 flags, u64 max_length);

}  // namespace ke::json
