/**
 * @file json_view.hpp
 * Reading a document: ke::json_view, a borrowed pointer that costs what a pointer costs, the JSON pointers
 * that look-ups take, and the ranges over members and elements. The owner of a document, ke::json, and
 * everything that changes one are in json.hpp; include that.
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

// Lets clang see a view of a document that is gone at the end of the line.
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

/** The kinds of a value, as the C interface numbers them. */
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

/** Flags of the calls that write, to be combined with `|`. */
enum dump_flag : u32 {
    pretty = WIQ_JSON_DUMP_PRETTY,       /**< one member or element a line, two blanks a level */
    sort_keys = WIQ_JSON_DUMP_SORT_KEYS, /**< members by key */
    u128_as_object = WIQ_JSON_DUMP_U128_AS_OBJECT /**< 128-bit numbers as objects of two halves */
};
/** Combines flags. */
constexpr dump_flag operator|(dump_flag a, dump_flag b) noexcept {
    return static_cast<dump_flag>(static_cast<u32>(a) | static_cast<u32>(b));
}
/** Flags of the calls that parse, to be combined with `|`. */
enum load_flag : u32 {
    allow_trailing = WIQ_JSON_ALLOW_TRAILING, /**< reads one value and stops */
    reject_duplicates =
        WIQ_JSON_REJECT_DUPLICATES /**< an object's key that comes twice is a failure */
};
/** Combines flags. */
constexpr load_flag operator|(load_flag a, load_flag b) noexcept {
    return static_cast<load_flag>(static_cast<u32>(a) | static_cast<u32>(b));
}

/** Flags as calls take them: those above, or one of the C interface. A number is refused: in `dump(4)` it would be meant
 *  for blanks, in `parse(text, size)` for a length. */
template <class Own, class C>
class flag_set {
  public:
    /** None. */
    constexpr flag_set() noexcept = default;
    /** One or more. */
    constexpr flag_set(Own flags) noexcept : bits_(static_cast<u32>(flags)) {}
    /** One of the C interface. */
    constexpr flag_set(C flag) noexcept : bits_(static_cast<u32>(flag)) {}
    /** A number is refused. */
    template <class T, std::enable_if_t<std::is_arithmetic_v<T>, int> = 0>
    constexpr flag_set(T) noexcept {
        static_assert(detail::always_false<T>,
                      "flags have names, as ke::pretty | ke::sort_keys; a number is neither a "
                      "width nor the length of a text");
    }
    /** As the C interface takes them. */
    template <class T = u32>
    constexpr T bits() const noexcept {
        return static_cast<T>(bits_);
    }

  private:
    u32 bits_ = 0;
};
using dump_flags = flag_set<dump_flag, wiq_json_dump_flag>; /**< how text is written */
using load_flags = flag_set<load_flag, wiq_json_load_flag>; /**< how text is parsed */

/** JSON pointer text; write it as "/a/b"_ptr, or as ke::pointer{text} for one that is known at run time only.
 *  Refers to the text, does not own it. */
struct KE_BORROWS_ pointer {
    const char* text; /**< as "/a/b"; "" is the whole document; NULL names nothing */
};

inline namespace literals {
/** A JSON pointer. */
constexpr pointer operator""_ptr(const char* text, std::size_t) noexcept {
    return {text};
}
}  // namespace literals

/**
 * A JSON pointer built from its steps, which are escaped: `ke::path() / "sensors" / 0 / "a/b"` is
 * "/sensors/0/a~1b". Taken wherever a ke::pointer is. A step with a NUL inside names nothing.
 */
class KE_OWNS_ path {
  public:
    /** The whole document. */
    path() = default;
    /** A pointer to start from. */
    path(pointer start) : text_(start.text) {}
    /** A step to a member. */
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
    /** A step to an element. */
    template <class I, std::enable_if_t<std::is_integral_v<I> && !std::is_same_v<I, char> &&
                                            !std::is_same_v<I, bool>,
                                        int> = 0>
    path& operator/=(I index) {
        text_ += '/' + std::to_string(index);
        return *this;
    }
    /** A longer pointer. */
    template <class Step>
    friend path operator/(path from, const Step& step) {
        return std::move(from /= step);
    }
    /** The text. */
    const std::string& str() const noexcept { return text_; }
    /** Lent to a call. */
    operator pointer() const noexcept { return {names_nothing_ ? nullptr : text_.c_str()}; }

  private:
    std::string text_;
    bool names_nothing_ = false;
};

