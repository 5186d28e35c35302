// Instances: made by the initialisers of their type's ancestors, root first; released by the finalisers,
// most derived first.

#include <atomic>
#include <cstdlib>

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
    std::atomic_ref(object->refcount).store(1, std::memory_order_relaxed);
    if (initialise(type, object) != 0) {
        free(object);
        return nullptr;
    }
    return object;
}

void object_ref(WiqObject* object) {
    std::atomic_ref(object->refcount).fetch_add(1, std::memory_order_relaxed);
}

void object_unref(WiqObject* object) {
    if (object != nullptr &&
        std::atomic_ref(object->refcount).fetch_sub(1, std::memory_order_acq_rel) == 1)
        object_delete(object);
}

void object_delete(WiqObject* object) {
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
