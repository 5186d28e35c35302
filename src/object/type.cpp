// Type descriptors: the registry of types, and which type derives from which. Types are registered
// before threads use them, so nothing here is locked.

#include <uv.h>

#include <atomic>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "object/class.h"
#include "os/mutex.h"

namespace {

constexpr i32 kInitialCapacity = 40;

// Every type that was ever initialised, in that order; allocated for the first one.
wiq_vector* registry = nullptr;

i32 add_to_registry(WiqType* type) {
    if (registry == nullptr) {
        wiq_vector* made = wiq_vector_new(sizeof(WiqType*), 0, nullptr, nullptr);
        if (made == nullptr)
            return WIQ_ERR_NO_MEMORY;
        if (wiq_vector_extra_capacity(made, kInitialCapacity) != 0) {
            wiq_vector_delete(made);
            return WIQ_ERR_NO_MEMORY;
        }
        registry = made;
    }
    auto** slot = static_cast<WiqType**>(wiq_vector_push(registry));
    if (slot == nullptr)
        return WIQ_ERR_NO_MEMORY;
    *slot = type;
    return 0;
}

bool register_builtin_types() {
    for (WiqType* const* type = ke::kBuiltinTypes; *type != nullptr; ++type)
        type_init(*type, nullptr);
    return true;
}

// This is here, and not beside the types, so that a program with the static library links it in
// whenever it uses anything of the object system.
[[maybe_unused]] const bool kBuiltinTypesRegistered = register_builtin_types();

}  // namespace

i32 type_init(WiqType* type, WiqType* parent) {
    // Atomic: if the type is initialised already, other threads may be building its class.
    if (type == nullptr || std::atomic_ref(type->initialised).load(std::memory_order_relaxed) != 0)
        return 0;
    if (uv_mutex_init(ke::os::uv_mutex(&type->lock)) != 0)
        return WIQ_ERR_LOCK_INIT;
    type->initialised = 1;
    if (parent != nullptr)
        type->parent = parent;
    const i32 status = add_to_registry(type);
    if (status != 0)
        type_uninit(type);  // so that it can be tried again
    return status;
}

i32 type_uninit(WiqType* type) {
    if (type != nullptr && type->initialised != 0) {
        uv_mutex_destroy(ke::os::uv_mutex(&type->lock));
        type->initialised = 0;
    }
    return 0;
}

WiqType** type_list(u32* count) {
    // Without a registry, the vector's status is stored as the number, as documented.
    if (count != nullptr)
        *count = static_cast<u32>(wiq_vector_size(registry));
    return registry == nullptr ? nullptr : static_cast<WiqType**>(registry->data);
}

bool type_is_child(const WiqType* parent, const WiqType* child) {
    if (parent == nullptr || child == nullptr || parent == child || child == &ObjectType)
        return false;
    for (const WiqType* type = child->parent; type != nullptr; type = type->parent) {
        if (type == parent)
            return true;
    }
    return false;
}
