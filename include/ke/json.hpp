/**
 * @file json.hpp
 * Owning and changing documents: ke::json, the owner; ke::json_ref, a borrowed place that can be changed;
 * the parser. Reading is in json_view.hpp, the types that become values and are made of them in
 * json_convert.hpp, ranges in json_ranges.hpp; all are included here.
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
 * A borrowed value that can be changed: what a look-up in a ke::json that is not const gives. It costs what
 * a pointer costs and owns nothing.
 *
 * What set(), push_back(), insert() store: numbers, texts, containers and whatever else json_convert.hpp
 * makes values of, also a braced list: `set("temps", {38, 41})`. A ke::json or a view is copied, deeply, and its document left alone; only a free-standing
 * ke::json that is given away (`std::move(list)`, or fresh from a call) goes into the document itself, and
 * its handle is empty afterwards. A value that has a place is copied even then, since a handle does not tell
 * in whose document it is; take() takes a value out of its place.
 *
 * Each returns the status of the C call, and: ke::err_empty for an empty handle, this one or the one given;
 * -5000 (WIQ_ERR_NO_MEMORY). After a failure nothing has changed, unless said.
 */
class KE_BORROWS_ json_ref : public json_view {
  public:
    /** Nothing. */
    constexpr json_ref() noexcept = default;
    /** A node of the C interface; NULL is nothing. */
    constexpr explicit json_ref(wiq_json_t* node) noexcept : json_view(node) {}
    /** The same place. */
    constexpr json_ref(const json_ref&) noexcept = default;
    /** The whole document. */
    json_ref(json& document) noexcept;
    /** A document that is const, or gone at the end of the line, is not changed through a json_ref. */
    json_ref(const json&) = delete;
    /** Looks elsewhere. */
    json_ref& operator=(const json_ref&) & noexcept = default;
    /** Nothing would be stored: set() stores. */
    json_ref& operator=(const json&) = delete;

    /** @name Look-ups, as in ke::json_view
     *  @{ */
    /** As in ke::json_view. */
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
     * Stores a value under a key, in place of what is there. A literal key that begins with "/" is taken
     * for a pointer without its suffix and refused (WIQ_ERR_PTR_SYNTAX): write "/a/b"_ptr, or, for a
     * member of that very name, ke::key("/a/b").
     */
    template <class V = json>
    status set(const text_arg& key, V&& value);
    /** Stores a value where a pointer names it, making what containers are missing on the way; "-" appends. */
    template <class V = json>
    status set(pointer where, V&& value);
    /** Puts a value in an element's place; an index equal to the array's size appends. */
    template <class V = json, class I, std::enable_if_t<std::is_integral_v<I>, int> = 0>
    status set(I index, V&& value);
    /** Appends a value to an array. */
    template <class V = json>
    status push_back(V&& value);
    /** Puts a value in front of an element; an index equal to the array's size appends, a negative one is
     *  WIQ_ERR_INDEX_OUT_OF_RANGE. */
    template <class V = json, class I, std::enable_if_t<std::is_integral_v<I>, int> = 0>
    status insert(I index, V&& value);

    /** @name Weak containers: a reference to a value of another tree, which stays where it is
     *  WIQ_ERR_INVALID_ARG if this is no weak container.
     *  @{ */
    /** Under a key. */
    status link(const text_arg& key, json_ref value) noexcept {
        if (node_ == nullptr || value.node_ == nullptr)
            return err_empty;
        if (!is_weak())
            return WIQ_ERR_INVALID_ARG;
        return key.status() != 0 ? key.status()
                                 : wiq_json_obj_put_ext(node_, key.c_str(), value.node_, nullptr);
    }
    /** At the end. */
    status link_back(json_ref value) noexcept {
        if (node_ == nullptr || value.node_ == nullptr)
            return err_empty;
        return is_weak() ? wiq_json_array_push_ext(node_, value.node_, nullptr)
                         : static_cast<i32>(WIQ_ERR_INVALID_ARG);
    }
    /** @} */

    /** The object under a key, made if it is missing. */
    result<json_ref> object_at(const text_arg& key) noexcept {
        return made_at(key, wiq_json_obj_getd_obj);
    }
    /** The array under a key, made if it is missing. */
    result<json_ref> array_at(const text_arg& key) noexcept {
        return made_at(key, wiq_json_obj_getd_array);
    }

    /** Takes a member, element or whatever a pointer names out of its place, to be kept or set elsewhere.
     *  Elements after it move up. The status is that of the look-up. */
    template <class Where>
    result<json> take(const Where& where);
    /** Takes the last element. WIQ_ERR_INDEX_OUT_OF_RANGE if there is none. */
    result<json> take_back();
    /** Removes a member, element, or what a pointer names; as take(). */
    template <class Where>
    status erase(const Where& where);
    /** Removes the last elements. WIQ_ERR_INVALID_ARG if there are fewer. */
    status pop_back(i32 count = 1) noexcept {
        return node_ == nullptr ? err_empty : wiq_json_array_pop(node_, count);
    }
    /** Removes every element of an array, or member of an object, of whose value the test is true. It is
     *  asked about all before any goes, and may throw; elements that it appends stay. The number that went,
     *  or a status. */
    template <class Test>
    result<i32> erase_if(Test&& test);
    /** Removes all members or elements. */
    status clear();
    /** Sorts an array, keeping equal elements in order; `less` compares two ke::json_view and may throw. */
    template <class Less>
    status sort(Less&& less);

