// Class records. The record of a type is built when its first object is made, and is never freed.
// It starts as a copy of the parent's record. Then class_base_init of each ancestor changes it,
// from the root down, and finally the type's own class_init. While the ancestors change it, its
// `type` is still the parent.
//
// Each type has a lock. It is held while the parent's class is built under the parent's lock, so
// build_class() itself takes locks only from child to parent. An initialiser runs under the lock of
// the type that is being built, so it cannot make an object of that type or of one that derives
// from it: the thread would wait for a lock that it holds itself. build_class() detects that and
// fails. It does not detect two threads that wait for each other. That takes types whose
// initialisers make objects of each other; in a single thread, the inner object_new() fails.

#include "object/class.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "ke_utils/core.h"
#include "os/mutex.h"
#include "os/os.h"

namespace ke {

namespace {

// NOLINTBEGIN(misc-no-recursion): a line of descent is as long as its authors made it.

using SizeField = size_t WiqType::*;

// The sizes are read and written atomically: while this thread reads an ancestor's size, another
// thread may be replacing a 0 there with the size that it stands for. This thread gets the same
// result from either.
std::atomic_ref<size_t> size_of(const WiqType* type, SizeField field) {
    return std::atomic_ref(const_cast<WiqType*>(type)->*field);
}

// What `initialised` holds: 0 before type_init(), kReady after it, and a negative number while a
// thread is building the class: its building_state(). Only the thread that holds the type's lock
// writes it here. Other threads compare it with 0 and with their own number; neither answer depends
// on when they look, so relaxed order is enough.
constexpr int kReady = 1;

std::atomic_ref<int> state_of(WiqType* type) {
    return std::atomic_ref(type->initialised);
}

// Returns the number of this thread: negative, and different from that of all other threads.
int building_state() {
    return -os::thread_id();  // which is positive
}

// Returns whether this thread is building the class of a type or of one of its ancestors, so that
// it holds a lock that building the type would take.
bool is_built_by_this_thread(WiqType* type) {
    const int own = building_state();
    for (; type != nullptr; type = type->parent) {
        if (state_of(type).load(std::memory_order_relaxed) == own)
            return true;
    }
    return false;
}

// Returns a size of a type; if it is 0, that of the nearest ancestor that gives one.
size_t resolve(const WiqType* type, SizeField field) {
    for (; type != nullptr; type = type->parent) {
        const size_t size = size_of(type, field).load(std::memory_order_relaxed);
        if (size != 0)
            return size;
    }
    return 0;
}

// Replaces a size of 0 in the descriptor with the size that it stands for.
void store_resolved(const WiqType* type, SizeField field) {
    size_of(type, field).store(resolve(type, field), std::memory_order_relaxed);
}

// Builds the parent's class if necessary, copies its record, and lets the ancestors change the
// copy. They do so in every record, although the copy already contains what they changed in the
// parent's.
i32 fill_from_ancestors(WiqType* type, WiqClass* record) {
    WiqType* parent = type->parent;
    if (parent == nullptr)
        return 0;
    const i32 status = build_class(parent);
    if (status != 0)
        return status;
    // These sizes can be read without atomics: those of the parent are final, since its class is
    // built, and those of `type` are only changed under the lock that this thread holds.
    //
    // A record that is too small for a copy of its parent's is a mistake of the type's author. As
    // every type passes this test, every record is at least as large as that of ObjectType: it has
    // a `type` to be set.
    if (type->class_size < parent->class_size || type->instance_size < parent->instance_size)
        return WIQ_ERR_FAILED;
    memcpy(record, class_of(parent), parent->class_size);
    return for_root_down(parent, [record](const WiqType* ancestor) {
        return ancestor->class_base_init == nullptr ? 0 : ancestor->class_base_init(record);
    });
}

// Fills a new record, which is zero, up to and including the type's own class_init.
i32 fill(WiqType* type, WiqClass* record) {
    const i32 status = fill_from_ancestors(type, record);
    if (status != 0)
        return status;
    record->type = type;
    return type->class_init == nullptr ? 0 : type->class_init(record);
}

// Builds the class of a type whose lock is held, and publishes it only when it is complete. After a
// failure the type has no class record, but the sizes in its descriptor stay resolved, and the next
// attempt starts again.
i32 build_locked(WiqType* type) {
    if (type->name == nullptr || (type->parent == nullptr && type != &ObjectType))
        return WIQ_ERR_FAILED;
    store_resolved(type, &WiqType::instance_size);
    store_resolved(type, &WiqType::class_size);
    auto* record = static_cast<WiqClass*>(wiq_real_malloc0(type->class_size));
    if (record == nullptr)
        return WIQ_ERR_NO_MEMORY;
    const i32 status = fill(type, record);
    if (status != 0) {
        free(record);
        return status;
    }
    std::atomic_ref(type->klass).store(record, std::memory_order_release);
    return 0;
}

}  // namespace

// NOLINTEND(misc-no-recursion)

WiqClass* class_of(WiqType* type) {
    return std::atomic_ref(type->klass).load(std::memory_order_acquire);
}

i32 build_class(WiqType* type) {  // NOLINT(misc-no-recursion): see above
    if (class_of(type) != nullptr)
        return 0;
    // These must be tested before the lock is taken: the lock exists only in an initialised type,
    // and this very thread may hold it or a lock of an ancestor.
    if (state_of(type).load(std::memory_order_relaxed) == 0 || is_built_by_this_thread(type))
        return WIQ_ERR_FAILED;
    const os::MutexLock lock(&type->lock);
    if (class_of(type) != nullptr)
        return 0;
    state_of(type).store(building_state(), std::memory_order_relaxed);
    const i32 status = build_locked(type);
    state_of(type).store(kReady, std::memory_order_relaxed);
    return status;
}

}  // namespace ke

WiqClass* class_check(WiqClass* klass, const WiqType* type) {
    if (klass == nullptr || type == nullptr)
        return nullptr;
    return klass->type == type || type_is_child(type, klass->type) ? klass : nullptr;
}

// The class of an ancestor is built before the class that derives from it. So the result is nullptr
// only if the test fails, or while the class_init of `type` itself runs.
WiqClass* class_get_super_class(WiqClass* klass, const WiqType* type) {
    return class_check(klass, type) == nullptr ? nullptr : ke::class_of(const_cast<WiqType*>(type));
}
