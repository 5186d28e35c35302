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

/**
 * Converts wide text to UTF-8.
 * @param w   NUL-terminated UTF-16 on Windows, UTF-32 elsewhere; NULL gives NULL without an error
 * @param err receives a system error code, not a status: 0, 8 without memory, 1113 for invalid text (a lone
 *            surrogate, a value above U+10FFFF); may be NULL
 * @return a new string, released with free(); NULL on failure
 */
KE_API char* narrow(const wchar_t* w, u32* err);

/**
 * Converts UTF-8 to wide text; what is invalid is replaced by U+FFFD.
 * @param s   NULL gives NULL without an error
 * @param err receives a system error code: 0, or 8 without memory; may be NULL
 * @return a new string, released with free(); NULL on failure
 */
KE_API wchar_t* widen(const char* s, u32* err);

/**
 * Converts an array of wide strings.
 * @param count items; 0 gives NULL without an error
 * @param err   as in narrow(). When given, the first item that cannot be converted (or is NULL) fails the call;
 *              when NULL, such items become NULL and the rest is converted.
 * @return a new array of new strings, released with free_narrow_array(); NULL on failure
 */
KE_API char** narrow_array(int count, const wchar_t* const* items, u32* err);

/**
 * Releases the strings and the array of narrow_array(); NULL does nothing. Writes 0 to `err` if given.
 */
KE_API void free_narrow_array(int count, char** items, u32* err);

/** @} */

/** @defgroup path Path strings
 *  @{ */

/**
 * The part behind the last "\\" or "/", inside `path`; the whole without one; NULL for NULL.
 */
KE_API const char* wiq_basename(const char* path);

/**
 * Cuts a path, in place, to the directory of its last part: "C:\\dir\\f" to "C:\\dir", "C:\\f" to "C:\\", "\\f" to "\\",
 * "f" to "".
 * @return `path`; NULL for NULL
 */
KE_API char* wiq_dirname(char* path);

/**
 * Whether a path begins with "\\" or has ":" as its second character; a leading "/" does not count. False for NULL.
 */
KE_API bool wiq_is_abs_path(const char* path);

/** Whether a name holds neither "\\" nor "/". False for NULL. */
KE_API bool wiq_filename_only(const char* s);

/** Removes one "\\" or "/" from the end, in place. NULL does nothing. */
KE_API void wiq_trim_dirsep(char* path);

/**
 * Joins a directory and a name with one "\\"; one separator at the end of the directory is dropped.
 * @return a new string, released with free(); NULL for a NULL argument or without memory
 */
KE_API char* wiq_build_path(const char* dir, const char* name);

/**
 * Appends a part, with a "\\" in front unless the buffer is empty or ends in one, or the part is empty. The part
 * may lie in the buffer.
 * @return bytes appended, the separator counted; -7000 for NULL; -5000 when out of memory and -7001 for 2^31
 *         bytes or more, with the buffer unchanged
 */
KE_API i32 wiq_append_path(wiq_strbuf* buf, const char* part);

/**
 * Appends `count` parts (const char*), each as wiq_append_path() does. Parts that lie in the buffer are taken as
 * they were before the call.
 * @return bytes appended in all; 0 for a count below 1; the first failure, what came before it appended (-7001: with
 *         this part they would be 2^31 or more)
 */
KE_API i32 wiq_append_paths(wiq_strbuf* buf, int count, ...);

/** @} */

/** @defgroup filesystem File system
 *  @{ */

/**
 * The directory of the running executable, a new string; NULL if it cannot be told or without memory.
 */
KE_API char* wiq_install_dir(void);

/**
 * The user's home directory, a new string; NULL if it is unknown, longer than 259 bytes, or without memory.
 */
KE_API char* wiq_home_dir(void);

/**
 * Opens a stream. On Linux the programs that this one starts do not inherit it.
 * @param path UTF-8, either separator
 * @param mode as in fopen()
 * @param err  receives 0; -7000 for NULL; -5006 if the path cannot be converted; -4 access denied, or a directory,
 *             whatever the mode; -3002 not found (also: a name below a file, a name that is too long); -3 anything
 *             else, as a mode that is none. Not read first; may be NULL.
 * @return the stream, closed with fclose(); NULL on failure
 */
KE_API FILE* wiq_fopen(const char* path, const char* mode, u32* err);

/**
 * Opens a file under a name that no file had. On Linux the name is random, only the file's owner may read and write
 * it, and the programs that this one starts do not inherit it; on Windows the runtime makes 26 names at most of one
 * template in one thread while the files stand, and then gives -3.
 * @param tmpl ends in six "X", which are replaced in place
 * @param err  receives 0; -7000 for a bad template or a NULL mode; otherwise as wiq_fopen(). May be NULL.
 * @param mode as in fopen(). A mode that creates files ("w", "a") creates it exclusively: a file that exists is
 *             never opened. A mode that only reads finds nothing (-3002).
 * @return the stream; NULL on failure
 */
KE_API FILE* wiq_mkstemp(char* tmpl, u32* err, const char* mode);

/**
 * Asks for access to a path: mode 0 existence, 2 write, 4 read, 6 both.
 * @return 0; -4 if it is not given, whatever the reason. A NULL path, or one that cannot be converted, gives 0.
 */
KE_API i32 wiq_access(const char* path, int mode);

/**
 * Makes a directory and the parents that are missing ("\\" separates them; one separator at the end is dropped).
 * @return 0; -7000 for NULL; -3005 if it exists; -3003 if a parent cannot be made or something else stands there;
 *         -4 access denied; -5000; -3 anything else
 */
