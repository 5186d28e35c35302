// The instance of the reference expander's class, which clients can find in the registry. It lists
// the references that a walk meets, and those that can be reached from them, in the order in which
// they are to be replaced; it replaces none. wiq_json_jref_expand() does not use it.
#pragma once

#include "ke_utils/json.h"
#include "ke_utils/object.h"

namespace ke::json {

struct ExpandVisitor {
    WiqJsonVisitor base;
    wiq_json_t* pending;   // weak array: the nodes whose expansion is in progress
    wiq_json_t* expanded;  // weak array: the nodes whose expansion is finished, in that order
};

extern WiqType ExpandVisitorType;

}  // namespace ke::json
