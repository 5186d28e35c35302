/**
 * @file ke_utils.hpp
 * The C interface in C++17 clothes: owning handles, std::string_view, range-for, results that carry their
 * status. Header-only; every call below is one or a few calls of the C functions, whose comments hold.
 *
 * @code
 * ke::result<ke::json> report = ke::json::parse(text);
 * if (!report) { complain(report.status(), report.line(), report.column()); return; }
 * for (auto [key, value] : report->members()) { ... }
 * ke::i64 hours = report->at("/power_on_hours"_ptr).to<ke::i64>().value_or(0);
 * @endcode
 *
 * Nothing here throws, and it compiles without exceptions, unless KE_UTILS_EXCEPTIONS is defined before
 * the header: result::value() then exists and throws ke::bad_result. (Containers of the standard library
 * that calls return may throw std::bad_alloc, as they always may.)
 *
 * Not here: the object system and visitors, paths and files; use the C headers for them.
 */
#ifndef KE_UTILS_HPP
#define KE_UTILS_HPP

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "ke_utils.h"

#if defined(KE_UTILS_EXCEPTIONS)
#include <stdexcept>
#endif

namespace ke {

using ::i32;
using ::i64;
using ::u32;
using ::u64;
using ::u8;

/** The meaning of a status in a few words; "success" for 0, "unknown status" for a number that is none. */
inline const char* status_text(i32 status) noexcept {
    return ke_status_meaning(status);
}

#if defined(KE_UTILS_EXCEPTIONS)
/** Thrown by result::value() of a result that holds none. */
class bad_result : public std::runtime_error {
  public:
    explicit bad_result(i32 status) : std::runtime_error(status_text(status)), status_(status) {}
    i32 status() const noexcept { return status_; }

  private:
    i32 status_;
};
#endif

/**
 * A value, or the status of the call that could not give one. Results of the parser also tell where in the
 * text it stopped; elsewhere line(), column() and position() are 0.
 */
template <class T>
class result {
  public:
    /** A value. */
    result(T value) : value_(std::move(value)), has_value_(true) {}
    /** The status of a call that gave none. */
    static result failure(i32 status) { return result(wiq_json_load_error{status, 0, 0, 0}); }
    /** The same, with a place in a text. */
    static result failure(const wiq_json_load_error& error) { return result(error); }

    /** @name Whether there is a value; if not, why, and where in the text
     *  @{ */
    /** Whether there is a value. */
    explicit operator bool() const noexcept { return has_value_; }
    bool has_value() const noexcept { return has_value_; }
    i32 status() const noexcept { return error_.status; }
    i32 line() const noexcept { return error_.line; }
    i32 column() const noexcept { return error_.column; }
    i32 position() const noexcept { return error_.position; }
    const char* message() const noexcept { return status_text(error_.status); }
    /** @} */

    /** @name The value; only for a result that has one
     *  @{ */
    /** The value; only for a result that has one. */
    T& operator*() & noexcept { return value_; }
    const T& operator*() const& noexcept { return value_; }
    T&& operator*() && noexcept { return std::move(value_); }
    T* operator->() noexcept { return &value_; }
    const T* operator->() const noexcept { return &value_; }
    /** @} */

    /** The value, or another one in its place. */
    template <class U>
    T value_or(U&& other) const& {
        return has_value_ ? value_ : static_cast<T>(std::forward<U>(other));
    }
    /** The same, moved out. */
    template <class U>
    T value_or(U&& other) && {
        return has_value_ ? std::move(value_) : static_cast<T>(std::forward<U>(other));
    }

#if defined(KE_UTILS_EXCEPTIONS)
    T& value() & {
        return has_value_ ? value_ : throw bad_result(error_.status);
    }
    const T& value() const& {
        return has_value_ ? value_ : throw bad_result(error_.status);
    }
    T&& value() && {
        return has_value_ ? std::move(value_) : throw bad_result(error_.status);
    }
#endif

  private:
    explicit result(const wiq_json_load_error& error) : error_(error) {}

