// Registers the library's own types, in the order in which they appear in the registry.

#include "json/builtin_types.h"

#include <initializer_list>

#include "object/class.h"

void ke::register_builtin_types() {
    for (WiqType* type :
         {&json::JsonDumpVisitorType, &json::JsonDumpStrVisitorType, &json::JsonDumpFileVisitorType,
          &json::ExpandVisitorType, &WiqJsonVisitorType, &ObjectType})
        type_init(type, nullptr);
}
