// Building the class record of a type: what the sources of the object system share.
#pragma once

#include "ke_utils/object.h"

namespace ke {

// Builds the class records of a type and its ancestors, unless they are built already. Returns 0;
// otherwise the type still has no class record, and the result is one of these:
//   - WIQ_ERR_NO_MEMORY;
//   - the status of an initialiser that failed;
//   - WIQ_ERR_FAILED: the type or an ancestor is not initialised, has no name or (unless it is
//     ObjectType) no parent, has a smaller record or instance than its parent, or is being built by
//     this very thread.
i32 build_class(WiqType* type);

// Returns the class record, or nullptr until it is built. Another thread may be building it at the
// same time.
WiqClass* class_of(WiqType* type);

// The library's own types, in the order in which they are registered; nullptr ends the table. The
// object system knows none of them: the topmost family that has classes defines the table.
extern WiqType* const kBuiltinTypes[];

// Calls visit(type) for every type from the root down to `type`. Stops at the first nonzero status,
// and returns it.
template <class Visit>
// NOLINTNEXTLINE(misc-no-recursion): a line of descent is as long as its authors made it.
i32 for_root_down(WiqType* type, const Visit& visit) {
    if (type == nullptr)
        return 0;
    const i32 status = for_root_down(type->parent, visit);
    return status != 0 ? status : visit(type);
}

}  // namespace ke
