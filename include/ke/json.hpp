/**
 * @file json.hpp
 * Parses, owns and changes JSON documents: ke::json owns a value, and ke::json_ref is a borrowed
 * value that can be changed. This is the header to include; it includes the others of the family:
 * json_view.hpp reads documents, json_convert.hpp converts between C++ types and JSON values,
 * json_ranges.hpp has the ranges over elements and members, json_edit.hpp implements the changes,
 * and json_expand.hpp counts and limits what expand() makes.
 *
 * @code
 * auto report = ke::json::parse(text);
 * if (!report) { complain(report.describe()); return; }
 * for (auto [key, value] : report->members()) { ... }
 * const int hours = report->value_or("power_on_hours", 0);
 * @endcode
 */
#ifndef KE_JSON_HPP
#define KE_JSON_HPP

#include <initializer_list>

#include "ke/json_view.hpp"

namespace ke {

/** @addtogroup cpp
 *  @{ */

namespace detail {
class init;
struct member_place;
struct index_place;
struct back_place;
struct pointer_place;
template <class Place, class V>
status store(const Place& place, V&& value);
}  // namespace detail

/**
 * A borrowed value that can be changed. Look-ups in a ke::json that is not const return one. It
 * costs no more than a pointer and owns nothing.
 *
 * set(), push_back() and insert() store numbers, texts, containers and every other type that
 * json_convert.hpp converts to a value. They also take a braced list: `set("temps", {38, 41})`.
 *
 * A ke::json or a view is stored as a deep copy, and the document that it belongs to does not
 * change. There is one exception: a ke::json that is moved in (`std::move(list)`, or the result of
 * a call) and whose value is in no container is attached itself, without a copy, and the handle is
 * empty afterwards. A value that is in a container is copied even when it is moved in, since a
 * handle does not tell whose document it is in; use take() to take it out of its container first.
 *
 * Each function returns the status of the C function that it calls, or ke::err_empty if this handle
 * or the one passed in is empty, or WIQ_ERR_NO_MEMORY (-5000) when out of memory. After a failure
 * nothing has changed, unless the function's comment says otherwise.
 */
class KE_BORROWS_ json_ref : public json_view {
  public:
    /** Makes an empty reference. */
    constexpr json_ref() noexcept = default;
    /** Refers to a node of the C interface; NULL makes an empty reference. */
    constexpr explicit json_ref(wiq_json_t* node) noexcept : json_view(node) {}
    /** Refers to the same value. */
    constexpr json_ref(const json_ref&) noexcept = default;
    /** Refers to the value that `document` owns. */
    json_ref(json& document) noexcept;
    /** Deleted: a document that is const must not change, and a temporary one would be gone at the
     *  end of the statement. */
    json_ref(const json&) = delete;
    /** Refers to another value from now on; the document does not change. */
    json_ref& operator=(const json_ref&) & noexcept = default;
    /** Deleted, since an assignment would store nothing in the document: call set(). */
    json_ref& operator=(const json&) = delete;

    /** @name Look-ups, as in ke::json_view
     *  @{ */
    /** Does what the look-up of the same name in ke::json_view does, but returns references. */
    template <class Where>
    json_ref operator[](const Where& where) const noexcept {
        return json_ref(json_view::operator[](where).node());
    }
    json_ref at(pointer where) const noexcept { return json_ref(json_view::at(where).node()); }
    json_ref find(json_view value) const noexcept {
        return json_ref(json_view::find(value).node());
    }
    json_ref find_text(const text_arg& text) const noexcept {
        return json_ref(json_view::find_text(text).node());
    }
    json_ref parent() const noexcept { return json_ref(json_view::parent().node()); }
    json_elements<json_ref> elements() const;
    json_members<json_ref> members() const;
    /** @} */