namespace detail {

// The first fields of a node, whose layout is part of the interface (json.h, "A node in memory").
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

// Whether a value of this type refers to the document that it was read of.
template <class T>
inline constexpr bool borrows = std::is_same_v<T, json_view> || std::is_same_v<T, json_ref>;
template <>
inline constexpr bool borrows<std::string_view> = true;
template <template <class...> class Holder, class... Held>
inline constexpr bool borrows<Holder<Held...>> = (borrows<Held> || ...);
template <template <class, std::size_t> class Holder, class Held, std::size_t N>
inline constexpr bool borrows<Holder<Held, N>> = borrows<Held>;

// An index as the C interface takes it; false for one that no array can have.
template <class I>
constexpr bool index_of(I index, i32& out) noexcept {
    static_assert(is_integer<I>, "an element is named by an integer");
    out = static_cast<i32>(index);
    return static_cast<I>(out) == index && (out < 0) == (index < I{});
}

struct c_callback {  // what a walk of the C interface carries
    void* state;
};

}  // namespace detail

/**
 * A borrowed look at a value: a pointer that reads. It takes no reference and lives no longer than what it
 * looks at: the document, as long as the value stays in its place. share() makes an owner of it.
 *
 * Empty (default-made, or of a look-up that found nothing) it is false, and every question has the answer
 * of "nothing": no kind, size 0, look-ups that find nothing, ke::err_empty.
 *
 * Look-ups, ranges and writing mean the value that stands in the document, be it a reference; resolve()
 * follows one, json_ref::expand() replaces them all.
 */
class KE_BORROWS_ json_view {
  public:
    /** Nothing. */
    constexpr json_view() noexcept = default;
    /** A node of the C interface; NULL is nothing. */
    constexpr explicit json_view(const wiq_json_t* node) noexcept
        : node_(const_cast<wiq_json_t*>(node)) {}
    /** Looks at the same. */
    constexpr json_view(const json_view&) noexcept = default;
    /** Looks elsewhere. The result of a look-up cannot be assigned to: nothing would be stored. */
    json_view& operator=(const json_view&) & noexcept = default;

    /** Whether there is a value. */
    explicit operator bool() const noexcept { return node_ != nullptr; }
    /** The node itself, lent. */
    wiq_json_t* node() const noexcept { return node_; }

    /** @name Kinds
     *  @{ */
    /** The kind. */
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
     * The value as T, if it can be read as that: bool, every arithmetic type but the character types,
     * ke::uint128, std::string, std::string_view (lent), the containers of the standard, std::optional
     * (null is empty), and types with a from_json() (json_convert.hpp).
     * @return the value; ke::err_empty; WIQ_ERR_WRONG_TYPE for a value of another kind; WIQ_ERR_NOT_INTEGRAL
     *         for a fraction where an integer is asked for; WIQ_ERR_RANGE for a number that T does not hold
     *         (an integer that a double or float would not hold exactly; a double beyond float)
     */
    template <class T>
    result<T> to() const;

    /** @name Look-ups; empty where there is nothing (also for a std::string_view of 256 bytes or more that there is
     *  no memory to copy: get() tells)
     *  @{ */
    /** The member under a key. */
    json_view operator[](const text_arg& key) const noexcept {
        return json_view(wiq_json_obj_get_ext(node_, key.c_str(), 0, nullptr));
    }
    /** The element at an index; a negative one counts from the end. */
    template <class I, std::enable_if_t<std::is_integral_v<I>, int> = 0>
    json_view operator[](I index) const noexcept {
        i32 place = 0;
        return detail::index_of(index, place)
                   ? json_view(wiq_json_array_get_ext(node_, place, 0, nullptr))
                   : json_view();
    }
    /** The value that a JSON pointer names. */
    json_view operator[](pointer where) const noexcept { return at(where); }
    /** The same. */
    json_view at(pointer where) const noexcept {
        return json_view(wiq_json_ptr_get(node_, where.text, nullptr, nullptr));
    }
    /** The first element that is equal to a value. */
    json_view find(json_view value) const noexcept {
        return json_view(wiq_json_array_find(node_, value.node_));
    }
    /** The first string element with this text. */
    json_view find_text(const text_arg& text) const noexcept {
        return json_view(wiq_json_array_find_str(node_, text.c_str()));
    }
    /** @} */

