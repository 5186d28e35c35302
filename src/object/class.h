// Building a type's class record, shared by the sources of the object system.
#pragma once

#include "ke_utils/object.h"

namespace ke {

// Builds the class records of a type and its ancestors where they are not built yet: 0, or the status of
// what failed, and then the type has no class record still.
i32 build_class(WiqType* type);

// The class record, nullptr until it is built; safe against a thread that is just building it.
WiqClass* class_of(WiqType* type);

// Registers the library's own types. Object knows none of them: the topmost family that has classes
// defines this.
void register_builtin_types();

// Calls visit(type) for every type from the root down to `type`, stopping at the first nonzero status.
template <class Visit>
// NOLINTNEXTLINE(misc-no-recursion): a line of descent is as long as its authors made it.
i32 for_root_down(WiqType* type, const Visit& visit) {
    if (type == nullptr)
        return 0;
    const i32 status = for_root_down(type->parent, visit);
    return status != 0 ? status : visit(type);
}

}  // namespace ke
