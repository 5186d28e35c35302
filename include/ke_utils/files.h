/**
 * @file files.h
 * Declares text conversions, paths and directories, whole-file loading and line reading, the INI
 * parser, and schema files found beside the running executable.
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
 *  The `err` of these functions receives a system error code of Windows, not a status. It is not
 *  read on entry.
 *  @{ */

/**
 * Converts wide text to UTF-8.
 * @param w   NUL-terminated UTF-16 on Windows, UTF-32 elsewhere. For NULL the result is NULL,
 *            without an error.
 * @param err receives 0; 8 when out of memory; or 1113 for invalid text (a lone surrogate, or a
 *            value above U+10FFFF). May be NULL.
 * @return a new string, which the caller releases with free(); NULL on failure
 */
KE_API char* narrow(const wchar_t* w, u32* err);

/**
 * Converts UTF-8 to wide text. Invalid bytes are replaced by U+FFFD.
 * @param s   NUL-terminated. For NULL the result is NULL, without an error.
 * @param err receives 0, or 8 when out of memory; may be NULL
 * @return a new string, which the caller releases with free(); NULL on failure
 */
KE_API wchar_t* widen(const char* s, u32* err);

/**
 * Converts an array of wide strings.
 * @param count number of items. For 0 the result is NULL, without an error.
 * @param items the strings. For NULL the result is NULL, without an error.
 * @param err   receives a code as in narrow(). If it is given, the first item that is NULL or
 *              cannot be converted makes the call fail; if it is NULL, such an item becomes NULL,
 *              and the others are converted.
 * @return a new array of new strings, which free_narrow_array() releases; NULL on failure
 */
KE_API char** narrow_array(int count, const wchar_t* const* items, u32* err);

/**
 * Releases the strings and the array that narrow_array() returned.
 * @param count number of items
 * @param items the array; NULL is ignored
 * @param err   receives 0; may be NULL
 */
KE_API void free_narrow_array(int count, char** items, u32* err);

/** @} */

/** @defgroup path Path strings
 *  These functions do not access the file system. A separator that they write is always "\\".
 *  @{ */

/**
 * Returns the part of a path after the last "\\" or "/".
 * @param path may be NULL
 * @return a pointer into `path`, to its beginning if there is no separator; NULL for NULL
 */
KE_API const char* wiq_basename(const char* path);

/**
 * Truncates a path, in place, to the directory of its last part: "C:\\dir\\f" becomes "C:\\dir",
 * "C:\\f" becomes "C:\\", "\\f" becomes "\\", and "f" becomes "".
 * @param path truncated in place; may be NULL
 * @return `path`; NULL for NULL
 */
KE_API char* wiq_dirname(char* path);

/**
 * Tells whether a path begins with "\\" or has ":" as its second character. A leading "/" does not
 * count. False for NULL.
 */
KE_API bool wiq_is_abs_path(const char* path);

/** Tells whether a name contains neither "\\" nor "/". False for NULL. */
KE_API bool wiq_filename_only(const char* s);

/** Removes one "\\" or "/" from the end of a path, in place. NULL is ignored. */
KE_API void wiq_trim_dirsep(char* path);

/**
 * Joins a directory and a name with one "\\". If the directory ends in a separator, that separator
 * is dropped first.
 * @param dir  the directory; may be empty
 * @param name appended as it is; may be empty
 * @return a new string, which the caller releases with free(); NULL if an argument is NULL or when
 *         out of memory
 */
KE_API char* wiq_build_path(const char* dir, const char* name);

/**
 * Appends a part to a path.
 *
 * A "\\" is put before the part, unless the buffer is empty or ends in "\\", or the part is empty.
 * @param buf  contains the path
 * @param part may lie in the buffer
 * @return the number of bytes appended, the separator included; WIQ_ERR_INVALID_ARG (-7000) if an
 *         argument is NULL; WIQ_ERR_NO_MEMORY (-5000) when out of memory and WIQ_ERR_RANGE (-7001)
 *         for 2^31 bytes or more, with the buffer unchanged
 */
KE_API i32 wiq_append_path(wiq_strbuf* buf, const char* part);

/**
 * Appends `count` parts (of type const char*), each as wiq_append_path() does.
 *
 * Parts that lie in the buffer are read as they were before the call.
 * @param buf   contains the path
 * @param count number of parts that follow
 * @return the number of bytes appended in all; 0 for a count below 1; otherwise the first failure
 *         of wiq_append_path() (WIQ_ERR_INVALID_ARG, WIQ_ERR_NO_MEMORY or WIQ_ERR_RANGE), with the
 *         parts before it appended. WIQ_ERR_RANGE means that with this part, all parts together
 *         would have 2^31 bytes or more.
 */
