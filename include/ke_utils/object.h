/**
 * @file object.h
 * Declares a small class system with single inheritance: static type descriptors, class records
 * that are tables of virtual operations, and reference-counted instances. The JSON visitors in
 * json.h are its first users.
 */
#ifndef KE_UTILS_OBJECT_H
#define KE_UTILS_OBJECT_H

#include "ke_utils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup object Types, classes and objects
 *  @{ */

/** A type descriptor; see struct WiqType below. */
typedef struct WiqType WiqType;

/**
 * A class record. The record of a subclass begins with that of its parent; its own slots follow.
 */
typedef struct WiqClass {
    WiqType* type; /**< the type that this record belongs to */
} WiqClass;

/** The header that every instance begins with. */
typedef struct WiqObject {
    WiqClass* klass; /**< the instance's class record */
    i32 refcount;    /**< changed by atomic operations only */
} WiqObject;

/**
 * Initialises the fields that a type adds to a new instance, which is filled with zero bytes.
 *
 * It must not release the instance. If object_new() fails, references to the instance that it took
 * are void.
 * @return 0; any other value makes object_new() return NULL
 */
typedef i32 (*WiqInstanceInitFn)(WiqObject* object);

/**
 * Releases what the fields of a type own.
 *
 * The instance is freed in any case. A reference to it that the function takes must be released
 * before the function returns; that does not run the finalisers again. The function must not call
 * object_delete() for the instance.
 */
typedef void (*WiqInstanceFinalizeFn)(WiqObject* object);

/**
 * Fills or changes a class record.
 *
 * It runs under the lock of the type whose class is being built. During that time, object_new() of
 * this type, or of a type that derives from it, returns NULL in this thread. The function must not
 * wait for a thread that needs the class. So types whose initialisers make objects of each other
 * must not be used for the first time by two threads at once. The function must not call
 * type_uninit() for such a type.
 * @return 0; any other value keeps the class from being built
 */
typedef i32 (*WiqClassInitFn)(WiqClass* klass);

/**
 * A type descriptor: one static record for each type, which its author fills and the library
 * completes.
 */
struct WiqType {
    const char* name;     /**< for messages; required */
    WiqType* parent;      /**< the type that this one extends; NULL for the root */
    size_t instance_size; /**< bytes of an instance with its parents' fields; 0: as in the parent */
    WiqInstanceInitFn instance_init;         /**< initialises the type's own fields; or NULL */
    WiqInstanceFinalizeFn instance_finalize; /**< releases what they own; or NULL */
    size_t class_size;                       /**< bytes of the class record; 0: as in the parent */
    WiqClassInitFn class_init;               /**< fills the class record of this type; or NULL */
    /** Changes the class record of every type that derives from this one, but not this type's own;
     *  or NULL. It runs when such a class is built, on the copy of the parent's record, which still
     *  names the parent as its type. */
    WiqClassInitFn class_base_init;
    WiqClass* klass; /**< the class record once it is built; NULL before */
    int initialised; /**< nonzero from type_init() to type_uninit(), otherwise 0 */
    wiq_mutex lock;  /**< held while the class is built */
};

/** The root type, "Object". It has no slots and no fields of its own. */
extern KE_API WiqType ObjectType;

/**
 * Makes a type usable and registers it.
 *
 * Nothing is locked: register types before threads use them.
 * @param type   must live as long as the process. For NULL, and for a type that is already
 *               initialised, the function does nothing and returns 0.
 * @param parent stored in the descriptor unless it is NULL
 * @return 0; WIQ_ERR_LOCK_INIT (-5007) if the lock cannot be made; WIQ_ERR_NO_MEMORY (-5000) when
 *         out of memory for the registry, in which case the function may be called again
 */
KE_API i32 type_init(WiqType* type, WiqType* parent);

/**
 * Destroys the lock of an initialised type. Its class record and its entry in the registry stay.
 * @param type the type; NULL, or a type that is not initialised, is ignored
 * @return 0
 */
KE_API i32 type_uninit(WiqType* type);

/**
 * Returns the registered types in the order of their registration; the six built-in ones are the
 * first.
 * @param count receives their number, or WIQ_ERR_INVALID_ARG (-7000) if there is no registry; may
 *              be NULL
 * @return an array that the library owns, valid until the next type_init(); NULL if there was no
 *         memory for the registry
 */
KE_API WiqType** type_list(u32* count);

/**
 * Tells whether `child` derives from `parent`, at any distance. False if either is NULL, or if both
 * are the same type.
 */
KE_API bool type_is_child(const WiqType* parent, const WiqType* child);

/**
 * Tests whether a class record belongs to a type or to one that derives from it. This is a safe
 * cast.
 * @param klass the class record; may be NULL
 * @param type  the type; may be NULL
 * @return `klass` if it does; otherwise NULL, also if an argument is NULL
 */
KE_API WiqClass* class_check(WiqClass* klass, const WiqType* type);

/**
 * Returns the class record of a type that is the class's own type or one of its ancestors. The
 * slots of an ancestor's record are the parent's implementations.
 * @param klass the class record; may be NULL
 * @param type  the type; may be NULL
 * @return the record, which the library owns. NULL if `type` is neither the class's own type nor an
 *         ancestor of it; if an argument is NULL; or, for the class's own type, while the
 *         class_init of that type runs.
 */
KE_API WiqClass* class_get_super_class(WiqClass* klass, const WiqType* type);

/**
 * Makes an instance with a reference count of 1.
 *
 * If the class has not been built yet, it is built first; threads may do so at the same time. The
 * initialisers run from the root type down.
 * @param type an initialised type
 * @return the object, which object_unref() releases. NULL when out of memory; if the class cannot
 *         be built (the type is not initialised, has no name or no parent, is being built by this
 *         thread, or has an initialiser that fails); or if an initialiser of the instance fails, in
 *         which case no finaliser runs.
 */
KE_API WiqObject* object_new(WiqType* type);

/** Adds an owner, atomically. `object` must not be NULL. */
KE_API void object_ref(WiqObject* object);

/**
 * Removes an owner, atomically. With the last one, the finalisers run, that of the most derived
 * type first, and the object is freed. NULL is ignored.
 */
KE_API void object_unref(WiqObject* object);

/**
 * Runs the finalisers and frees the object, whatever its reference count. `object` must not be
 * NULL.
 */
KE_API void object_delete(WiqObject* object);

/**
 * Tests whether an object is an instance of a type or of one that derives from it. This is a safe
 * cast.
 * @param object the object; may be NULL
 * @param type   the type; may be NULL
 * @return `object` if it is; otherwise NULL, also if an argument is NULL
 */
KE_API WiqObject* object_check(WiqObject* object, const WiqType* type);

/**
 * Returns the class record of an object.
 * @param object the object; may be NULL
 * @return the record, which the library owns; NULL for NULL
 */
KE_API WiqClass* object_get_class(const WiqObject* object);

/**
 * Calls class_get_super_class() for the class of an object.
 * @param object the object; may be NULL
 * @param type   the type; may be NULL
 * @return as class_get_super_class(); NULL if `object` is NULL
 */
KE_API WiqClass* object_get_super_class(const WiqObject* object, const WiqType* type);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
