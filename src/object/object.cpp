// Instances. The initialisers of the type and its ancestors run from the root type down; the
// finalisers run from the most derived type up.

#include <cstdlib>

#include "core/refcount.h"
#include "ke_utils/core.h"
#include "object/class.h"

namespace {

i32 initialise(WiqType* type, WiqObject* object) {
    return ke::for_root_down(type, [object](const WiqType* ancestor) {
        return ancestor->instance_init == nullptr ? 0 : ancestor->instance_init(object);
    });
}

}  // namespace

WiqType ObjectType = {
    .name = "Object",
    .parent = nullptr,
    .instance_size = sizeof(WiqObject),
    .instance_init = nullptr,
    .instance_finalize = nullptr,
    .class_size = sizeof(WiqClass),
    .class_init = nullptr,
    .class_base_init = nullptr,
    .klass = nullptr,
    .initialised = 0,
    .lock = {},
};

WiqObject* object_new(WiqType* type) {
    if (type == nullptr || ke::build_class(type) != 0)
        return nullptr;
    auto* object = static_cast<WiqObject*>(wiq_real_malloc0(type->instance_size));
    if (object == nullptr)
        return nullptr;
    object->klass = ke::class_of(type);
    object->refcount = 1;
    if (initialise(type, object) != 0) {
        free(object);
        return nullptr;
    }
    return object;
}

void object_ref(WiqObject* object) {
    ke::add_owner(&object->refcount);
}

void object_unref(WiqObject* object) {
    if (object != nullptr && ke::remove_owner(&object->refcount))
        object_delete(object);
}

// A finaliser may take references to the object and release them; mark_dying() keeps that from
// deleting it again.
void object_delete(WiqObject* object) {
    ke::mark_dying(&object->refcount);
    for (const WiqType* type = object->klass->type; type != nullptr; type = type->parent) {
        if (type->instance_finalize != nullptr)
            type->instance_finalize(object);
    }
    free(object);
}

WiqObject* object_check(WiqObject* object, const WiqType* type) {
    return class_check(object_get_class(object), type) == nullptr ? nullptr : object;
}

WiqClass* object_get_class(const WiqObject* object) {
    return object == nullptr ? nullptr : object->klass;
}

WiqClass* object_get_super_class(const WiqObject* object, const WiqType* type) {
    return class_get_super_class(object_get_class(object), type);
}