KE_API i32 wiq_append_paths(wiq_strbuf* buf, int count, ...);

/** @} */

/** @defgroup filesystem File system
 *  @{ */

/**
 * Returns the directory of the running executable.
 *
 * On Windows, the path of the executable is cut to 259 characters.
 * @return a new string, which the caller releases with free(); NULL if the directory cannot be
 *         determined or when out of memory
 */
KE_API char* wiq_install_dir(void);

/**
 * Returns the user's home directory.
 * @return a new string, which the caller releases with free(); NULL if the directory is unknown or
 *         longer than 259 bytes, or when out of memory
 */
KE_API char* wiq_home_dir(void);

/**
 * Opens a stream. On Linux, programs that this one starts do not inherit it.
 * @param path UTF-8, with either separator
 * @param mode as in fopen()
 * @param err  receives 0 or the status; not read on entry; may be NULL. WIQ_ERR_INVALID_ARG if
 *             `path` or `mode` is NULL; WIQ_ERR_ENCODING (-5006) if the path cannot be converted;
 *             WIQ_ERR_ACCESS_DENIED (-4) if access is denied, or for a directory, whatever the
 *             mode; WIQ_ERR_NOT_FOUND (-3002) if there is no such file, for a name below a file,
 *             and for a name that is too long; WIQ_ERR_IO (-3) for anything else, such as an
 *             invalid mode.
 * @return the stream, which the caller closes with fclose(); NULL on failure
 */
KE_API FILE* wiq_fopen(const char* path, const char* mode, u32* err);

/**
 * Opens a file under a name that no file has yet.
 *
 * On Linux the name is random, only the owner of the file may read and write it, and programs that
 * this one starts do not inherit it. On Windows the runtime makes at most 26 names from one
 * template in one thread while the files exist; after that the status is WIQ_ERR_IO.
 * @param tmpl a path that ends in six "X", which are replaced in place
 * @param err  receives 0 or the status; not read on entry; may be NULL. WIQ_ERR_INVALID_ARG for a
 *             NULL or bad template or a NULL mode; WIQ_ERR_IO if no name can be made; otherwise
 *             WIQ_ERR_ENCODING, WIQ_ERR_ACCESS_DENIED, WIQ_ERR_NOT_FOUND or WIQ_ERR_IO as in
 *             wiq_fopen().
 * @param mode as in fopen(). A mode that creates files ("w", "a") creates this one exclusively: a
 *             file that exists is never opened. A mode that only reads finds nothing
 *             (WIQ_ERR_NOT_FOUND).
 * @return the stream, which the caller closes with fclose(); NULL on failure
 */
KE_API FILE* wiq_mkstemp(char* tmpl, u32* err, const char* mode);

/**
 * Tests for access to a path.
 * @param path UTF-8, with either separator
 * @param mode 0 for existence, 2 for write access, 4 for read access, 6 for both
 * @return 0, also for a path that is NULL or cannot be converted; WIQ_ERR_ACCESS_DENIED if there is
 *         no such access, whatever the reason
 */
KE_API i32 wiq_access(const char* path, int mode);

/**
 * Makes a directory and any missing parents.
 * @param path UTF-8, with "\\" between the levels; one separator at the end is dropped
 * @return 0; WIQ_ERR_INVALID_ARG if `path` is NULL; WIQ_ERR_ALREADY_EXISTS (-3005) if the directory
 *         exists; WIQ_ERR_PATH_NOT_FOUND (-3003) if a parent cannot be made, or if something that
 *         is not a directory has this name; WIQ_ERR_ACCESS_DENIED if access is denied;
 *         WIQ_ERR_NO_MEMORY when out of memory to copy the path; WIQ_ERR_IO for anything else.
 *         Parents that were made before a failure stay.
 */
KE_API i32 wiq_mkdir(const char* path);

/**
 * Makes the directory that is to contain a file, as wiq_mkdir() does.
 * @param path the path of the file; its directory is the part before the last "\\"
 * @return 0, also if the path has no "\\"; WIQ_ERR_INVALID_ARG, WIQ_ERR_ALREADY_EXISTS,
 *         WIQ_ERR_PATH_NOT_FOUND, WIQ_ERR_ACCESS_DENIED, WIQ_ERR_NO_MEMORY or WIQ_ERR_IO as
 *         wiq_mkdir()
 */
