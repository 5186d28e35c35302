/**
 * @file json_ranges.hpp
 * Defines the ranges that json_view::elements() and json_view::members() return. A range holds a
 * reference to its container, so a range over a temporary document is safe. Taking and releasing
 * that reference are the only atomic operations of a walk. Included by json.hpp.
 */
#ifndef KE_JSON_HPP
#include "ke/json.hpp"  // which includes this header in the right place
#elif !defined(KE_JSON_RANGES_HPP)
#define KE_JSON_RANGES_HPP

#include <cstddef>
#include <iterator>

namespace ke {

/** @addtogroup cpp
 *  @{ */

namespace detail {

// Returned by operator-> of an iterator that makes its values: it holds the value until the
// expression ends.
template <class T>
struct arrow {
    T value;
    T* operator->() noexcept { return &value; }
};

// A position in a list; Get makes the value there. It is a random access iterator by the rules of
// C++20 but only an input iterator by those of C++17, since it returns values, not references.
template <class List, class Value, Value (*Get)(List*, i32)>
class list_iterator {
  public:
    using iterator_concept = std::random_access_iterator_tag;
    using iterator_category = std::input_iterator_tag;
    using value_type = Value;
    using difference_type = std::ptrdiff_t;
    using pointer = arrow<Value>;
    using reference = Value;

    list_iterator() noexcept = default;
    list_iterator(List* list, i32 index) noexcept : list_(list), index_(index) {}
    Value operator*() const noexcept { return Get(list_, index_); }
    pointer operator->() const noexcept { return {**this}; }
    Value operator[](difference_type offset) const noexcept { return *(*this + offset); }
    list_iterator& operator++() noexcept { return *this += 1; }
    list_iterator& operator--() noexcept { return *this -= 1; }
    list_iterator operator++(int) noexcept { return {list_, index_++}; }
    list_iterator operator--(int) noexcept { return {list_, index_--}; }
    list_iterator& operator+=(difference_type n) noexcept {
        index_ += static_cast<i32>(n);
        return *this;
    }
    list_iterator& operator-=(difference_type n) noexcept { return *this += -n; }
    friend list_iterator operator+(list_iterator a, difference_type n) noexcept { return a += n; }
    friend list_iterator operator+(difference_type n, list_iterator a) noexcept { return a += n; }
    friend list_iterator operator-(list_iterator a, difference_type n) noexcept { return a -= n; }
    friend difference_type operator-(list_iterator a, list_iterator b) noexcept {
        return a.index_ - b.index_;
    }
    friend bool operator==(list_iterator a, list_iterator b) noexcept { return a - b == 0; }
    friend bool operator!=(list_iterator a, list_iterator b) noexcept { return a - b != 0; }
    friend bool operator<(list_iterator a, list_iterator b) noexcept { return a - b < 0; }
    friend bool operator>(list_iterator a, list_iterator b) noexcept { return a - b > 0; }
    friend bool operator<=(list_iterator a, list_iterator b) noexcept { return a - b <= 0; }
    friend bool operator>=(list_iterator a, list_iterator b) noexcept { return a - b >= 0; }

  private:
    List* list_ = nullptr;
    i32 index_ = 0;
};

// A member as the C interface passes it to a callback.
struct member_entry {
    const char* key;
    wiq_json_t* child;
};
struct delete_entries {
    void operator()(const member_entry* list) const noexcept { delete[] list; }
};

}  // namespace detail

/**
 * The elements of an array. end() fixes how many are walked, so a range-based for loop meets as
 * many as there are when it begins. Elements may be replaced during the walk. If elements are
 * removed, the positions that are gone are met as empty views.
 *
 * The iterators are random access iterators by the rules of C++20 but only input iterators by those
 * of C++17, since they return views, not references.
 */
template <class View>
class json_elements {
    static View get(wiq_json_t* array, i32 index) noexcept {
        return View(wiq_json_array_get_ext(array, index, 0, nullptr));
    }

  public:
    using iterator = detail::list_iterator<wiq_json_t, View, get>; /**< walks by index */
    using const_iterator = iterator; /**< the same: the elements are views */