    /**
     * Stores a value under a key, replacing any value that is there. A literal key that begins with
     * "/" is refused with WIQ_ERR_PTR_SYNTAX (-7019), since it looks like a JSON pointer whose
     * suffix was forgotten. Write "/a/b"_ptr for the pointer, or ke::key("/a/b") for a member that
     * really has that name.
     */
    template <class V = json>
    status set(const text_arg& key, V&& value);
    /** Stores a value at the position that a JSON pointer names, and makes any containers that are
     *  missing on the way. The step "-" appends to an array. After a failure, containers that were
     *  made before the failing step stay. */
    template <class V = json>
    status set(pointer where, V&& value);
    /** Replaces the element at an index; an index equal to the array's size appends. A negative
     *  index counts from the end. */
    template <class V = json, class I, std::enable_if_t<std::is_integral_v<I>, int> = 0>
    status set(I index, V&& value);
    /** Appends a value to an array. */
    template <class V = json>
    status push_back(V&& value);
    /** Inserts a value before the element at an index; an index equal to the array's size appends.
     *  A negative index is refused with WIQ_ERR_INDEX_OUT_OF_RANGE (-1038). */
    template <class V = json, class I, std::enable_if_t<std::is_integral_v<I>, int> = 0>
    status insert(I index, V&& value);

    /** @name Linking a value into a weak container
     *  The container refers to a value of another tree, and the value stays where it is. Both
     *  functions return WIQ_ERR_INVALID_ARG (-7000) if this is not a weak container.
     *  @{ */
    /** Links a value under a key of a weak object. */
    status link(const text_arg& key, json_ref value) noexcept {
        if (node_ == nullptr || value.node_ == nullptr)
            return err_empty;
        if (!is_weak())
            return WIQ_ERR_INVALID_ARG;
        return key.status() != 0 ? key.status()
                                 : wiq_json_obj_put_ext(node_, key.c_str(), value.node_, nullptr);
    }
    /** Links a value at the end of a weak array. */
    status link_back(json_ref value) noexcept {
        if (node_ == nullptr || value.node_ == nullptr)
            return err_empty;
        return is_weak() ? wiq_json_array_push_ext(node_, value.node_, nullptr)
                         : static_cast<i32>(WIQ_ERR_INVALID_ARG);
    }
    /** @} */

    /** Returns the object under a key. If the key is absent, first makes an empty object there. */
    result<json_ref> object_at(const text_arg& key) noexcept {
        return made_at(key, wiq_json_obj_getd_obj);
    }
    /** Returns the array under a key. If the key is absent, first makes an empty array there. */
    result<json_ref> array_at(const text_arg& key) noexcept {
        return made_at(key, wiq_json_obj_getd_array);
    }

    /**
     * Takes a value out of its container and returns it, so that it can be kept or stored
     * elsewhere. `where` is a key, an index or a JSON pointer. The elements after a taken element
     * move up.
     * @return the value; otherwise the status of get(), or WIQ_ERR_INVALID_ARG for the pointer "",
     *         since a value cannot be taken out of itself
     */
    template <class Where>
    result<json> take(const Where& where);
    /** Takes the last element out of an array and returns it, or WIQ_ERR_INDEX_OUT_OF_RANGE if the
     *  array is empty. */
    result<json> take_back();
    /** Removes the value at a key, an index or a JSON pointer; the statuses are those of take(). */
    template <class Where>
    status erase(const Where& where);
    /** Removes the last `count` elements. Returns WIQ_ERR_INVALID_ARG if there are fewer. */
    status pop_back(i32 count = 1) noexcept {
        return node_ == nullptr ? err_empty : wiq_json_array_pop(node_, count);
    }
    /** Removes every element of an array, or every member of an object, whose value makes
     *  `test(value)` true. The test is called for every value before anything is removed, so it may
     *  throw. Elements that it appends stay. Returns how many were removed, or a status. */
    template <class Test>
    result<i32> erase_if(Test&& test);
    /** Removes all members of an object or all elements of an array. */
    status clear();
    /** Sorts an array; equal elements keep their order. `less(a, b)` compares two values of type
     *  ke::json_view and may throw. */
    template <class Less>
    status sort(Less&& less);

