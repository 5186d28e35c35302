// The table of the library's own types, in the order in which they appear in the registry.

#include "json/navigate/expand_visitor.h"
#include "json/write/dump_visitor.h"
#include "object/class.h"

WiqType* const ke::kBuiltinTypes[] = {
    &json::JsonDumpVisitorType,
    &json::JsonDumpStrVisitorType,
    &json::JsonDumpFileVisitorType,
    &json::ExpandVisitorType,
    &WiqJsonVisitorType,
    &ObjectType,
    nullptr,
};