    /**
     * The value at a key, index or pointer as T: to() with the status of the look-up, which tells a missing
     * member (WIQ_ERR_KEY_NOT_FOUND) from a missing element (WIQ_ERR_INDEX_OUT_OF_RANGE) and from a step
     * into something else. A literal key that is missing and begins with "/" was meant for a pointer:
     * WIQ_ERR_PTR_SYNTAX.
     */
    template <class T, class Where>
    result<T> get(const Where& where) const {
        wiq_json_t* found = nullptr;
        const status looked = look(where, found);
        if (looked.failed())
            return looked;
        return json_view(found).to<T>();
    }
    /** The same, or another value in its place, which says the type: with 0, a value of 5000000000 or of 2.5 is
     *  as good as missing. */
    template <class T, class Where>
    T value_or(const Where& where, T otherwise) const {
        return get<T>(where).value_or(std::move(otherwise));
    }
    /** The text there, or another one. */
    template <class Where>
    std::string value_or(const Where& where, const char* otherwise) const {
        const auto text = get<std::string_view>(where);
        return std::string(text ? *text : std::string_view(otherwise));
    }

    /** Whether an object has a member under this key. */
    bool contains(const text_arg& key) const noexcept {
        return wiq_json_obj_has_key(node_, key.c_str());
    }
    /** Whether a JSON pointer names something. */
    bool contains(pointer where) const noexcept { return static_cast<bool>(at(where)); }
    /** Members of an object or elements of an array; 0 for everything else. */
    i32 size() const noexcept {
        const i32 size = is_object() ? wiq_json_obj_size(node_) : wiq_json_array_size(node_);
        return size < 0 ? 0 : size;
    }
    /** Whether size() is 0. */
    bool empty() const noexcept { return size() == 0; }

    /** @name Ranges, empty for what has no children; each keeps its container alive
     *  @{ */
    /** The elements: `for (auto element : list.elements())`. */
    json_elements<json_view> elements() const;
    /** The members in the object's order: `for (auto [key, value] : object.members())`. */
    json_members<json_view> members() const;
    /** @} */

    /** @name The value's place
     *  @{ */
    /** The strong container around it; empty if it stands free. */
    json_view parent() const noexcept { return json_view(detail::parent_of(node_)); }
    /** The outermost container around it, or the value itself. */
    json_view root() const noexcept {
        json_view top = *this;
        while (json_view above = top.parent())
            top = above;
        return top;
    }
    /** Its key in its parent object, lent; NULL without one. */
    const char* parent_key() const noexcept { return wiq_json_parent_key(node_); }
    /** Its index in its parent array; -1 without one. */
    i32 parent_index() const noexcept { return wiq_json_parent_index(node_); }
    /** Its JSON pointer. */
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
    /** The pointer text of a reference, lent; NULL for anything else. */
    const char* reference_text() const noexcept { return wiq_json_jref_uri(node_); }
    /** What a reference leads to in the end; any other value is its own answer. */
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
    /** @} */

    /** An owner of the value, wherever it stands; costs one atomic addition. */
    json share() const noexcept;
    /** A deep copy. */
    result<json> clone() const;
    /** Whether the value is contained in another one (flags of wiq_json_subset_flag). */
    bool subset_of(json_view other, u32 flags = 0) const noexcept {
        return wiq_json_subset(node_, other.node_, flags);
    }

    /** @name Writing the document as text
     *  @{ */
    /** As a string. */
    result<std::string> dump(dump_flags flags = {}) const;
    /** Behind what a buffer of the C interface holds. */
    status dump_to(wiq_strbuf* buffer, dump_flags flags = {}) const;
    /** To an open stream, neither flushed nor closed. */
    status dump_to(std::FILE* stream, dump_flags flags = {}) const;
    /** Compact, to a stream of the standard library; a failure sets its failbit. */
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

    /** @name Equality, as wiq_json_equal() has it
     *  @{ */
    /** Equality. */
    friend bool operator==(json_view a, json_view b) noexcept {
        return wiq_json_equal(a.node_, b.node_);
    }
    friend bool operator!=(json_view a, json_view b) noexcept { return !(a == b); }
    /** With a number, a bool or a text: whether the value reads as that without loss and is the same. */
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
    /** With nullptr: whether it is null or empty, as a pointer would be; is_null() tells them apart. */
    friend bool operator==(json_view a, std::nullptr_t) noexcept {
        return !a || a.is_null();
    }
    friend bool operator!=(json_view a, std::nullptr_t) noexcept {
        return !(a == nullptr);
    }
    /** @} */

  protected:
    // NOLINTNEXTLINE(misc-non-private-member-variables-in-classes): json_ref and json are views
    wiq_json_t* node_ = nullptr; /**< what is looked at */

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
        i32 place = 0;
        if (!detail::index_of(index, place))
            return WIQ_ERR_INDEX_OUT_OF_RANGE;
        u32 err = 0;
        found = wiq_json_array_get_ext(node_, place, 0, &err);
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
