/**
 * @file json_view.hpp
 * Reads documents: ke::json_view is a borrowed view of a value, which costs no more than a pointer,
 * and ke::pointer and ke::path are the JSON pointers that look-ups take. Include json.hpp instead
 * of this header; it adds ke::json, the owner of a document, and everything that changes one.
 */
#ifndef KE_JSON_VIEW_HPP
#define KE_JSON_VIEW_HPP

#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

#include "ke/status.hpp"
#include "ke/text_arg.hpp"
#include "ke/uint128.hpp"
#include "ke_utils/json.h"

// These attributes let clang warn about a view of a temporary document, which is gone at the end of
// the statement.
#if defined(__clang__)
#define KE_BORROWS_ [[gsl::Pointer]]
#define KE_OWNS_ [[gsl::Owner]]
#else
#define KE_BORROWS_
#define KE_OWNS_
#endif

namespace ke {

/** @addtogroup cpp
 *  @{ */

class json;
class json_view;
class json_ref;
template <class View>
class json_elements;
template <class View>
class json_members;

/** The kinds of a value, numbered as in the C interface. */
enum class kind : u16 {
    null,            /**< null */
    object,          /**< object */
    array,           /**< array */
    signed_64,       /**< signed 64-bit integer */
    unsigned_64,     /**< unsigned 64-bit integer */
    unsigned_128,    /**< unsigned 128-bit integer */
    real,            /**< double */
    string,          /**< string */
    yes,             /**< true */
    no,              /**< false */
    reference,       /**< `$ref` */
    nothing = 0xFFFF /**< an empty view */
};

/** Flags of the functions that write text; combine them with `|`. */
enum dump_flag : u32 {
    pretty = WIQ_JSON_DUMP_PRETTY,                /**< one child per line, two spaces per level */
    sort_keys = WIQ_JSON_DUMP_SORT_KEYS,          /**< members sorted by key */
    u128_as_object = WIQ_JSON_DUMP_U128_AS_OBJECT /**< 128-bit numbers as {"u128":"..."} */
};
/** Combines flags. */
constexpr dump_flag operator|(dump_flag a, dump_flag b) noexcept {
    return static_cast<dump_flag>(static_cast<u32>(a) | static_cast<u32>(b));
}
/** Flags of the functions that parse; combine them with `|`. */
enum load_flag : u32 {
    allow_trailing = WIQ_JSON_ALLOW_TRAILING,      /**< stops after one value; text may follow it */
    reject_duplicates = WIQ_JSON_REJECT_DUPLICATES /**< fails if a key occurs twice in an object */
};
/** Combines flags. */
constexpr load_flag operator|(load_flag a, load_flag b) noexcept {
    return static_cast<load_flag>(static_cast<u32>(a) | static_cast<u32>(b));
}

/** The flags that a function takes: those declared above, or one flag of the C interface. A number
 *  does not compile, since it would be a mistake: `dump(4)` would mean a width, and
 *  `parse(text, size)` would mean a length. */
template <class Own, class C>
class flag_set {
  public:
    /** Makes a set without flags. */
    constexpr flag_set() noexcept = default;
    /** Makes a set of one or more flags. */
    constexpr flag_set(Own flags) noexcept : bits_(static_cast<u32>(flags)) {}
    /** Makes a set of one flag of the C interface. */
    constexpr flag_set(C flag) noexcept : bits_(static_cast<u32>(flag)) {}
    /** Does not compile: a number is not a flag. */
    template <class T, std::enable_if_t<std::is_arithmetic_v<T>, int> = 0>
    constexpr flag_set(T) noexcept {
        static_assert(detail::always_false<T>,
                      "flags have names, as ke::pretty | ke::sort_keys; a number is neither a "
                      "width nor the length of a text");
    }
    /** Returns the flags as the C interface takes them. */
    template <class T = u32>
    constexpr T bits() const noexcept {
        return static_cast<T>(bits_);
    }