    T value_{};
    bool has_value_ = false;
    wiq_json_load_error error_{0, 0, 0, 0};
};

/** JSON pointer text; write it as "/a/b"_ptr. Refers to the text, does not own it. */
struct pointer {
    const char* text; /**< as "/a/b"; "" is the whole document */
};

/** `using namespace ke::literals` gives the literal alone. */
inline namespace literals {
/** A JSON pointer. */
constexpr pointer operator""_ptr(const char* text, std::size_t) noexcept {
    return {text};
}
}  // namespace literals

namespace detail {

struct free_memory {
    void operator()(void* block) const noexcept { std::free(block); }
};

/** A NUL-terminated copy of a view, for a call. */
class c_string {
  public:
    explicit c_string(std::string_view text) : text_(text) {}
    operator const char*() const noexcept { return text_.c_str(); }

  private:
    std::string text_;
};

template <class T>
inline constexpr bool always_false = false;

}  // namespace detail

/** A string from the library, released with free(). */
using c_text = std::unique_ptr<char, detail::free_memory>;

struct json_member;
class json_elements;

/**
 * A shared handle on a JSON value. Each handle owns one reference: copying shares the value, clone()
 * copies it. A value that leaves its container while a handle refers to it lives on by itself. An empty
 * handle (default-made, or from a lookup that found nothing) is false, and every question asked of it has
 * the answer that the C function gives for NULL.
 */
class json {
  public:
    /** An empty handle. */
    json() noexcept = default;
    /** @name Copies share the value
     *  @{ */
    /** Copies share the value. */
    json(const json& other) noexcept : node_(other.node_) { wiq_json_ref(node_); }
    json(json&& other) noexcept : node_(std::exchange(other.node_, nullptr)) {}
    json& operator=(json other) noexcept {
        std::swap(node_, other.node_);
        return *this;
    }
    /** @} */
    ~json() { wiq_json_unref(node_); }

    /** A handle on a borrowed or a new node; takes a reference of its own. */
    static json share(wiq_json_t* node) noexcept {
        json handle;
        wiq_json_ref(node);
        handle.node_ = node;
        return handle;
    }

    /** @name New values, empty without memory
     *  @{ */
    /** New values, empty without memory. */
    static json null() { return share(wiq_json_null_new(nullptr)); }
    static json object() { return share(wiq_json_obj_new(0, nullptr)); }
    static json array() { return share(wiq_json_array_new(0, nullptr)); }
    static json reference(std::string_view uri) {
        return share(wiq_json_jref_new(detail::c_string(uri), nullptr));
    }
    /** @} */

    /** A scalar: bool, any integer, double, text, wiq_uint128, nullptr. Empty without memory. */
    template <class T>
    static json of(const T& value) {
        if constexpr (std::is_same_v<T, json>)
            return value;
        else if constexpr (std::is_same_v<T, std::nullptr_t>)
            return null();
        else if constexpr (std::is_same_v<T, bool>)
            return share(wiq_json_bool_new(value, nullptr));
        else if constexpr (std::is_same_v<T, wiq_uint128>)
            return share(wiq_json_u128_new(&value, nullptr));
        else if constexpr (std::is_integral_v<T> && std::is_unsigned_v<T>)
            return share(wiq_json_u64_new(value, nullptr));
        else if constexpr (std::is_integral_v<T>)
            return share(wiq_json_i64_new(value, nullptr));
        else if constexpr (std::is_floating_point_v<T>)
            return share(wiq_json_double_new(static_cast<double>(value), nullptr));
        else if constexpr (std::is_convertible_v<const T&, std::string_view>)
            return share(wiq_json_str_new(detail::c_string(std::string_view(value)), nullptr));
        else
            static_assert(detail::always_false<T>, "no JSON value is made of this type");
    }

    /** Parses a document; a NUL byte ends the text. */
    static result<json> parse(std::string_view text, i32 flags = 0) {
        wiq_json_load_error error;
        wiq_json_t* node = wiq_json_loads(detail::c_string(text), flags, &error);
        return loaded(node, error);
    }
    /** Parses the document that a stream holds. */
    static result<json> load(std::FILE* stream, i32 flags = 0) {
        wiq_json_load_error error;
        wiq_json_t* node = wiq_json_loadf(stream, flags, &error);
        return loaded(node, error);
    }

    /** Whether there is a value. */
    explicit operator bool() const noexcept { return node_ != nullptr; }
    /** The node itself, borrowed. */
    wiq_json_t* get() const noexcept { return node_; }

