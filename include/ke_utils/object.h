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

/** See struct WiqType below. */
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

/**
 * Initialises the fields that a type adds to a new, zeroed instance; nonzero: object_new() gives NULL. It must not
 * release the instance; references that it has taken count for nothing if object_new() fails.
 */
typedef i32 (*WiqInstanceInitFn)(WiqObject* object);

/**
 * Releases what a type's own fields hold. The instance goes whatever happens: a reference that is taken to it here
 * is given up before this returns, which does not run the finalisers again. It must not call object_delete() on it.
 */
typedef void (*WiqInstanceFinalizeFn)(WiqObject* object);

/**
 * Fills or changes a class record; nonzero: the class is not built. It runs under the lock of the type whose class
 * is built. There, object_new() of that type, or of one that derives from it, gives NULL. It must not wait for a
 * thread that needs that class; so types whose initialisers make objects of one another must not be used for the
 * first time by two threads at once. type_uninit() of such a type is not for it.
 */
typedef i32 (*WiqClassInitFn)(WiqClass* klass);

/** A type descriptor: one static record for each type, filled by its author and completed at run time. */
struct WiqType {
    const char* name; /**< for messages */
    WiqType* parent;  /**< the type that this one extends; NULL for the root */
    size_t
        instance_size; /**< bytes of an instance, its parents' fields included; 0: the parent's */
    WiqInstanceInitFn instance_init;         /**< initialises the type's own fields, or NULL */
    WiqInstanceFinalizeFn instance_finalize; /**< releases what they hold, or NULL */
    size_t class_size;                       /**< bytes of the class record; 0: the parent's */
    WiqClassInitFn class_init;               /**< fills the class record of this type, or NULL */
    /** changes the record of every type that derives from this one, not its own, or NULL: it runs when such a
     *  class is built, on the copy of the parent's record, which still names the parent as its type */
    WiqClassInitFn class_base_init;
    WiqClass* klass; /**< the class record once it is built; NULL at first */
    int initialised; /**< nonzero from type_init() to type_uninit(); 0 at first */
    wiq_mutex lock;  /**< held while the class is built */
};

/** The root type, "Object": no slots, no fields of its own. */
extern KE_API WiqType ObjectType;

/**
 * Makes a type usable and registers it. Types are registered before threads use them: nothing is locked.
 * @param type   lives as long as the process; NULL, and a type that is initialised already, are left alone, status 0
 * @param parent stored into the descriptor when not NULL
 * @return 0; -5007 if the lock cannot be made; -5000 if the registry cannot grow, and then the type can be tried
 *         again
 */
KE_API i32 type_init(WiqType* type, WiqType* parent);

/** Destroys the lock of an initialised type; class record and registry entry stay. Always 0. */
KE_API i32 type_uninit(WiqType* type);

/**
 * The registered types in order, the six built-in ones first.
 * @param count receives their number; may be NULL
 * @return lent, valid until the next type_init()
 */
KE_API WiqType** type_list(u32* count);

/**
 * Whether `child` derives from `parent`, at any distance; false for NULL and for a type itself.
 */
KE_API bool type_is_child(const WiqType* parent, const WiqType* child);

/**
 * The class record, if its type is the given one or derives from it; else NULL. A safe cast.
 */
KE_API WiqClass* class_check(WiqClass* klass, const WiqType* type);

/**
 * The class record of an ancestor (or of the class's own type), where a parent's implementations are; else NULL.
 */
KE_API WiqClass* class_get_super_class(WiqClass* klass, const WiqType* type);

/**
 * Makes an instance with a count of 1, building the class first where it is needed (threads may race for that).
 * Initialisers run from the root down.
 * @return the object, released with object_unref(); NULL if the class cannot be built (a type that is not
 *         initialised, has no name or no parent, is being built by this thread, or has a failing initialiser),
 *         without memory, or if an initialiser of the instance fails, and then no finaliser runs
 */
KE_API WiqObject* object_new(WiqType* type);

/** Adds an owner, atomically. Not for NULL. */
KE_API void object_ref(WiqObject* object);

/**
 * Gives up an owner, atomically; the last one runs the finalisers, most derived first, and frees. NULL does nothing.
 */
KE_API void object_unref(WiqObject* object);

/** Runs the finalisers and frees, whatever the count. Not for NULL. */
KE_API void object_delete(WiqObject* object);

/** The object, if its type is the given one or derives from it; else NULL, also for NULL. */
KE_API WiqObject* object_check(WiqObject* object, const WiqType* type);

/** The object's class record; NULL for NULL. */
KE_API WiqClass* object_get_class(const WiqObject* object);

/** class_get_super_class() of the object's class. */
KE_API WiqClass* object_get_super_class(const WiqObject* object, const WiqType* type);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