KE_API i32 wiq_mkdir(const char* path);

/**
 * Makes the directory that a file is to stand in: what is before the last "\\", as wiq_mkdir(); 0 without one.
 */
KE_API i32 wiq_mkdir_parents(const char* path);

/** Removes an empty directory. 0; -7000 for NULL; -5006; -3 if it stays. */
KE_API i32 wiq_rmdir(const char* path);

/**
 * Renames a file or directory. What stands under the new name is never replaced, and not even for a moment (except
 * an empty directory that is made meanwhile, where a file system of Linux cannot rename without replacing). A name
 * onto itself is a success.
 * @return 0; -7000 for NULL; -5006 if neither name can be converted; -4 access denied; -3002 not found (also: a name
 *         below a file, a name that is too long); -3 anything else: the new name is taken, one name cannot be
 *         converted
 */
KE_API i32 wiq_rename(const char* from, const char* to);

/**
 * Removes a file. 0; -7000 for NULL; -5006; -3002 not found; -4 access denied (also: a directory); -3.
 */
KE_API i32 wiq_unlink(const char* path);

/** @} */

/** @defgroup file File loading and line reading
 *  @{ */

/**
 * Reads a whole file into one block.
 * @param path UTF-8
 * @param out  receives the block, released with free(); written once the size is known (NULL without memory), and
 *             left filled in part when reading fails
 * @param pad  0: the block is the file; else it is filled up with zero bytes to the next multiple of `pad` above
 *             the size, so 1 makes a file a NUL-terminated text
 * @return the size in bytes; -3001 for an empty file (`out` untouched); -3 if it cannot be measured or read, or has
 *         2 GiB or more; -5000; the statuses of wiq_fopen()
 */
KE_API i32 wiq_load_file(const char* path, void** out, size_t pad);

/**
 * Reads a line, its "\n" included, or what is left before the end.
 * @param line a block from malloc() or NULL; may be moved. Grows by 128 bytes at a time.
 * @param size its size in bytes; ignored for a NULL block
 * @return bytes stored before the NUL, NUL bytes of the line counted; -7000 for NULL; -3004 at the end or on a read
 *         error before any byte, nothing changed. -5000: what was read of the line is lost, a NULL block is NULL
 *         still, and a block that was given is valid with its size, though both may be new. -3 for a line of 2^31
 *         bytes or more: the first 2^31 - 1 are in the block, the next byte is the stream's next.
 */
KE_API i32 wiq_getline(char** line, size_t* size, FILE* stream);

/** @} */

/** @defgroup ini INI parser
 *  @{ */

/** Where a token stands in the file. */
typedef struct WiqIniLocation {
    u32 line;   /**< line number, from 1; stays at 2^32 - 1 */
    u32 column; /**< byte column in the line, from 1 */
    u32 length; /**< bytes */
    u32 offset; /**< byte offset in the file, from 0; stays at 2^32 - 1 */
} WiqIniLocation;

/**
 * Receives a section header. All pointers are valid during the call only.
 * @param argument NULL without one, and then its location is all zero
 * @return 0 to go on; any other status ends the parse and is returned by it
 */
typedef i32 (*WiqIniSectionFn)(const char* name, const WiqIniLocation* name_location,
                               const char* argument, const WiqIniLocation* argument_location,
                               void* user);

/** Receives a key and its value, quotes removed; as WiqIniSectionFn otherwise. */
typedef i32 (*WiqIniKeyFn)(const char* key, const WiqIniLocation* key_location, const char* value,
                           const WiqIniLocation* value_location, void* user);

/** Receives the place of a mistake; `offset` is not meant for use. */
typedef void (*WiqIniErrorFn)(const WiqIniLocation* location, void* user);

/**
 * Reads an INI file line by line: [name], [name argument], [name "argument"], key = value, key = "value", comments
 * from "#" or ";". Keys stand in sections; empty values are mistakes.
 * @param stream read from where it stands to its end or the first mistake; stays open
 * @param on_section, on_key, on_error may be NULL
 * @return 0; -7000 for a NULL stream; -7010 after the first mistake, which on_error was told of; a callback's nonzero
 *         result; -5000
 */
KE_API i32 wiq_ini_parse(FILE* stream, WiqIniSectionFn on_section, WiqIniKeyFn on_key,
                         WiqIniErrorFn on_error, void* user);

/** @} */

/** @defgroup schema Schema files
 *  @{ */

/**
 * The name of a command's schema file: the command and "_input.json" or "_output.json", "-" replaced by "_".
 * @param err receives 0, also for a NULL command; -5000. May be NULL.
 * @return a new string, released with free(); NULL for NULL or without memory
 */
KE_API char* wiq_schema_filename(const char* command, bool input, u32* err);

/**
 * Opens a schema file from "schemas" beside the running executable or, failing that, from "..\\schemas".
 * @param filename as wiq_schema_filename() makes it
 * @param err      receives 0, or the status of the last try (wiq_fopen()); -7000 for NULL; -5000. May be NULL.
 * @return a stream in text mode; NULL on failure
 */
KE_API FILE* wiq_schema_open(const char* filename, u32* err);

/**
 * Loads a schema file as a document.
 * @param err receives 0; -7000 for NULL; -3 if no file could be opened; the parser's status. May be NULL.
 * @return the tree, released with wiq_json_unref(); NULL on failure
 */
KE_API wiq_json_t* wiq_load_schema(const char* filename, u32* err);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