    /** @name Kinds
     *  @{ */
    /** Kinds. */
    bool is_null() const noexcept { return wiq_json_is_null(node_); }
    bool is_object() const noexcept { return wiq_json_is_obj(node_); }
    bool is_array() const noexcept { return wiq_json_is_array(node_); }
    bool is_string() const noexcept { return wiq_json_is_str(node_); }
    bool is_bool() const noexcept { return wiq_json_is_bool(node_); }
    bool is_integer() const noexcept { return wiq_json_is_int(node_); }
    bool is_number() const noexcept { return wiq_json_is_num(node_); }
    bool is_reference() const noexcept { return wiq_json_is_jref(node_); }
    const char* type_name() const noexcept { return wiq_json_type_string(node_); }
    /** @} */

    /**
     * The value as T (bool, i64, u64, double, wiq_uint128, std::string_view, std::string), if it can be
     * read as that without loss; -7018 otherwise, -1037 for an empty handle. A view lives as long as the
     * string value is not changed or released.
     */
    template <class T>
    result<T> to() const {
        if (node_ == nullptr)
            return result<T>::failure(WIQ_ERR_KEY_NOT_FOUND);
        if constexpr (std::is_same_v<T, bool>) {
            if (wiq_json_is_bool(node_))
                return wiq_json_is_true(node_);
        } else if constexpr (std::is_same_v<T, i64>) {
            if (wiq_json_is_i64_ext(node_, true))
                return wiq_json_i64_get(node_);
        } else if constexpr (std::is_same_v<T, u64>) {
            if (wiq_json_is_u64_ext(node_, true))
                return wiq_json_u64_get(node_);
        } else if constexpr (std::is_same_v<T, double>) {
            if (wiq_json_is_double_ext(node_, true))
                return wiq_json_double_get(node_);
        } else if constexpr (std::is_same_v<T, wiq_uint128>) {
            wiq_uint128 value;
            if (wiq_json_is_u128_ext(node_, true))
                return *wiq_json_u128_get(&value, node_);
        } else if constexpr (std::is_same_v<T, std::string_view> ||
                             std::is_same_v<T, std::string>) {
            if (wiq_json_is_str(node_) && wiq_json_str_get(node_) != nullptr)
                return T(wiq_json_str_get(node_));
        } else {
            static_assert(detail::always_false<T>, "a JSON value is not read as this type");
        }
        return result<T>::failure(WIQ_ERR_WRONG_TYPE);
    }

    /** Members of an object or elements of an array; 0 for everything else. */
    i32 size() const noexcept {
        const i32 size = is_object() ? wiq_json_obj_size(node_) : wiq_json_array_size(node_);
        return size < 0 ? 0 : size;
    }

    /** The member under a key, following references; empty if there is none. */
    json operator[](std::string_view key) const {
        return share(
            wiq_json_obj_get_ext(node_, detail::c_string(key), WIQ_JSON_FOLLOW_REFS, nullptr));
    }
    /** The same. */
    json operator[](const char* key) const { return (*this)[std::string_view(key)]; }
    /** The element at an index (negative: from the end), following references; empty if there is none. */
    json operator[](i32 index) const {
        return share(wiq_json_array_get_ext(node_, index, WIQ_JSON_FOLLOW_REFS, nullptr));
    }
    /** The value that a JSON pointer names; empty if there is none. */
    json at(pointer where) const {
        return share(wiq_json_ptr_get(node_, where.text, nullptr, nullptr));
    }

    /** Whether an object has a member under this key. */
    bool contains(std::string_view key) const {
        return wiq_json_obj_has_key(node_, detail::c_string(key));
    }

    /** Stores a value under a key, in place of what is there. Returns the status. */
    template <class T>
    i32 set(std::string_view key, const T& value) {
        const json child = of(value);
        return child ? wiq_json_obj_put_ext(node_, detail::c_string(key), child.node_, nullptr)
                     : static_cast<i32>(WIQ_ERR_NO_MEMORY);
    }
    /** Stores a value where a JSON pointer names it, making containers on the way. Returns the status. */
    template <class T>
    i32 set(pointer where, const T& value) {
        const json child = of(value);
        return child ? wiq_json_ptr_put(node_, where.text, child.node_)
                     : static_cast<i32>(WIQ_ERR_NO_MEMORY);
    }
    /** Appends a value to an array. Returns the status. */
    template <class T>
    i32 push_back(const T& value) {
        const json child = of(value);
        return child ? wiq_json_array_push_ext(node_, child.node_, nullptr)
                     : static_cast<i32>(WIQ_ERR_NO_MEMORY);
    }
    /** Removes a member; -7000 if there is none. */
    i32 erase(std::string_view key) { return wiq_json_obj_remove(node_, detail::c_string(key)); }

