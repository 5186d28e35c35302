// The type descriptors of the library's own JSON classes, each of which is defined beside its
// class.
#pragma once

#include "ke_utils/json.h"
#include "ke_utils/object.h"

namespace ke::json {

extern WiqType JsonDumpVisitorType;
extern WiqType JsonDumpStrVisitorType;
extern WiqType JsonDumpFileVisitorType;
extern WiqType ExpandVisitorType;

}  // namespace ke::json