    /** Puts a value in this one's place in its container, and hands this one over. WIQ_ERR_INVALID_ARG if
     *  it stands free or the replacement cannot be attached. */
    template <class V>
    result<json> replace(V&& value);
    /** Replaces every reference in the document by a copy of its target. What was replaced before a failure
     *  stays so. */
    status expand() noexcept { return node_ == nullptr ? err_empty : wiq_json_jref_expand(node_); }

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
 * The owner of a value, or one of its owners: copying a ke::json shares the value and counts (atomically),
 * clone() copies it, moving costs nothing. A value that leaves its container while somebody owns it lives on
 * by itself. Views and references are borrowed from it; of a temporary, look-ups give owners.
 */
class KE_OWNS_ json : public json_ref {
  public:
    /** Nothing. */
    json() noexcept = default;
    /** @name Copies share the value, moves hand it over
     *  @{ */
    /** Copies share the value. */
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
    /** Another owner of what a view looks at. */
    json(json_view view) noexcept : json_ref(view.node()) { wiq_json_ref(node_); }
    /**
     * A document as it is written: `ke::json{{"a", 1}, {"b", {1, 2}}}`. A list of pairs that each begin
     * with a text is an object, any other an array; array() and object() say which. A list of one handle
     * is that handle, as everywhere in C++. Empty without memory or if a handle in it is.
     */
    json(std::initializer_list<detail::init> list);
    ~json() { wiq_json_unref(node_); }

    /** An owner of a node of the C interface; takes a reference of its own. */
    static json share(wiq_json_t* node) noexcept { return json(json_view(node)); }
    using json_view::share;

    /** @name New values, empty without memory
     *  @{ */
    /** New values, empty without memory. */
    static json null() { return share(wiq_json_null_new(nullptr)); }
    static json object() { return share(wiq_json_obj_new(0, nullptr)); }
    static json array() { return share(wiq_json_array_new(0, nullptr)); }
    static json object(std::initializer_list<detail::init> members);
    static json array(std::initializer_list<detail::init> elements);
    /** Containers that refer to values of other trees. */
    static json weak_object() { return share(wiq_json_obj_weak_new(0, nullptr)); }
    static json weak_array() { return share(wiq_json_array_weak_new(0, nullptr)); }
    /** A reference (`$ref`) to what a JSON pointer names. */
    static json reference(const text_arg& uri) {
        return share(wiq_json_jref_new(uri.c_str(), nullptr));
    }
    /** Whatever json_convert.hpp makes values of. */
    template <class T>
    static json of(const T& value) {
        return make(value).value_or(json());
    }
    /** The same, with the status. */
    template <class T>
    static result<json> make(const T& value);
    /** @} */

    /** @name Parsing ASCII text; see parse_utf8() in utf8.hpp for text with other characters
     *  `const char*`, literals and std::string are read where they are; a std::string_view is copied. A NUL
     *  inside a text of known length is WIQ_ERR_INVALID_ARG.
     *  @{ */
    /** Parses a document. */
    static result<json> parse(const text_arg& text, load_flags flags = {}) {
        if (text.status() != 0)
            return result<json>::failure(text.status());
        wiq_json_load_error error;
        return loaded(wiq_json_loads(text.c_str(), flags.bits<i32>(), &error), error);
    }
    /** Parses the document that a stream holds. */
    static result<json> load(std::FILE* stream, load_flags flags = {}) {
        wiq_json_load_error error;
        return loaded(wiq_json_loadf(stream, flags.bits<i32>(), &error), error);
    }
    /** Parses the document in a file, in UTF-8: ke::load_file(), with which it is in ke/files.hpp. */
    static inline result<json> load_file(const text_arg& path, load_flags flags = {});
    /** @} */

    /** @name Look-ups: a const document gives views, another one references, a temporary one owners
     *  @{ */
    /** See ke::json_view. */
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

    /** @name What is read of a temporary document must not be lent
     *  @{ */
    /** As json_view::to(). */
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
    /** As json_view::get(). */
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
    /** As json_view::value_or(). */
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

    /** A borrowed place of this value. */
    json_ref ref() & noexcept { return json_ref(node_); }
    /** A borrowed look at this value. */
    json_view view() const& noexcept { return *this; }
    json_view view() && = delete;
    json_ref ref() && = delete;

    /** Hands the owner's reference to the C interface; the handle is empty afterwards. */
    wiq_json_t* release() noexcept {
        wiq_json_t* const node = node_;
        node_ = nullptr;
        return node;
    }
    /** Takes over a reference of release() or wiq_json_ref(). What the C interface makes has none yet: see
     *  share(). */
    static json adopt(wiq_json_t* node) noexcept {
        json owner;
        owner.node_ = node;
        return owner;
    }
    /** Exchanges what two handles own. */
    friend void swap(json& a, json& b) noexcept {
        wiq_json_t* const node = a.node_;
        a.node_ = b.node_;
        b.node_ = node;
    }
    /** Takes the value out of its place, if it has one; the handle owns it alone then. An element leaves a
     *  null behind, unless it is the last. */
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

#endif