    /** A deep copy. */
    result<json> clone() const {
        u32 err = 0;
        wiq_json_t* node = wiq_json_copy(node_, &err);
        return node != nullptr ? result<json>(share(node))
                               : result<json>::failure(static_cast<i32>(err));
    }
    /** Replaces every reference below by a copy of its target. Returns the status. */
    i32 expand() { return wiq_json_jref_expand(node_); }

    /** The document as text, with the flags of wiq_json_sdump(). */
    result<std::string> dump(u32 flags = 0) const {
        char* text = nullptr;
        const i32 length = wiq_json_sdump(node_, &text, flags);
        if (length < 0)
            return result<std::string>::failure(length);
        const c_text owner(text);
        return std::string(text, static_cast<std::size_t>(length));
    }

    /** Whether both are equal, as wiq_json_equal() says. */
    friend bool operator==(const json& a, const json& b) noexcept {
        return wiq_json_equal(a.node_, b.node_);
    }
    /** Whether they are not. */
    friend bool operator!=(const json& a, const json& b) noexcept { return !(a == b); }

    /** The members in the object's order, as they are now; keys live as long as their members. */
    std::vector<json_member> members() const;
    /** The elements of an array, references not followed: `for (ke::json elem : list.elements())`. */
    json_elements elements() const;

  private:
    static result<json> loaded(wiq_json_t* node, const wiq_json_load_error& error) {
        return node != nullptr ? result<json>(share(node)) : result<json>::failure(error);
    }

    wiq_json_t* node_ = nullptr;
};

/** A member as json::members() gives it. */
struct json_member {
    std::string_view key; /**< lives as long as the member */
    json value;           /**< a handle on the child */
};

inline std::vector<json_member> json::members() const {
    std::vector<json_member> list;
    list.reserve(static_cast<std::size_t>(is_object() ? size() : 0));
    wiq_json_obj_foreach(
        node_,
        [](const char* key, wiq_json_t* child, void* user) {
            static_cast<std::vector<json_member>*>(user)->push_back({key, share(child)});
            return true;
        },
        &list);
    return list;
}

/** The elements of an array as a range; it keeps the array alive. */
class json_elements {
  public:
    /** An input iterator whose elements are handles. */
    class iterator {
      public:
        /** @name What the standard asks of an iterator
         *  @{ */
        /** What the standard asks of an iterator. */
        using iterator_category = std::input_iterator_tag;
        using value_type = json;
        using difference_type = std::ptrdiff_t;
        using pointer = const json*;
        using reference = json;

        iterator(wiq_json_t* array, i32 index) noexcept : array_(array), index_(index) {}
        json operator*() const {
            return json::share(wiq_json_array_get_ext(array_, index_, 0, nullptr));
        }
        iterator& operator++() noexcept {
            ++index_;
            return *this;
        }
        iterator operator++(int) noexcept {
            iterator before = *this;
            ++index_;
            return before;
        }
        friend bool operator==(iterator a, iterator b) noexcept { return a.index_ == b.index_; }
        friend bool operator!=(iterator a, iterator b) noexcept { return a.index_ != b.index_; }
        /** @} */

      private:
        wiq_json_t* array_;
        i32 index_;
    };

    /** @name A range over the elements of an array, empty for anything else
     *  @{ */
    /** A range over the elements of an array, empty for anything else. */
    explicit json_elements(json array) noexcept : array_(std::move(array)) {}
    iterator begin() const noexcept { return {array_.get(), 0}; }
    iterator end() const noexcept { return {array_.get(), array_.is_array() ? array_.size() : 0}; }
    /** @} */

  private:
    json array_;
};

inline json_elements json::elements() const {
    return json_elements(*this);
}

/** A growable array of plain elements, one block, on wiq_vector. */
template <class T>
class vector {
    static_assert(std::is_trivially_copyable_v<T>, "elements are moved by realloc()");

  public:
    /** Empty, without memory. */
    vector() noexcept { wiq_vector_init(&vec_, sizeof(T), 0, nullptr, nullptr); }
    vector(const vector&) = delete;
    vector& operator=(const vector&) = delete;
    /** @name Moves leave the other one empty or with what this one held
     *  @{ */
    /** Moves leave the other one empty or with what this one held. */
    vector(vector&& other) noexcept : vector() { std::swap(vec_, other.vec_); }
    vector& operator=(vector&& other) noexcept {
        std::swap(vec_, other.vec_);
        return *this;
    }
    /** @} */
    ~vector() { wiq_vector_finalize(&vec_); }