    /** Makes an empty range. */
    json_elements() noexcept = default;
    /** Makes a range over the elements of a value; it is empty if the value is not an array. */
    explicit json_elements(json_view array) noexcept : array_(array) {}
    /** Returns an iterator at the first element. */
    iterator begin() const noexcept { return {array_.node(), 0}; }
    /** Returns an iterator after the last element that the array has now. */
    iterator end() const noexcept { return {array_.node(), size()}; }
    /** Returns the number of elements that the array has now. */
    i32 size() const noexcept { return array_.is_array() ? array_.size() : 0; }
    /** Tells whether there are no elements. */
    bool empty() const noexcept { return size() == 0; }

  private:
    json array_;
};

/** A member that a walk meets. */
template <class View>
struct json_member {
    std::string_view key; /**< the object's own text, valid as long as the member */
    View value;           /**< the child */
};

/**
 * The members of an object, as they were when the range was made. During a walk, values may be
 * replaced and the current member may be removed. A member that the walk has not yet reached may be
 * removed only if the walk ends before it, since the range still refers to it. The iterators are of
 * the same kind as those of json_elements, and valid as long as the range exists.
 */
template <class View>
class json_members {
    using entry = const detail::member_entry;
    static json_member<View> get(entry* list, i32 index) noexcept {
        return {list[index].key, View(list[index].child)};
    }

  public:
    using iterator = detail::list_iterator<entry, json_member<View>, get>; /**< walks the list */
    using const_iterator = iterator; /**< the same: the members are views */

    /** Makes an empty range. */
    json_members() noexcept = default;
    /** Makes a range over the members of a value; it is empty if the value is not an object. It
     *  allocates if there are more than eight members, and may then throw std::bad_alloc. */
    explicit json_members(json_view object) : object_(object) {
        const i32 size = object.is_object() ? object.size() : 0;
        if (size > kMaxInlineMembers)
            many_.reset(new detail::member_entry[static_cast<std::size_t>(size)]);
        if (size > 0)
            wiq_json_obj_foreach(object.node(), add, this);
    }
    /** Takes over the members of another range, which is empty afterwards. Ranges cannot be
     *  copied. */
    json_members(json_members&& other) noexcept { *this = std::move(other); }
    /** Takes over the members of another range, which is empty afterwards. */
    json_members& operator=(json_members&& other) & noexcept {
        if (this != &other) {
            object_ = std::move(other.object_);
            many_ = std::move(other.many_);
            size_ = other.size_;
            if (!many_)
                std::memcpy(few_, other.few_, sizeof few_);
            other.size_ = 0;
        }
        return *this;
    }
    /** Returns an iterator at the first member. Deleted for a temporary range, since the iterator
     *  would outlive it. */
    iterator begin() const& noexcept { return {list(), 0}; }
    iterator begin() && = delete;
    /** Returns an iterator after the last member. Deleted for a temporary range, too. */
    iterator end() const& noexcept { return {list(), size_}; }
    iterator end() && = delete;
    /** Returns the number of members. */
    i32 size() const noexcept { return size_; }
    /** Tells whether there are no members. */
    bool empty() const noexcept { return size_ == 0; }

  private:
    static constexpr i32 kMaxInlineMembers = 8;

    static bool add(const char* key, wiq_json_t* child, void* user) {
        auto* const self = static_cast<json_members*>(user);
        (self->many_ ? self->many_.get() : self->few_)[self->size_++] = {key, child};
        return true;
    }
    entry* list() const noexcept { return many_ ? many_.get() : few_; }

    json object_;
    owned<detail::member_entry, detail::delete_entries> many_;
    i32 size_ = 0;
    detail::member_entry few_[kMaxInlineMembers] = {};
};

inline json_elements<json_view> json_view::elements() const {
    return json_elements<json_view>(*this);
}
inline json_members<json_view> json_view::members() const {
    return json_members<json_view>(*this);
}
inline json_elements<json_ref> json_ref::elements() const {
    return json_elements<json_ref>(*this);
}
inline json_members<json_ref> json_ref::members() const {
    return json_members<json_ref>(*this);
}
inline json_elements<json_view> json::elements() const {
    return json_elements<json_view>(*this);
}
inline json_elements<json_ref> json::elements() {
    return json_elements<json_ref>(*this);
}
inline json_members<json_view> json::members() const {
    return json_members<json_view>(*this);
}
inline json_members<json_ref> json::members() {
    return json_members<json_ref>(*this);
}

/** @} */

}  // namespace ke

#endif
