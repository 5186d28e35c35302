/**
 * @file object.h
 * A small class system with single inheritance: static type descriptors, class records that are tables of
 * virtual operations, and reference-counted instances. The JSON visitors in json.h are its first users.
 */
#ifndef KE_UTILS_OBJECT_H
#define KE_UTILS_OBJECT_H

#include "ke_utils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup object Types, classes and objects
 *  @{ */

typedef struct WiqType WiqType;

/** A class record; a subclass's record begins with its parent's, its own slots follow. */
typedef struct WiqClass {
    WiqType* type; /**< the type this record belongs to */
} WiqClass;

/** The header every instance begins with. */
typedef struct WiqObject {
    WiqClass* klass; /**< the instance's class record */
    i32 refcount;    /**< changed by atomic operations only */
} WiqObject;

typedef i32 (*WiqInstanceInitFn)(WiqObject* object);
typedef void (*WiqInstanceFinalizeFn)(WiqObject* object);
typedef i32 (*WiqClassInitFn)(WiqClass* klass);

/** A type descriptor: one static record for each type, filled by its author and completed at run time. */
struct WiqType {
    const char* name;
    WiqType* parent;
    size_t instance_size;
    WiqInstanceInitFn instance_init;
    WiqInstanceFinalizeFn instance_finalize;
    size_t class_size;
    WiqClassInitFn class_init;
    WiqClassInitFn class_base_init;
    WiqClass* klass;
    int initialised;
    wiq_mutex lock;
};

/** The root type, "Object": no slots, no fields of its own. */
extern KE_API WiqType ObjectType;

KE_API i32 type_init(WiqType* type, WiqType* parent);
KE_API i32 type_uninit(WiqType* type);
KE_API WiqType** type_list(u32* count);
KE_API bool type_is_child(const WiqType* parent, const WiqType* child);
KE_API WiqClass* class_check(WiqClass* klass, const WiqType* type);
KE_API WiqClass* class_get_super_class(WiqClass* klass, const WiqType* type);
KE_API WiqObject* object_new(WiqType* type);
KE_API void object_ref(WiqObject* object);
KE_API void object_unref(WiqObject* object);
KE_API void object_delete(WiqObject* object);
KE_API WiqObject* object_check(WiqObject* object, const WiqType* type);
KE_API WiqClass* object_get_class(const WiqObject* object);
KE_API WiqClass* object_get_super_class(const WiqObject* object, const WiqType* type);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