  private:
    u32 bits_ = 0;
};
using dump_flags = flag_set<dump_flag, wiq_json_dump_flag>; /**< how text is written */
using load_flags = flag_set<load_flag, wiq_json_load_flag>; /**< how text is parsed */

/** The text of a JSON pointer. Write "/a/b"_ptr for a literal, and ke::pointer{text} for a text
 *  that is known only at run time. It refers to the text and does not own it. */
struct KE_BORROWS_ pointer {
    const char* text; /**< such as "/a/b"; "" names the whole document; NULL names nothing */
};

inline namespace literals {
/** Makes a JSON pointer from a literal: "/a/b"_ptr. */
constexpr pointer operator""_ptr(const char* text, std::size_t) noexcept {
    return {text};
}
}  // namespace literals

/**
 * A JSON pointer that is built from its steps and escapes them. For example,
 * `ke::path() / "sensors" / 0 / "a/b"` is "/sensors/0/a~1b". It can be passed wherever a
 * ke::pointer is taken. A path that begins with a NULL pointer, or has a step with a NUL inside,
 * names nothing.
 */
class KE_OWNS_ path {
  public:
    /** Makes a path that names the whole document. */
    path() = default;
    /** Makes a path that begins with a pointer. */
    path(pointer start)
        : text_(start.text == nullptr ? "" : start.text), names_nothing_(start.text == nullptr) {}
    /** Appends a step to a member. */
    path& operator/=(std::string_view key) {
        text_ += '/';
        for (const char c : key) {
            if (c == '~')
                text_ += "~0";
            else if (c == '/')
                text_ += "~1";
            else
                text_ += c;
            names_nothing_ = names_nothing_ || c == '\0';
        }
        return *this;
    }
    /** Appends a step to an element. */
    template <class I, std::enable_if_t<std::is_integral_v<I> && !std::is_same_v<I, char> &&
                                            !std::is_same_v<I, bool>,
                                        int> = 0>
    path& operator/=(I index) {
        text_ += '/' + std::to_string(index);
        return *this;
    }
    /** Returns a path with one more step. */
    template <class Step>
    friend path operator/(path from, const Step& step) {
        return std::move(from /= step);
    }
    /** Returns the text. */
    const std::string& str() const noexcept { return text_; }
    /** Returns a pointer that refers to this path's text. */
    operator pointer() const noexcept { return {names_nothing_ ? nullptr : text_.c_str()}; }