    /** Replaces this value in its container with another one, and returns this value; returns
     *  WIQ_ERR_INVALID_ARG if this value is in no container or the other one cannot be attached. */
    template <class V>
    result<json> replace(V&& value);
    /** Replaces every reference that can be reached from this value by a copy of its target. The
     *  value itself is never replaced. References that were replaced before a failure stay
     *  replaced. The result of a small document can take all memory; the overload with a limit
     *  refuses to make it. */
    status expand() noexcept { return node_ == nullptr ? err_empty : wiq_json_jref_expand(node_); }
    /**
     * Does what expand() does, but first counts the values that this would make, and changes
     * nothing if there are too many. Use it for untrusted documents. Counting takes time and memory
     * linear in the document.
     * @param max_values the most values that this value may have afterwards, itself included, as
     *                   expanded_size() counts them. The limit also applies to all copies together.
     *                   They can have more values than this value has in the end, since references
     *                   in targets outside of it are replaced, too.
     * @return 0; WIQ_ERR_RANGE (-7001) if there would be more values; a status of expanded_size(),
     *         in both cases with nothing changed; WIQ_ERR_NO_MEMORY when out of memory, in which
     *         case references that were replaced before stay replaced
     */
    status expand(u64 max_values) noexcept;

  private:
    using made_at_fn = wiq_json_t* (*)(wiq_json_t*, const char*, u32*);
    result<json_ref> made_at(const text_arg& key, made_at_fn call) noexcept {
        if (node_ == nullptr)
            return result<json_ref>::failure(err_empty);
        if (key.status() != 0)
            return result<json_ref>::failure(key.status());
        u32 err = 0;
        wiq_json_t* node = call(node_, key.c_str(), &err);
        return node != nullptr ? result<json_ref>(json_ref(node))
                               : result<json_ref>::failure(static_cast<i32>(err));
    }
    status remove_at(const text_arg& key) noexcept;
    template <class I, std::enable_if_t<std::is_integral_v<I>, int> = 0>
    status remove_at(I index);
    status remove_at(pointer where);
    status refill(const json* elements, std::size_t count) noexcept;
};

/**
 * Owns a JSON value, alone or together with other handles.
 *
 * Copying a ke::json shares the value and increments its atomic reference count, clone() makes a
 * deep copy, and moving costs nothing. If a value is removed from its container while a ke::json
 * owns it, it lives on by itself. Views and references borrow from their owner, so look-ups in a
 * temporary ke::json return owners instead.
 */
class KE_OWNS_ json : public json_ref {
  public:
    /** Makes an empty handle. */
    json() noexcept = default;
    /** @name A copy shares the value; a move leaves the other handle empty
     *  @{ */
    /** Copies share the value; moves leave the other handle empty. */
    json(const json& other) noexcept : json_ref(other.node_) { wiq_json_ref(node_); }
    json(json&& other) noexcept : json_ref(other.node_) { other.node_ = nullptr; }
    json& operator=(const json& other) & noexcept {
        wiq_json_ref(other.node_);
        reset(other.node_);
        return *this;
    }
    json& operator=(json&& other) & noexcept {
        if (this != &other) {
            wiq_json_t* const taken = other.node_;
            other.node_ = nullptr;
            reset(taken);
        }
        return *this;
    }
    /** @} */
    /** Becomes another owner of the value that `view` refers to. */
    json(json_view view) noexcept : json_ref(view.node()) { wiq_json_ref(node_); }
    /**
     * Makes a document from a braced list: `ke::json{{"a", 1}, {"b", {1, 2}}}`. If every item is a
     * pair that begins with a text, the list becomes an object, otherwise an array; array() and
     * object() say explicitly which. A list of one handle is a copy of that handle, as everywhere
     * in C++, and shares its value. The new handle is empty if an item cannot be converted: when
     * out of memory, for an empty handle, for a text with a NUL inside, or if a to_json() fails.
     */
    json(std::initializer_list<detail::init> list);
    ~json() { wiq_json_unref(node_); }

    /** Returns an owner of a node of the C interface. The owner takes a reference of its own. */
    static json share(wiq_json_t* node) noexcept { return json(json_view(node)); }
    using json_view::share;

