/**
 * @file files.hpp
 * Works with files and paths: reads whole files and replaces them atomically, loads and saves
 * documents, makes and removes directories, splits and joins path strings, opens schema files, and
 * converts between UTF-8 and wide text. File names are UTF-8 and may use either separator on both
 * platforms, unless a function's comment says otherwise. INI files are in ini.hpp.
 */
#ifndef KE_FILES_HPP
#define KE_FILES_HPP

#include <cstdio>
#include <string>
#include <string_view>

#include "ke/json.hpp"
#include "ke/utf8.hpp"
#include "ke_utils/files.h"

#if defined(_WIN32)
#include <io.h>
#else
#include <sys/stat.h>
#include <unistd.h>
#endif

#if defined(_WIN32)
/** @cond */
// The same declaration as in <windows.h>, which is too large to include here.
extern "C" __declspec(dllimport) int __stdcall MoveFileExW(const wchar_t*, const wchar_t*,
                                                           unsigned long);
/** @endcond */
#endif

namespace ke {

/** @addtogroup cpp
 *  @{ */

namespace detail {
struct close_stream {
    void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
};
inline result<std::string> taken_text(char* text, i32 otherwise) {
    const c_text owner(text);
    return text != nullptr ? result<std::string>(std::string(text))
                           : result<std::string>::failure(otherwise);
}
}  // namespace detail

/** Owns an open stream and closes it in the destructor. */
using file = owned<std::FILE, detail::close_stream>;

/** Opens a file; the modes are those of fopen(). Returns the stream, or a status of wiq_fopen(). */
inline result<file> open_file(const text_arg& path, const char* mode) {
    if (path.status() != 0)
        return result<file>::failure(path.status());
    u32 err = 0;
    std::FILE* const stream = wiq_fopen(path.c_str(), mode, &err);
    return stream != nullptr ? result<file>(file(stream))
                             : result<file>::failure(static_cast<i32>(err));
}

/** Reads a line, including its "\n". Returns the status of wiq_getline(): WIQ_ERR_EOF (-3004) at
 *  the end of the stream. After a failure `line` is unchanged. */
inline status read_line(std::FILE* stream, std::string& line) {
    char* text = nullptr;
    std::size_t size = 0;
    const i32 length = wiq_getline(&text, &size, stream);
    const c_text owner(text);
    if (length >= 0)
        line.assign(text, static_cast<std::size_t>(length));
    return length;
}

/** Returns the bytes of a file, or a status of wiq_load_file(). An empty file is not a failure
 *  here: WIQ_ERR_FILE_EMPTY (-3001) becomes an empty string. */
inline result<std::string> load_text(const text_arg& path) {
    if (path.status() != 0)
        return result<std::string>::failure(path.status());
    void* block = nullptr;
    const i32 size = wiq_load_file(path.c_str(), &block, 1);
    const c_text owner(static_cast<char*>(block));
    if (size == WIQ_ERR_FILE_EMPTY)
        return std::string();
    if (size < 0)
        return result<std::string>::failure(size);
    return std::string(owner.get(), static_cast<std::size_t>(size));
}

namespace detail {

// Replaces the file `to` by the file `from` in one step.
inline i32 replace_file(const std::string& from, const std::string& to) noexcept {
#if defined(_WIN32)
    u32 err = 0;
    const owned<wchar_t, free_memory> wide_from(widen(from.c_str(), &err));
    const owned<wchar_t, free_memory> wide_to(widen(to.c_str(), &err));
    if (!wide_from || !wide_to)
        return WIQ_ERR_NO_MEMORY;
    constexpr unsigned long replace_existing = 1;
    constexpr unsigned long write_through = 8;
    return MoveFileExW(wide_from.get(), wide_to.get(), replace_existing | write_through) != 0
               ? 0
               : static_cast<i32>(WIQ_ERR_IO);
#else
    struct stat there;
    if (::stat(to.c_str(), &there) == 0)
        (void)::chmod(from.c_str(), there.st_mode & 07777);
    return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : static_cast<i32>(WIQ_ERR_IO);
#endif
}

// What save() writes.
struct save_target {
    std::string path;
    bool is_file;  // whether a new file replaces it; otherwise it is a device or a pipe to write to
};
#if defined(_WIN32)
inline save_target target_of(const char* path) {
    return {path, true};
}
#else
// Follows a chain of symbolic links and returns the path at its end, whether or not a file exists.
// Returns "" if the chain does not end.
inline std::string end_of_links(std::string path) {
    constexpr int most = 40;  // as many as the system follows
    char text[4096];          // the longest path that the system takes
    for (int links = 0; links < most; ++links) {
        const ssize_t length = ::readlink(path.c_str(), text, sizeof text);
        if (length < 0)
            return path;
        path.resize(text[0] == '/' ? 0 : path.rfind('/') + 1);  // npos + 1 is 0
        path.append(text, static_cast<std::size_t>(length));
    }
    return {};
}
inline save_target target_of(const char* text) {
    std::string path(text);
    // As in the library's own functions, Linux gets "/" for the separator "\".
    for (char& c : path)
        c = c == '\\' ? '/' : c;
    struct stat there;
    if (::stat(path.c_str(), &there) == 0 && !S_ISREG(there.st_mode) && !S_ISDIR(there.st_mode))
        return {std::move(path), false};
    return {end_of_links(std::move(path)), true};
}
#endif

// Flushes a stream to the disk. Returns false on failure.
inline bool sync(std::FILE* stream) noexcept {
    if (std::fflush(stream) != 0)
        return false;
#if defined(_WIN32)
    return _commit(_fileno(stream)) == 0;
#else
    return ::fsync(::fileno(stream)) == 0;
#endif
}

// Makes a new file in the same directory, fills it with `write(FILE*)`, which returns a status, and
// renames it to its final name when it is complete. A reader of the file sees either the old text
// or the new one, never a part.
template <class Write>
status save(const text_arg& path, Write write) {
    if (path.c_str() == nullptr)
        return path.status() != 0 ? path.status() : static_cast<i32>(WIQ_ERR_INVALID_ARG);
    // The strings are made before the temporary file, since an exception after it was made would
    // leave it on the disk.
    const save_target target = target_of(path.c_str());
    if (target.path.empty())
        return WIQ_ERR_IO;
    std::string name = target.is_file ? target.path + ".XXXXXX" : target.path;
    u32 err = 0;
    std::FILE* const stream =
        target.is_file ? wiq_mkstemp(name.data(), &err, "wb") : wiq_fopen(name.c_str(), "wb", &err);
    if (stream == nullptr)
        return static_cast<i32>(err);
    status written = write(stream);
    if (written.ok() && target.is_file && !sync(stream))
        written = WIQ_ERR_IO;
    if (std::fclose(stream) != 0 && written.ok())
        written = WIQ_ERR_IO;
    if (!target.is_file)
        return written;
    if (written.ok())
        written = replace_file(name, target.path);
    if (written.failed())
        wiq_unlink(name.c_str());
    return written;
}

}  // namespace detail

/**
 * Writes a file, replacing any that is there. The text is written to a temporary file in the same
 * directory and flushed to the disk, and then that file takes the final name in one step. After a
 * failure the old file is unchanged.
 *
 * On Linux the new file gets the permissions of the one that it replaces; if it replaces none, only
 * its owner may read and write it. A symbolic link is followed, and the file that it leads to is
 * replaced. What is not a regular file, such as a device or a named pipe, is written to and not
 * replaced. On Windows a symbolic link itself is replaced, and a device is a failure.
 * @return 0; a status of wiq_fopen(); WIQ_ERR_IO (-3) if the file cannot be written or replaced
 */
inline status save_text(const text_arg& path, std::string_view text) {
    return detail::save(path, [&](std::FILE* stream) -> status {
        return std::fwrite(text.data(), 1, text.size(), stream) == text.size()
                   ? 0
                   : static_cast<i32>(WIQ_ERR_IO);
    });
}

/** Loads a UTF-8 document from a file. Returns the document, a status of wiq_load_file(), or a
 *  status of the parser with the location of the error. */
inline result<json> load_file(const text_arg& path, load_flags flags = {}) {
    if (path.status() != 0)
        return result<json>::failure(path.status());
    void* block = nullptr;
    const i32 size = wiq_load_file(path.c_str(), &block, 1);
    const c_text owner(static_cast<char*>(block));
    if (size < 0)
        return result<json>::failure(size);
    return parse_utf8({owner.get(), static_cast<std::size_t>(size)}, flags);
}

inline result<json> json::load_file(const text_arg& path, load_flags flags) {
    return ke::load_file(path, flags);
}

/** Saves a document as save_text() does, in UTF-8 and with a line feed at the end. Returns a status
 *  of save_text(), ke::err_empty for an empty view, or a status of json_view::dump(). */
inline status save_file(const text_arg& path, json_view value, dump_flags flags = {}) {
    if (!value)
        return err_empty;
    return detail::save(path, [&](std::FILE* stream) -> status {
        KE_TRY(value.dump_to(stream, flags));
        return std::fputc('\n', stream) == '\n' ? 0 : static_cast<i32>(WIQ_ERR_IO);
    });
}

/** @name Directories and files
 *  @{ */
/** Makes a directory and any missing parents. Only "\\" separates the levels; returns a status of
 *  wiq_mkdir(). */
inline status make_directory(const text_arg& path) {
    return path.status() != 0 ? path.status() : wiq_mkdir(path.c_str());
}
/** Makes the directory that is to contain a file: the part of `path` before the last "\\". Returns
 *  0 if there is no "\\", otherwise a status of wiq_mkdir(). */
inline status make_parents(const text_arg& path) {
    return path.status() != 0 ? path.status() : wiq_mkdir_parents(path.c_str());
}
/** Removes an empty directory. */
inline status remove_directory(const text_arg& path) {
    return path.status() != 0 ? path.status() : wiq_rmdir(path.c_str());
}
/** Removes a file. */
inline status remove_file(const text_arg& path) {
    return path.status() != 0 ? path.status() : wiq_unlink(path.c_str());
}
/** Renames a file or directory. Something that already has the new name is never replaced. */
inline status rename_file(const text_arg& from, const text_arg& to) {
    if (from.status() != 0 || to.status() != 0)
        return from.status() != 0 ? from.status() : to.status();
    return wiq_rename(from.c_str(), to.c_str());
}
/** The kinds of access that has_access() can test. */
enum class access_mode { exists = 0, write = 2, read = 4, read_write = 6 };
/** Tells whether a path exists and allows this kind of access, as wiq_access() does: also true for
 *  a path that cannot be converted. False for NULL or a text with a NUL inside. */
inline bool has_access(const text_arg& path, access_mode mode = access_mode::exists) {
    return path.c_str() != nullptr && wiq_access(path.c_str(), static_cast<int>(mode)) == 0;
}
/** Returns the directory of the running executable, or WIQ_ERR_NOT_FOUND (-3002) if it cannot be
 *  determined or when out of memory. */
inline result<std::string> install_dir() {
    return detail::taken_text(wiq_install_dir(), WIQ_ERR_NOT_FOUND);
}
/** Returns the user's home directory, or WIQ_ERR_NOT_FOUND if it cannot be determined or when out
 *  of memory. */
inline result<std::string> home_dir() {
    return detail::taken_text(wiq_home_dir(), WIQ_ERR_NOT_FOUND);
}
/** @} */

/** @name Path strings
 *  @{ */
/** Returns the part after the last separator. */
inline std::string_view base_name(std::string_view path) noexcept {
    const std::size_t at = path.find_last_of("\\/");
    return at == std::string_view::npos ? path : path.substr(at + 1);
}
/** Returns the directory of the last part, as wiq_dirname() does: "C:\\dir" for "C:\\dir\\f", and
 *  "" for "f". */
inline std::string dir_name(std::string path) {
    wiq_dirname(path.data());
    path.resize(std::strlen(path.c_str()));
    return path;
}
/** Tells whether a path begins with "\\" or has ":" as its second character. */
inline bool is_absolute(const text_arg& path) noexcept {
    return wiq_is_abs_path(path.c_str());
}
/** Tells whether a name contains neither "\\" nor "/". */
inline bool is_file_name(std::string_view name) noexcept {
    return name.find_first_of("\\/") == std::string_view::npos;
}
/** Joins parts with "\\" between them, as wiq_append_path() does. Returns the path, or a status of
 *  wiq_append_path(). */
template <class... Parts>
result<std::string> join_path(const Parts&... parts) {
    struct joined_text : wiq_strbuf {
        joined_text() noexcept : wiq_strbuf{} {}
        ~joined_text() { wiq_strbuf_finalize(this); }
    } buffer;
    i32 status = 0;
    const auto append = [&](const text_arg& part) {
        if (status >= 0)
            status = part.status() != 0 ? part.status() : wiq_append_path(&buffer, part.c_str());
    };
    (append(parts), ...);
    if (status < 0)
        return result<std::string>::failure(status);
    return std::string(buffer.data == nullptr ? "" : buffer.data, buffer.len);
}
/** @} */

/** @name Encodings
 *  @{ */
/** Converts wide text to UTF-8. Returns the text; WIQ_ERR_ENCODING (-5006) for text that is not
 *  valid UTF-16 (Windows) or UTF-32 (Linux); WIQ_ERR_INVALID_ARG (-7000) for a NUL inside;
 *  WIQ_ERR_NO_MEMORY (-5000) when out of memory. */
inline result<std::string> to_utf8(const std::wstring& wide) {
    if (wide.find(L'\0') != std::wstring::npos)
        return result<std::string>::failure(WIQ_ERR_INVALID_ARG);
    u32 err = 0;
    char* const text = narrow(wide.c_str(), &err);
    return detail::taken_text(text, err == 8 ? WIQ_ERR_NO_MEMORY : WIQ_ERR_ENCODING);
}
/** Converts UTF-8 to wide text; invalid bytes become U+FFFD. Returns the text; WIQ_ERR_INVALID_ARG
 *  for NULL or a NUL inside; WIQ_ERR_NO_MEMORY when out of memory. */
inline result<std::wstring> to_wide(const text_arg& text) {
    if (text.c_str() == nullptr)
        return result<std::wstring>::failure(text.status() != 0 ? text.status()
                                                                : WIQ_ERR_INVALID_ARG);
    const owned<wchar_t, detail::free_memory> wide(widen(text.c_str(), nullptr));
    return wide ? result<std::wstring>(std::wstring(wide.get()))
                : result<std::wstring>::failure(WIQ_ERR_NO_MEMORY);
}
/** The arguments of wmain(), the entry point of Windows, converted to UTF-8:
 *  `ke::arguments::of(count, wide)`. */
class arguments {
  public:
    /** Converts the arguments. Returns WIQ_ERR_ENCODING if one is not valid UTF-16 (Windows) or
     *  UTF-32 (Linux), and WIQ_ERR_NO_MEMORY when out of memory. */
    static result<arguments> of(int count, const wchar_t* const* wide) noexcept {
        u32 err = 0;
        char** const texts = narrow_array(count, wide, &err);
        if (err != 0)
            return result<arguments>::failure(err == 8 ? WIQ_ERR_NO_MEMORY : WIQ_ERR_ENCODING);
        return arguments(texts == nullptr ? 0 : count, texts);
    }
    arguments(const arguments&) = delete;
    arguments& operator=(const arguments&) = delete;
    /** @name Moves
     *  @{ */
    /** The move constructor leaves the other one empty; a move assignment exchanges the two. */
    arguments(arguments&& other) noexcept
        : count_(std::exchange(other.count_, 0)), texts_(std::exchange(other.texts_, nullptr)) {}
    arguments& operator=(arguments&& other) & noexcept {
        std::swap(count_, other.count_);
        std::swap(texts_, other.texts_);
        return *this;
    }
    /** @} */
    ~arguments() { free_narrow_array(count_, texts_, nullptr); }