    /** @name Size and elements, as in std::vector; nothing is checked
     *  @{ */
    /** Size and elements, as in std::vector; nothing is checked. */
    i32 size() const noexcept { return vec_.size; }
    bool empty() const noexcept { return vec_.size == 0; }
    T* data() noexcept { return static_cast<T*>(vec_.data); }
    const T* data() const noexcept { return static_cast<const T*>(vec_.data); }
    T* begin() noexcept { return data(); }
    T* end() noexcept { return data() + vec_.size; }
    const T* begin() const noexcept { return data(); }
    const T* end() const noexcept { return data() + vec_.size; }
    T& operator[](i32 index) noexcept { return data()[index]; }
    const T& operator[](i32 index) const noexcept { return data()[index]; }
    /** @} */
    /** The element, nullptr out of range; a negative index counts from the end. */
    T* at(i32 index) noexcept { return static_cast<T*>(wiq_vector_get(&vec_, index)); }

    /** 0 or -5000, and then the vector is as it was. */
    i32 push_back(const T& value) {
        const T copy = value;  // `value` may lie in the block that moves
        void* place = wiq_vector_push(&vec_);
        if (place == nullptr)
            return WIQ_ERR_NO_MEMORY;
        new (place) T(copy);
        return 0;
    }
    /** Drops the last elements: 0, or -7000 if there are fewer. */
    i32 pop_back(i32 count = 1) { return wiq_vector_pop(&vec_, count); }
    /** Makes room for exactly so many more: 0 or a status. */
    i32 reserve_extra(i32 extra) { return wiq_vector_extra_capacity(&vec_, extra); }
    /** Drops all elements, keeps the block. */
    void clear() noexcept { wiq_vector_resize(&vec_, 0); }
    /** The vector itself, borrowed. */
    wiq_vector* get() noexcept { return &vec_; }

  private:
    wiq_vector vec_;
};

/** A hash map from text to V on wiq_map; it owns its keys and values. */
template <class V>
class map {
  public:
    /** Empty; without memory every set() says so. */
    map() noexcept {
        ready_ = wiq_map_init(&map_, 0, wiq_hash_str, wiq_cmp_str, std::free, drop) == 0;
    }
    map(const map&) = delete;
    map& operator=(const map&) = delete;
    /** @name Moves leave the other one empty or with what this one held
     *  @{ */
    /** Moves leave the other one empty or with what this one held. */
    map(map&& other) noexcept : map_(other.map_), ready_(std::exchange(other.ready_, false)) {}
    map& operator=(map&& other) noexcept {
        std::swap(map_, other.map_);
        std::swap(ready_, other.ready_);
        return *this;
    }
    /** @} */
    ~map() {
        if (ready_)
            wiq_map_finalize(&map_);
    }

    /** Entries. */
    u64 size() const noexcept { return ready_ ? map_.size : 0; }
    /** Whether there are none. */
    bool empty() const noexcept { return size() == 0; }
    /** Whether a key is there. */
    bool contains(std::string_view key) const { return find(key) != nullptr; }
    /** The value under a key, nullptr if there is none. */
    V* find(std::string_view key) const {
        return ready_ ? static_cast<V*>(
                            wiq_map_get(&map_, detail::c_string(key).operator const char*()))
                      : nullptr;
    }

    /** Stores a value, in place of one that is there. 0 or -5000, and then the map is as it was. */
    i32 set(std::string_view key, V value) {
        if (!ready_)
            return WIQ_ERR_NO_MEMORY;
        if (V* there = find(key)) {
            *there = std::move(value);
            return 0;
        }
        std::unique_ptr<char, detail::free_memory> name(
            static_cast<char*>(std::malloc(key.size() + 1)));
        std::unique_ptr<V> made(new (std::nothrow) V(std::move(value)));
        if (!name || !made)
            return WIQ_ERR_NO_MEMORY;
        key.copy(name.get(), key.size());
        name.get()[key.size()] = '\0';
        const u64 before = map_.size;
        const i32 status = wiq_map_put(&map_, name.get(), made.get());
        if (map_.size == before)
            return status;
        // Stored: a table that could not grow holds it all the same.
        (void)name.release();
        (void)made.release();
        return 0;
    }
    /** Whether there was something to remove. */
    bool erase(std::string_view key) {
        const u64 before = size();
        if (ready_)
            wiq_map_remove(&map_, detail::c_string(key).operator const char*());
        return size() != before;
    }

