/**
 * @file files.h
 * Paths and directories, whole-file loading and line reading, the INI parser, and schema files found
 * beside the running executable.
 */
#ifndef KE_UTILS_FILES_H
#define KE_UTILS_FILES_H

#include <stdio.h>
#include <wchar.h>

#include "ke_utils/containers.h"
#include "ke_utils/json.h"
#include "ke_utils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup encoding Text conversions
 *  @{ */

KE_API char* narrow(const wchar_t* w, u32* err);
KE_API wchar_t* widen(const char* s, u32* err);
KE_API char** narrow_array(int count, const wchar_t* const* items, u32* err);
KE_API void free_narrow_array(int count, char** items, u32* err);

/** @} */

/** @defgroup path Path strings
 *  @{ */

KE_API const char* wiq_basename(const char* path);
KE_API char* wiq_dirname(char* path);
KE_API bool wiq_is_abs_path(const char* path);
KE_API bool wiq_filename_only(const char* s);
KE_API void wiq_trim_dirsep(char* path);
KE_API char* wiq_build_path(const char* dir, const char* name);
KE_API i32 wiq_append_path(wiq_strbuf* buf, const char* part);
KE_API i32 wiq_append_paths(wiq_strbuf* buf, int count, ...);

/** @} */

/** @defgroup filesystem File system
 *  @{ */

KE_API char* wiq_install_dir(void);
KE_API char* wiq_home_dir(void);
KE_API FILE* wiq_fopen(const char* path, const char* mode, u32* err);
KE_API FILE* wiq_mkstemp(char* tmpl, u32* err, const char* mode);
KE_API i32 wiq_access(const char* path, int mode);
KE_API i32 wiq_mkdir(const char* path);
KE_API i32 wiq_mkdir_parents(const char* path);
KE_API i32 wiq_rmdir(const char* path);
KE_API i32 wiq_rename(const char* from, const char* to);
KE_API i32 wiq_unlink(const char* path);

/** @} */

/** @defgroup file File loading and line reading
 *  @{ */

KE_API i32 wiq_load_file(const char* path, void** out, size_t pad);
KE_API i32 wiq_getline(char** line, size_t* size, FILE* stream);

/** @} */

/** @defgroup ini INI parser
 *  @{ */

/** Where a token stands in the file. */
typedef struct WiqIniLocation {
    u32 line;   /**< line number, from 1 */
    u32 column; /**< byte column in the line, from 1 */
    u32 length; /**< bytes */
    u32 offset; /**< byte offset in the file, from 0 */
} WiqIniLocation;

typedef i32 (*WiqIniSectionFn)(const char* name, const WiqIniLocation* name_location,
                               const char* argument, const WiqIniLocation* argument_location,
                               void* user);
typedef i32 (*WiqIniKeyFn)(const char* key, const WiqIniLocation* key_location, const char* value,
                           const WiqIniLocation* value_location, void* user);
typedef void (*WiqIniErrorFn)(const WiqIniLocation* location, void* user);

KE_API i32 wiq_ini_parse(FILE* stream, WiqIniSectionFn on_section, WiqIniKeyFn on_key,
                         WiqIniErrorFn on_error, void* user);

/** @} */

/** @defgroup schema Schema files
 *  @{ */

KE_API char* wiq_schema_filename(const char* command, bool input, u32* err);
KE_API FILE* wiq_schema_open(const char* filename, u32* err);
KE_API wiq_json_t* wiq_load_schema(const char* filename, u32* err);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