    /** Returns the number of arguments. */
    int count() const noexcept { return count_; }
    /** Returns the array, still owned by this object. It is like that of main(), but has no NULL at
     *  its end. */
    char** get() const& noexcept { return texts_; }
    char** get() && = delete;
    /** @name Walking the texts: `for (std::string_view word : words)`
     *  @{ */
    /** Returns a pointer to the first text or after the last one. */
    const char* const* begin() const& noexcept { return texts_; }
    const char* const* end() const& noexcept { return texts_ + count_; }
    /** @} */

  private:
    arguments(int count, char** texts) noexcept : count_(count), texts_(texts) {}

    int count_;
    char** texts_;
};
namespace detail {
template <>
inline constexpr bool lends<arguments> = true;
}  // namespace detail
/** @} */

/** @name Schema files
 *  @{ */
/** Returns the name of the schema file of a command's input or output. */
inline result<std::string> schema_name(const text_arg& command, bool input) {
    if (command.status() != 0)
        return result<std::string>::failure(command.status());
    u32 err = 0;
    char* const name = wiq_schema_filename(command.c_str(), input, &err);
    return detail::taken_text(name, err != 0 ? static_cast<i32>(err) : WIQ_ERR_INVALID_ARG);
}
/** Opens a schema file in the folder "schemas" beside the running executable or, if that fails, in
 *  "..\\schemas". Returns the stream, or a status of wiq_schema_open(). */
inline result<file> open_schema(const text_arg& name) {
    if (name.status() != 0)
        return result<file>::failure(name.status());
    u32 err = 0;
    std::FILE* const stream = wiq_schema_open(name.c_str(), &err);
    return stream != nullptr ? result<file>(file(stream))
                             : result<file>::failure(static_cast<i32>(err));
}
/** Loads a schema file as a document. Returns the document, or a status of wiq_load_schema(). */
inline result<json> load_schema(const text_arg& name) {
    if (name.status() != 0)
        return result<json>::failure(name.status());
    u32 err = 0;
    wiq_json_t* const node = wiq_load_schema(name.c_str(), &err);
    return node != nullptr ? result<json>(json::share(node))
                           : result<json>::failure(static_cast<i32>(err));
}
/** @} */

/** @} */

}  // namespace ke

#endif