  private:
    std::string text_;
    bool names_nothing_ = false;
};

namespace detail {

// The first fields of a node. Their layout is part of the interface (json.h, "JSON values").
struct node_header {
    u16 tag;
    u8 flags;
    i32 count;
    wiq_json_t* parent;
};
inline node_header header_of(const wiq_json_t* node) noexcept {
    node_header header;
    std::memcpy(&header, static_cast<const void*>(node), sizeof header);
    return header;
}
inline wiq_json_t* parent_of(const wiq_json_t* node) noexcept {
    return node == nullptr ? nullptr : header_of(node).parent;
}

template <class T>
inline constexpr bool is_scalar =
    is_integer<T> || std::is_floating_point_v<T> || std::is_same_v<T, bool>;
template <class T>
inline constexpr bool is_uint128 = std::is_same_v<T, uint128> || std::is_same_v<T, wiq_uint128>;
template <class T>
inline constexpr bool is_text = std::is_convertible_v<const T&, std::string_view>;

// Tells whether a value of this type refers to the document that it was read from.
template <class T>
inline constexpr bool borrows = std::is_same_v<T, json_view> || std::is_same_v<T, json_ref>;
template <>
inline constexpr bool borrows<std::string_view> = true;
template <template <class...> class Holder, class... Held>
inline constexpr bool borrows<Holder<Held...>> = (borrows<Held> || ...);
template <template <class, std::size_t> class Holder, class Held, std::size_t N>
inline constexpr bool borrows<Holder<Held, N>> = borrows<Held>;

// Converts an index to the type that the C interface takes. Returns false if no array can have it.
template <class I>
constexpr bool index_of(I index, i32& out) noexcept {
    static_assert(is_integer<I>, "an element is named by an integer");
    out = static_cast<i32>(index);
    return static_cast<I>(out) == index && (out < 0) == (index < I{});
}

}  // namespace detail

/**
 * A borrowed view of a value, through which the value can be read.
 *
 * A view takes no reference. It is valid only while the document exists and the value stays where
 * it is; share() makes an owner of the value, which keeps it alive.
 *
 * A view is empty if it was default-constructed or comes from a look-up that found nothing. An
 * empty view is false in a condition, its kind is ke::kind::nothing, its size is 0, look-ups in it
 * find nothing, and functions that return a status or result return ke::err_empty.
 *
 * Look-ups, ranges and the functions that write treat a `$ref` reference as a value of its own and
 * do not follow it. resolve() follows one, and json_ref::expand() replaces them all.
 */
class KE_BORROWS_ json_view {
  public:
    /** Makes an empty view. */
    constexpr json_view() noexcept = default;
    /** Views a node of the C interface; NULL makes an empty view. */
    constexpr explicit json_view(const wiq_json_t* node) noexcept
        : node_(const_cast<wiq_json_t*>(node)) {}
    /** Views the same value. */
    constexpr json_view(const json_view&) noexcept = default;
    /** Views another value from now on. The result of a look-up cannot be assigned to, since that
     *  would store nothing in the document. */
    json_view& operator=(const json_view&) & noexcept = default;

    /** Tells whether there is a value. */
    explicit operator bool() const noexcept { return node_ != nullptr; }
    /** Returns the node, still owned by the document; NULL if the view is empty. */
    wiq_json_t* node() const noexcept { return node_; }

    /** @name Kinds
     *  @{ */
    /** Returns the kind. */
    ke::kind kind() const noexcept {
        return node_ == nullptr ? ke::kind::nothing
                                : static_cast<ke::kind>(detail::header_of(node_).tag);
    }
    bool is_null() const noexcept { return wiq_json_is_null(node_); }
    bool is_object() const noexcept { return wiq_json_is_obj(node_); }
    bool is_array() const noexcept { return wiq_json_is_array(node_); }
    bool is_string() const noexcept { return wiq_json_is_str(node_); }
    bool is_bool() const noexcept { return wiq_json_is_bool(node_); }
    bool is_integer() const noexcept { return wiq_json_is_int(node_); }
    bool is_number() const noexcept { return wiq_json_is_num(node_); }
    bool is_reference() const noexcept { return wiq_json_is_jref(node_); }
    bool is_weak() const noexcept { return wiq_json_has_weak_refs(node_); }
    const char* type_name() const noexcept { return wiq_json_type_string(node_); }
    /** @} */

    /**
     * Returns the value as a T. T can be bool, every arithmetic type except the character types,
     * ke::uint128, std::string, std::string_view (which refers to the document's text), the
     * containers of the standard library, std::optional (null and an empty view are read as an
     * empty one), and types with a from_json() (see json_convert.hpp).
     * @return the value; ke::err_empty for an empty view; WIQ_ERR_WRONG_TYPE (-7018) for a value of
     *         another kind; WIQ_ERR_NOT_INTEGRAL (-7002) for a fraction where T is an integer;
     *         WIQ_ERR_RANGE (-7001) for a number that T cannot hold, such as an integer that a
     *         double or float would round, or a double that is too large for a float
     */
    template <class T>
    result<T> to() const;