KE_API i32 wiq_mkdir_parents(const char* path);

/**
 * Removes an empty directory.
 * @param path UTF-8, with either separator
 * @return 0; WIQ_ERR_INVALID_ARG if `path` is NULL; WIQ_ERR_ENCODING if it cannot be converted;
 *         WIQ_ERR_IO if the directory was not removed, whatever the reason
 */
KE_API i32 wiq_rmdir(const char* path);

/**
 * Renames a file or directory.
 *
 * A file or directory that already has the new name is never replaced, not even for a moment.
 * (There is one exception: on a Linux file system that cannot rename without replacing, an empty
 * directory that is made in the meantime is replaced.) Renaming something to its own name succeeds.
 * @param from the old name: UTF-8, with either separator
 * @param to   the new name: UTF-8, with either separator
 * @return 0; WIQ_ERR_INVALID_ARG if an argument is NULL; WIQ_ERR_ENCODING if neither name can be
 *         converted; WIQ_ERR_ACCESS_DENIED if access is denied; WIQ_ERR_NOT_FOUND if there is
 *         nothing under the old name, for a name below a file, and for a name that is too long;
 *         WIQ_ERR_IO for anything else: something has the new name, or one of the names cannot be
 *         converted
 */
KE_API i32 wiq_rename(const char* from, const char* to);

/**
 * Removes a file.
 * @param path UTF-8, with either separator
 * @return 0; WIQ_ERR_INVALID_ARG if `path` is NULL; WIQ_ERR_ENCODING if it cannot be converted;
 *         WIQ_ERR_NOT_FOUND if there is no such file; WIQ_ERR_ACCESS_DENIED if access is denied,
 *         and for a directory; WIQ_ERR_IO for anything else
 */
KE_API i32 wiq_unlink(const char* path);

/** @} */

/** @defgroup file File loading and line reading
 *  @{ */

/**
 * Reads a whole file into one block.
 * @param path UTF-8, with either separator
 * @param out  receives the block, which the caller releases with free(). It is written as soon as
 *             the size of the file is known (with NULL when out of memory), and keeps a block that
 *             is only partly filled if reading fails.
 * @param pad  0 for a block of the file's size. Otherwise the block is padded with zero bytes to
 *             the next multiple of `pad` above the file's size; so 1 makes the file a
 *             NUL-terminated text.
 * @return the size of the file in bytes; WIQ_ERR_INVALID_ARG if an argument is NULL;
 *         WIQ_ERR_FILE_EMPTY (-3001) for an empty file, with `*out` unchanged; WIQ_ERR_IO if the
 *         file cannot be measured or read, or has 2 GiB or more; WIQ_ERR_NO_MEMORY when out of
 *         memory; WIQ_ERR_ENCODING, WIQ_ERR_ACCESS_DENIED, WIQ_ERR_NOT_FOUND or WIQ_ERR_IO as in
 *         wiq_fopen()
 */
KE_API i32 wiq_load_file(const char* path, void** out, size_t pad);

/**
 * Reads a line, including its "\n", or the rest of the stream if there is no further "\n".
 * @param line   the address of a block from malloc(), or of NULL. The block may move; it grows by
 *               128 bytes at a time.
 * @param size   size of the block in bytes; ignored if the block is NULL
 * @param stream open for reading
 * @return the number of bytes stored before the terminating NUL; NUL bytes in the line count.
 *         WIQ_ERR_INVALID_ARG if an argument is NULL. WIQ_ERR_EOF (-3004) at the end of the stream,
 *         or on a read error before any byte, with nothing changed. WIQ_ERR_NO_MEMORY when out of
 *         memory: the part of the line that was read is lost; a NULL block is still NULL; any other
 *         block and its size are valid, though both may have changed. WIQ_ERR_IO for a line of 2^31
 *         bytes or more: its first 2^31 - 1 bytes are in the block, and the next byte is still to
 *         be read from the stream.
 */
KE_API i32 wiq_getline(char** line, size_t* size, FILE* stream);

/** @} */

/** @defgroup ini INI parser
 *  @{ */

/** Tells where a token is in the file. */
typedef struct WiqIniLocation {
    u32 line;   /**< line number, from 1; stops at 2^32 - 1 */
    u32 column; /**< byte column in the line, from 1 */
    u32 length; /**< length of the token in bytes */
    u32 offset; /**< byte offset in the file, from 0; stops at 2^32 - 1 */
} WiqIniLocation;