    /** @name New values
     *  When out of memory, each function returns an empty handle.
     *  @{ */
    /** Makes a new value; returns an empty handle when out of memory. */
    static json null() { return share(wiq_json_null_new(nullptr)); }
    static json object() { return share(wiq_json_obj_new(0, nullptr)); }
    static json array() { return share(wiq_json_array_new(0, nullptr)); }
    static json object(std::initializer_list<detail::init> members);
    static json array(std::initializer_list<detail::init> elements);
    /** Makes a weak container, which refers to values of other trees; see json_ref::link(). */
    static json weak_object() { return share(wiq_json_obj_weak_new(0, nullptr)); }
    static json weak_array() { return share(wiq_json_array_weak_new(0, nullptr)); }
    /** Makes a reference (`$ref`) to the value that a JSON pointer names. */
    static json reference(const text_arg& uri) {
        return share(wiq_json_jref_new(uri.c_str(), nullptr));
    }
    /** Makes a value from any type that json_convert.hpp can convert; returns an empty handle on
     *  every failure. */
    template <class T>
    static json of(const T& value) {
        return make(value).value_or(json());
    }
    /** Does what of() does, but returns the status of a failure. */
    template <class T>
    static result<json> make(const T& value);
    /** @} */

    /** @name Parsing ASCII text; see parse_utf8() in utf8.hpp for text with other characters
     *  A `const char*`, a literal or a std::string is read in place, while a std::string_view is
     *  copied first. A text of known length with a NUL inside is refused with WIQ_ERR_INVALID_ARG.
     *  @{ */
    /** Parses a document. */
    static result<json> parse(const text_arg& text, load_flags flags = {}) {
        if (text.status() != 0)
            return result<json>::failure(text.status());
        wiq_json_load_error error;
        return loaded(wiq_json_loads(text.c_str(), flags.bits<i32>(), &error), error);
    }
    /** Reads and parses a document from a stream. */
    static result<json> load(std::FILE* stream, load_flags flags = {}) {
        wiq_json_load_error error;
        return loaded(wiq_json_loadf(stream, flags.bits<i32>(), &error), error);
    }
    /** Loads a UTF-8 document from a file, as ke::load_file() does. Include ke/files.hpp to call
     *  it, since both are defined there. */
    static inline result<json> load_file(const text_arg& path, load_flags flags = {});
    /** @} */

    /** @name Look-ups, as in ke::json_view
     *  A const document returns views, a document that can be changed returns references, and a
     *  temporary document returns owners.
     *  @{ */
    /** Does what the look-up of the same name in ke::json_view does. */
    template <class Where>
    json_view operator[](const Where& where) const& noexcept {
        return json_view::operator[](where);
    }
    template <class Where>
    json_ref operator[](const Where& where) & noexcept {
        return json_ref::operator[](where);
    }
    template <class Where>
    json operator[](const Where& where) && noexcept {
        return json(json_view::operator[](where));
    }
    json_view at(pointer where) const& noexcept { return json_view::at(where); }
    json_ref at(pointer where) & noexcept { return json_ref::at(where); }
    json at(pointer where) && noexcept { return json(json_view::at(where)); }
    json_view find(json_view value) const& noexcept { return json_view::find(value); }
    json_ref find(json_view value) & noexcept { return json_ref::find(value); }
    json find(json_view value) && noexcept { return json(json_view::find(value)); }
    json_view find_text(const text_arg& text) const& noexcept { return json_view::find_text(text); }
    json_ref find_text(const text_arg& text) & noexcept { return json_ref::find_text(text); }
    json find_text(const text_arg& text) && noexcept { return json(json_view::find_text(text)); }
    json_view parent() const noexcept { return json_view::parent(); }
    json_view root() const& noexcept { return json_view::root(); }
    json root() && noexcept { return json(json_view::root()); }
    result<json_view> resolve() const& { return json_view::resolve(); }
    result<json> resolve() && {
        const result<json_view> target = json_view::resolve();
        return target ? result<json>(json(*target)) : result<json>(target.status());
    }
    json_elements<json_view> elements() const;
    json_elements<json_ref> elements();
    json_members<json_view> members() const;
    json_members<json_ref> members();
    /** @} */