    /** @name Look-ups
     *  Each returns an empty view if there is no such value, or when out of memory to copy a key or
     *  text that is a std::string_view of 256 bytes or more; get() tells the two cases apart.
     *  @{ */
    /** Returns the member under a key. */
    json_view operator[](const text_arg& key) const noexcept {
        return json_view(wiq_json_obj_get_ext(node_, key.c_str(), 0, nullptr));
    }
    /** Returns the element at an index; a negative index counts from the end. */
    template <class I, std::enable_if_t<std::is_integral_v<I>, int> = 0>
    json_view operator[](I index) const noexcept {
        i32 position = 0;
        return detail::index_of(index, position)
                   ? json_view(wiq_json_array_get_ext(node_, position, 0, nullptr))
                   : json_view();
    }
    /** Returns the value that a JSON pointer names. */
    json_view operator[](pointer where) const noexcept { return at(where); }
    /** Returns the value that a JSON pointer names. */
    json_view at(pointer where) const noexcept {
        return json_view(wiq_json_ptr_get(node_, where.text, nullptr, nullptr));
    }
    /** Returns the first element that is equal to a value. */
    json_view find(json_view value) const noexcept {
        return json_view(wiq_json_array_find(node_, value.node_));
    }
    /** Returns the first element that is a string with this text. */
    json_view find_text(const text_arg& text) const noexcept {
        return json_view(wiq_json_array_find_str(node_, text.c_str()));
    }
    /** @} */

    /**
     * Looks up a key, an index or a JSON pointer, and returns the value there as to() does.
     * @return the value; a status of to(); or the status of the look-up, which tells a missing
     *         member (WIQ_ERR_KEY_NOT_FOUND, -1037) from a missing element
     *         (WIQ_ERR_INDEX_OUT_OF_RANGE, -1038) and from a look-up in a value that is not such a
     *         container. For a literal key that is missing and begins with "/", the status is
     *         WIQ_ERR_PTR_SYNTAX (-7019), since it was probably meant as a JSON pointer.
     */
    template <class T, class Where>
    result<T> get(const Where& where) const {
        wiq_json_t* found = nullptr;
        const status looked = look(where, found);
        if (looked.failed())
            return looked;
        return json_view(found).to<T>();
    }
    /** Does what get() does, but returns `otherwise` after any failure. The type of `otherwise` is
     *  the type that is read: with 0, which is an int, the values 5000000000 and 2.5 count as
     *  missing. */
    template <class T, class Where>
    T value_or(const Where& where, T otherwise) const {
        return get<T>(where).value_or(std::move(otherwise));
    }
    /** Returns the text at a key, an index or a JSON pointer, or `otherwise` after any failure. */
    template <class Where>
    std::string value_or(const Where& where, const char* otherwise) const {
        const auto text = get<std::string_view>(where);
        return std::string(text ? *text : std::string_view(otherwise));
    }

    /** Tells whether an object has a member under this key. */
    bool contains(const text_arg& key) const noexcept {
        return wiq_json_obj_has_key(node_, key.c_str());
    }
    /** Tells whether a JSON pointer names a value. */
    bool contains(pointer where) const noexcept { return static_cast<bool>(at(where)); }
    /** Returns the number of members of an object or of elements of an array; 0 for anything
     *  else. */
    i32 size() const noexcept {
        const i32 size = is_object() ? wiq_json_obj_size(node_) : wiq_json_array_size(node_);
        return size < 0 ? 0 : size;
    }
    /** Tells whether size() is 0. */
    bool empty() const noexcept { return size() == 0; }

    /** @name Ranges
     *  A range is empty if the value is not such a container. It keeps its container alive.
     *  @{ */
    /** Returns the elements: `for (auto element : list.elements())`. */
    json_elements<json_view> elements() const;
    /** Returns the members in the object's order: `for (auto [key, value] : object.members())`. */
    json_members<json_view> members() const;
    /** @} */

