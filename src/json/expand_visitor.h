// The reference expander's class.
#pragma once

#include "json/builtin_types.h"

namespace ke::json {

struct ExpandVisitor {
    WiqJsonVisitor base;
    wiq_json_t* pending;   // weak array: nodes whose expansion is in progress
    wiq_json_t* expanded;  // weak array: nodes whose expansion is finished, in that order
};

}  // namespace ke::json