    /** @name Reading C++ values, as in ke::json_view
     *  From a temporary document, types that borrow from it, such as std::string_view, do not
     *  compile.
     *  @{ */
    /** Does what json_view::to() does. */
    template <class T>
    result<T> to() const& {
        return json_view::to<T>();
    }
    template <class T>
    result<T> to() && {
        static_assert(!detail::borrows<T>,
                      "the text would be gone with the document: read std::string");
        return json_view::to<T>();
    }
    /** Does what json_view::get() does. */
    template <class T, class Where>
    result<T> get(const Where& where) const& {
        return json_view::get<T>(where);
    }
    template <class T, class Where>
    result<T> get(const Where& where) && {
        static_assert(!detail::borrows<T>,
                      "the text would be gone with the document: read std::string");
        return json_view::get<T>(where);
    }
    /** Does what json_view::value_or() does. */
    template <class T, class Where>
    T value_or(const Where& where, T otherwise) const& {
        return json_view::value_or<T>(where, std::move(otherwise));
    }
    template <class T, class Where>
    T value_or(const Where& where, T otherwise) && {
        static_assert(!detail::borrows<T>,
                      "the text would be gone with the document: read std::string");
        return json_view::value_or<T>(where, std::move(otherwise));
    }
    template <class Where>
    std::string value_or(const Where& where, const char* otherwise) const& {
        return json_view::value_or(where, otherwise);
    }
    template <class Where>
    std::string value_or(const Where& where, const char* otherwise) && {
        return json_view::value_or(where, otherwise);
    }
    /** @} */

    /** Returns a borrowed reference through which the value can be changed. */
    json_ref ref() & noexcept { return json_ref(node_); }
    /** Returns a borrowed view of the value. */
    json_view view() const& noexcept { return *this; }
    json_view view() && = delete;
    json_ref ref() && = delete;

    /** Hands this handle's reference over to the caller, who releases it with wiq_json_unref(). The
     *  handle is empty afterwards. */
    wiq_json_t* release() noexcept {
        wiq_json_t* const node = node_;
        node_ = nullptr;
        return node;
    }
    /** Returns an owner that takes over a reference from release() or wiq_json_ref(). A node that
     *  the C interface has just made has no reference yet: pass it to share() instead. */
    static json adopt(wiq_json_t* node) noexcept {
        json owner;
        owner.node_ = node;
        return owner;
    }
    /** Exchanges the values of two handles. */
    friend void swap(json& a, json& b) noexcept {
        wiq_json_t* const node = a.node_;
        a.node_ = b.node_;
        b.node_ = node;
    }
    /** Takes the value out of its container, if it is in one. Afterwards only this handle, and any
     *  other that shares the value, owns it. An element leaves a null in its place, unless it is
     *  the last one. */
    status orphan() noexcept { return node_ == nullptr ? err_empty : wiq_json_make_orphan(node_); }

  private:
    static result<json> loaded(wiq_json_t* node, const wiq_json_load_error& error) noexcept {
        return node != nullptr ? result<json>(share(node)) : result<json>(ke::status(error));
    }
    void reset(wiq_json_t* node) noexcept {
        wiq_json_t* const old = node_;
        node_ = node;
        wiq_json_unref(old);
    }
};

inline json_ref::json_ref(json& document) noexcept : json_view(document.node()) {}
inline json json_view::share() const noexcept {
    return json(*this);
}
inline result<json> json_view::clone() const {
    if (node_ == nullptr)
        return result<json>::failure(err_empty);
    u32 err = 0;
    wiq_json_t* node = wiq_json_copy(node_, &err);
    return node != nullptr ? result<json>(json::share(node))
                           : result<json>::failure(static_cast<i32>(err));
}
inline result<std::string> json_view::dump(dump_flags flags) const {
    if (node_ == nullptr)
        return result<std::string>::failure(err_empty);
    char* text = nullptr;
    const i32 length = wiq_json_sdump(node_, &text, flags.bits());
    if (length < 0)
        return result<std::string>::failure(length);
    const c_text owner(text);
    return std::string(text, static_cast<std::size_t>(length));
}
inline status json_view::dump_to(wiq_strbuf* buffer, dump_flags flags) const {
    return node_ == nullptr ? err_empty : wiq_json_sdump_ext(node_, buffer, flags.bits(), 0);
}
inline status json_view::dump_to(std::FILE* stream, dump_flags flags) const {
    if (node_ == nullptr)
        return err_empty;
    const i32 written = wiq_json_fdump(node_, stream, flags.bits(), 0);
    return written == -1 ? static_cast<i32>(WIQ_ERR_IO) : written;
}

/** @} */

}  // namespace ke

#include "ke/json_ranges.hpp"

#include "ke/json_convert.hpp"

#include "ke/json_edit.hpp"

#include "ke/json_expand.hpp"

#endif