    /** @name The value's position
     *  @{ */
    /** Returns the strong container that the value is in; an empty view if it is in none. */
    json_view parent() const noexcept { return json_view(detail::parent_of(node_)); }
    /** Returns the outermost container around the value, or the value itself if it is in none. */
    json_view root() const noexcept {
        json_view top = *this;
        while (json_view above = top.parent())
            top = above;
        return top;
    }
    /** Returns the value's key in its parent object, which still owns the text; NULL if the value
     *  is not in an object. */
    const char* parent_key() const noexcept { return wiq_json_parent_key(node_); }
    /** Returns the value's index in its parent array; -1 if the value is not in an array. */
    i32 parent_index() const noexcept { return wiq_json_parent_index(node_); }
    /** Returns the JSON pointer that names the value in its document. */
    result<std::string> location() const {
        char* text = nullptr;
        const i32 length = wiq_json_ptr(node_, &text);
        if (length < 0)
            return result<std::string>::failure(node_ == nullptr ? err_empty : length);
        const c_text owner(text);
        return std::string(text, static_cast<std::size_t>(length));
    }
    /** @} */

    /** @name References
     *  @{ */
    /** Returns the JSON pointer of a reference, which still owns the text; NULL for anything
     *  else. */
    const char* reference_text() const noexcept { return wiq_json_jref_uri(node_); }
    /** Follows references to the first value that is not a reference, and returns it. A value that
     *  is not a reference is returned itself. */
    result<json_view> resolve() const {
        if (node_ == nullptr)
            return result<json_view>::failure(err_empty);
        if (!is_reference())
            return *this;
        u32 err = 0;
        wiq_json_t* target = wiq_json_jref_deref(node_, &err);
        return err == 0 ? result<json_view>(json_view(target))
                        : result<json_view>::failure(static_cast<i32>(err));
    }
    /**
     * Counts the values that this value would have after json_ref::expand(): itself, and every
     * value below it. Nothing is made or changed. References to containers that hold references can
     * multiply the values: 60 lines of text can become 2^60 values, which would take all memory.
     * Measure untrusted documents before you expand them, or give expand() a limit.
     *
     * A text counts as one value, however long it is. If this value is a reference, its target's
     * values are counted, although expand() does not replace this value itself. Time and extra
     * memory are linear in the document, whatever the result, and documents of any depth can be
     * counted.
     * @return the number of values, or 2^64 - 1 if there are more; ke::err_empty for an empty view;
     *         WIQ_ERR_JREF_CYCLE (-1052) for references, or weak containers, that lead back to
     *         themselves; WIQ_ERR_BAD_JSON_TYPE (-7014) for a damaged value;
     *         WIQ_ERR_NO_MEMORY (-5000) when out of memory; for a reference that leads nowhere the
     *         status of the look-up, such as WIQ_ERR_KEY_NOT_FOUND
     */
    result<u64> expanded_size() const noexcept;
    /** @} */

    /** Returns an owner of the value, which may be in a container. It costs one atomic addition. */
    json share() const noexcept;
    /** Returns a deep copy. */
    result<json> clone() const;
    /** Tells whether the value is contained in another one, as wiq_json_subset() does; `flags` are
     *  those of ::wiq_json_subset_flag. */
    bool subset_of(json_view other, u32 flags = 0) const noexcept {
        return wiq_json_subset(node_, other.node_, flags);
    }

    /** @name Writing the document as text
     *  @{ */
    /** Returns the document's text. */
    result<std::string> dump(dump_flags flags = {}) const;
    /** Appends the text to a buffer of the C interface. */
    status dump_to(wiq_strbuf* buffer, dump_flags flags = {}) const;
    /** Writes the text to an open stream, which is neither flushed nor closed. */
    status dump_to(std::FILE* stream, dump_flags flags = {}) const;
    /** Writes the compact text to a stream of the standard library. A failure sets its failbit. */
    template <class Traits>
    friend std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& out,
                                                        json_view value) {
        const result<std::string> text = value.dump();
        if (text)
            out << *text;
        else
            out.setstate(std::basic_ostream<char, Traits>::failbit);
        return out;
    }
    /** @} */