/**
 * Receives a section header. All pointers are valid only during the call.
 * @param name              the name of the section
 * @param name_location     where the name is
 * @param argument          the argument; NULL if the section has none
 * @param argument_location where the argument is; all zero if the section has no argument
 * @param user              the pointer that was given to wiq_ini_parse()
 * @return 0 to go on; any other status ends the parse, which returns it
 */
typedef i32 (*WiqIniSectionFn)(const char* name, const WiqIniLocation* name_location,
                               const char* argument, const WiqIniLocation* argument_location,
                               void* user);

/**
 * Receives a key and its value. All pointers are valid only during the call.
 * @param key            the key
 * @param key_location   where the key is
 * @param value          the value, without its quotes
 * @param value_location where the value is, without its quotes
 * @param user           the pointer that was given to wiq_ini_parse()
 * @return 0 to go on; any other status ends the parse, which returns it
 */
typedef i32 (*WiqIniKeyFn)(const char* key, const WiqIniLocation* key_location, const char* value,
                           const WiqIniLocation* value_location, void* user);

/**
 * Receives the location of a syntax error.
 * @param location valid only during the call; its `offset` has no meaning
 * @param user     the pointer that was given to wiq_ini_parse()
 */
typedef void (*WiqIniErrorFn)(const WiqIniLocation* location, void* user);

/**
 * Reads an INI file line by line.
 *
 * It accepts [name], [name argument], [name "argument"], key = value, key = "value", and comments,
 * which "#" or ";" begins. Keys must be in a section; an empty value is a syntax error.
 * @param stream     read from its position to the end or to the first syntax error; it stays open
 * @param on_section called for each section header; may be NULL
 * @param on_key     called for each key; may be NULL
 * @param on_error   called for the syntax error that ends the parse; may be NULL
 * @param user       passed on to the callbacks
 * @return 0; WIQ_ERR_INVALID_ARG if `stream` is NULL; WIQ_ERR_INI_SYNTAX (-7010) after a syntax
 *         error; the nonzero status of a callback; WIQ_ERR_NO_MEMORY when out of memory; WIQ_ERR_IO
 *         for a line of 2^31 bytes or more
 */
KE_API i32 wiq_ini_parse(FILE* stream, WiqIniSectionFn on_section, WiqIniKeyFn on_key,
                         WiqIniErrorFn on_error, void* user);

/** @} */

/** @defgroup schema Schema files
 *  @{ */

/**
 * Makes the name of a command's schema file: the command followed by "_input.json" or
 * "_output.json", with every "-" replaced by "_".
 * @param command the name of the command; for NULL the result is NULL
 * @param input   true for the schema of the input, false for that of the output
 * @param err     receives 0, also for a NULL command, or WIQ_ERR_NO_MEMORY when out of memory; not
 *                read on entry; may be NULL
 * @return a new string, which the caller releases with free(); NULL for a NULL command or when out
 *         of memory
 */
KE_API char* wiq_schema_filename(const char* command, bool input, u32* err);

/**
 * Opens a schema file in the folder "schemas" beside the running executable or, if that fails, in
 * "..\\schemas".
 * @param filename a name as wiq_schema_filename() makes it
 * @param err      receives 0; WIQ_ERR_INVALID_ARG if `filename` is NULL; WIQ_ERR_NO_MEMORY when out
 *                 of memory; WIQ_ERR_ENCODING, WIQ_ERR_ACCESS_DENIED, WIQ_ERR_NOT_FOUND or
 *                 WIQ_ERR_IO of wiq_fopen() for the second folder. Not read on entry; may be NULL.
 * @return a stream in text mode, which the caller closes with fclose(); NULL on failure
 */
KE_API FILE* wiq_schema_open(const char* filename, u32* err);

/**
 * Loads a schema file as a document.
 * @param filename a name as wiq_schema_filename() makes it
 * @param err      receives 0; WIQ_ERR_INVALID_ARG if `filename` is NULL; WIQ_ERR_IO if no file
 *                 could be opened; or a status of wiq_json_loadf() (::wiq_json_load_error lists
 *                 them). Not read on entry; may be NULL.
 * @return the document, which the caller releases with wiq_json_unref(); NULL on failure
 */
KE_API wiq_json_t* wiq_load_schema(const char* filename, u32* err);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
