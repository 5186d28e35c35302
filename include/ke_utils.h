/**
 * @file ke_utils.h
 * Includes everything that the library offers. Include this, or only the header of the family you
 * need: core.h, containers.h, text.h, object.h, mtype.h, json.h, files.h (all under ke_utils/).
 *
 * These conventions hold for the whole interface; the comment of a function says only what differs.
 *
 * 1. Status. A function that can fail returns an `i32`: 0 for success, a negative number for each
 *    kind of failure (core.h lists them all). A function that counts returns the count, or a
 *    negative status instead. Nothing is logged, nothing is thrown, nothing aborts.
 *
 * 2. The err argument. A function that returns a pointer or a value takes the address of a `u32` as
 *    its last argument (a few take it elsewhere; their comments say so) and stores the status
 *    there, 0 on success; read it as `(i32)err`. Pass NULL if you do not want it. In the JSON
 *    family the argument also chains: if it holds a nonzero status on entry, the function does
 *    nothing, leaves it unchanged and returns NULL, 0 or false. So a series of calls can share one
 *    variable, which is set to 0 once and tested once at the end:
 *    @code
 *    u32 err = 0;
 *    const char *model = wiq_json_obj_get_str(report, "model_name", &err);
 *    u64 hours = wiq_json_obj_get_u64(report, "power_on_hours", &err);
 *    if (err != 0) { ... the first of the calls that failed said why ... }
 *    @endcode
 *    Outside the JSON family, and in the put functions of the JSON pointer, `*err` is overwritten
 *    without being read.
 *
 * 3. Ownership. Whoever receives something releases it: plain memory with the runtime's free(),
 *    heap objects with the family's `_delete` or `_unref`, embedded records with `_finalize`. What
 *    a getter returns is still owned by its container, and is valid as long as the container keeps
 *    it. A new JSON value has a reference count of 0; either release it with one wiq_json_unref(),
 *    or give it to a container, which then owns it. An argument that a function copies may be part
 *    of what the function changes: a key or text in the tree, a string in the vector, text in the
 *    buffer that it is appended to. The few functions to which this does not apply say so.
 *
 * 4. NULL. Constructors, and functions that return a status, test their arguments and return
 *    WIQ_ERR_INVALID_ARG (-7000). Plain accessors of containers do not test the container.
 *    `_delete`, `_unref` and `free` functions ignore NULL unless their comment says otherwise.
 *
 * 5. Failure changes nothing. When a function fails, everything that it was given is as it was
 *    before, unless its comment says what is different. Any allocation may fail; the status is then
 *    WIQ_ERR_NO_MEMORY (-5000).
 *
 * 6. Strings are NUL-terminated bytes in UTF-8. Sizes are in bytes and do not count the terminator
 *    unless stated otherwise. Character classes and number formats are those of the "C" locale,
 *    whatever locale the process has set. Paths are written with "\\" as the separator on every
 *    platform.
 *
 * 7. Threads. The library starts none. Reference counts are atomic, building a class is locked, and
 *    a locked map holds its mutex for the whole of each call. Everything else (a tree, a container,
 *    a buffer) belongs to one thread at a time. The slots for hooks and entry points are plain
 *    data; set them before other threads run. JSON objects use random numbers to defend against
 *    maliciously chosen keys. The first thread that needs these numbers draws them, once per
 *    process; nothing that a caller sees depends on them.
 *
 * 8. Binary interface. Statuses are `i32`, booleans one byte, integers of fixed width; 128-bit
 *    numbers are passed by value. Records that callers embed have the fields shown here, in this
 *    order. The library and its user share one C runtime, since each frees what the other
 *    allocated.
 */
#ifndef KE_UTILS_H
#define KE_UTILS_H

#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "ke_utils/json.h"
#include "ke_utils/mtype.h"
#include "ke_utils/object.h"
#include "ke_utils/text.h"
#include "ke_utils/types.h"

#endif