    /** @name Equality
     *  @{ */
    /** Tells whether two values are equal, as wiq_json_equal() does. */
    friend bool operator==(json_view a, json_view b) noexcept {
        return wiq_json_equal(a.node_, b.node_);
    }
    friend bool operator!=(json_view a, json_view b) noexcept { return !(a == b); }
    /** Compares with a number, a bool or a text: true if to() can read the value as one of that
     *  type, without loss, and it is equal. */
    template <class T,
              std::enable_if_t<detail::is_scalar<T> || detail::is_uint128<T> || detail::is_text<T>,
                               int> = 0>
    friend bool operator==(json_view a, const T& b) {
        return a.equals(b);
    }
    template <class T,
              std::enable_if_t<detail::is_scalar<T> || detail::is_uint128<T> || detail::is_text<T>,
                               int> = 0>
    friend bool operator!=(json_view a, const T& b) {
        return !a.equals(b);
    }
#if !defined(__cpp_impl_three_way_comparison)
    template <class T,
              std::enable_if_t<detail::is_scalar<T> || detail::is_uint128<T> || detail::is_text<T>,
                               int> = 0>
    friend bool operator==(const T& a, json_view b) {
        return b.equals(a);
    }
    template <class T,
              std::enable_if_t<detail::is_scalar<T> || detail::is_uint128<T> || detail::is_text<T>,
                               int> = 0>
    friend bool operator!=(const T& a, json_view b) {
        return !b.equals(a);
    }
    friend bool operator==(std::nullptr_t, json_view b) noexcept {
        return b == nullptr;
    }
    friend bool operator!=(std::nullptr_t, json_view b) noexcept {
        return b != nullptr;
    }
#endif
    /** Compares with nullptr: true if the value is null or the view is empty, as a null pointer
     *  would be. is_null() tells the two apart. */
    friend bool operator==(json_view a, std::nullptr_t) noexcept {
        return !a || a.is_null();
    }
    friend bool operator!=(json_view a, std::nullptr_t) noexcept {
        return !(a == nullptr);
    }
    /** @} */

  protected:
    // NOLINTNEXTLINE(misc-non-private-member-variables-in-classes): json_ref and json are views
    wiq_json_t* node_ = nullptr; /**< the node that is viewed */

  private:
    template <class T>
    bool equals(const T& other) const {
        if constexpr (detail::is_text<T>) {
            const auto text = to<std::string_view>();
            return text && *text == std::string_view(other);
        } else if constexpr (detail::is_uint128<T>) {
            const auto number = to<uint128>();
            return number && *number == uint128(other);
        } else {
            const auto value = to<T>();
            return value && *value == other;
        }
    }
    status look(const text_arg& key, wiq_json_t*& found) const noexcept {
        if (node_ == nullptr)
            return err_empty;
        if (key.status() != 0)
            return key.status();
        u32 err = 0;
        found = wiq_json_obj_get_ext(node_, key.c_str(), 0, &err);
        const bool missing = static_cast<i32>(err) == WIQ_ERR_KEY_NOT_FOUND;
        return missing && key.is_literal_path() ? static_cast<i32>(WIQ_ERR_PTR_SYNTAX)
                                                : static_cast<i32>(err);
    }
    template <class I, std::enable_if_t<std::is_integral_v<I>, int> = 0>
    status look(I index, wiq_json_t*& found) const noexcept {
        if (node_ == nullptr)
            return err_empty;
        i32 position = 0;
        if (!detail::index_of(index, position))
            return WIQ_ERR_INDEX_OUT_OF_RANGE;
        u32 err = 0;
        found = wiq_json_array_get_ext(node_, position, 0, &err);
        return static_cast<i32>(err);
    }
    status look(pointer where, wiq_json_t*& found) const noexcept {
        if (node_ == nullptr)
            return err_empty;
        u32 err = 0;
        found = wiq_json_ptr_get(node_, where.text, &err, nullptr);
        return static_cast<i32>(err);
    }
};

/** @} */

}  // namespace ke

#endif