    /** What a walk gives. */
    struct entry {
        std::string_view key; /**< lives as long as the entry */
        V& value;             /**< may be changed */
    };
    /** `for (auto [key, value] : entries)`, in map order; the map must not change meanwhile. */
    class iterator {
      public:
        /** @name What the standard asks of an iterator
         *  @{ */
        /** What the standard asks of an iterator. */
        using iterator_category = std::input_iterator_tag;
        using value_type = entry;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = entry;

        iterator(const wiq_map* map, u64 bucket) noexcept : map_(map), bucket_(bucket) { settle(); }
        entry operator*() const noexcept {
            return {static_cast<const char*>(entry_->key), *static_cast<V*>(entry_->value)};
        }
        iterator& operator++() noexcept {
            entry_ = entry_->next;
            if (entry_ == nullptr) {
                ++bucket_;
                settle();
            }
            return *this;
        }
        friend bool operator==(const iterator& a, const iterator& b) noexcept {
            return a.entry_ == b.entry_;
        }
        friend bool operator!=(const iterator& a, const iterator& b) noexcept { return !(a == b); }
        /** @} */

      private:
        void settle() noexcept {
            while (bucket_ < map_->bucket_count && map_->buckets[bucket_] == nullptr)
                ++bucket_;
            entry_ = bucket_ < map_->bucket_count ? map_->buckets[bucket_] : nullptr;
        }

        const wiq_map* map_;
        u64 bucket_;
        wiq_map_entry* entry_ = nullptr;
    };
    /** The first entry. */
    iterator begin() const noexcept { return {&map_, ready_ ? 0 : map_.bucket_count}; }
    /** Behind the last one. */
    iterator end() const noexcept { return {&map_, map_.bucket_count}; }

  private:
    static void drop(void* value) { delete static_cast<V*>(value); }

    wiq_map map_ = {};
    bool ready_;
};

/** A growable text on wiq_strbuf. Each append returns 0 or more, or a negative status. */
class strbuf {
  public:
    /** Empty. */
    strbuf() noexcept { wiq_strbuf_init(&buf_, 0); }
    strbuf(const strbuf&) = delete;
    strbuf& operator=(const strbuf&) = delete;
    /** @name Moves leave the other one empty or with what this one held
     *  @{ */
    /** Moves leave the other one empty or with what this one held. */
    strbuf(strbuf&& other) noexcept : buf_(std::exchange(other.buf_, wiq_strbuf{})) {}
    strbuf& operator=(strbuf&& other) noexcept {
        std::swap(buf_, other.buf_);
        return *this;
    }
    /** @} */
    ~strbuf() { wiq_strbuf_finalize(&buf_); }

    /** @name The text, valid until the next append
     *  @{ */
    /** The text, valid until the next append. */
    std::string_view view() const noexcept {
        return buf_.data == nullptr ? std::string_view() : std::string_view(buf_.data, buf_.len);
    }
    operator std::string_view() const noexcept { return view(); }
    u64 size() const noexcept { return buf_.len; }
    bool empty() const noexcept { return buf_.len == 0; }
    /** @} */

    /** @name Appending: 0 or more, or a negative status with the text as it was
     *  @{ */
    /** Appending: 0 or more, or a negative status with the text as it was. */
    i32 append(std::string_view text) { return wiq_strbuf_write(&buf_, text.data(), text.size()); }
    i32 append(char c) { return wiq_strbuf_putc(&buf_, c); }
    template <class... Args>
    i32 printf(const char* format, Args... args) {
        return wiq_strbuf_printf(&buf_, format, args...);
    }
    i32 append_hex(const void* bytes, u64 count) {
        return wiq_strbuf_printhex(&buf_, bytes, count);
    }
    /** @} */
    /** Empties it, keeps the block. */
    void clear() noexcept { wiq_strbuf_reset(&buf_); }
    /** Hands the text over; the buffer is empty and usable afterwards. */
    c_text release() noexcept { return c_text(wiq_strbuf_release(&buf_)); }
    /** The buffer itself, borrowed. */
    wiq_strbuf* get() noexcept { return &buf_; }

  private:
    wiq_strbuf buf_ = {};
};

}  // namespace ke

#endif
