/**
 * @file json_ranges.hpp
 * The ranges over elements and members that json_view::elements() and members() give. Each owns a reference
 * to its container, so that a range over a temporary document is safe; that is the one atomic operation of
 * a walk. Included by json.hpp.
 */
#ifndef KE_JSON_HPP
#include "ke/json.hpp"  // which includes this one where it is due
#elif !defined(KE_JSON_RANGES_HPP)
#define KE_JSON_RANGES_HPP

#include <cstddef>
#include <iterator>

namespace ke {

/** @addtogroup cpp
 *  @{ */

namespace detail {

// What `iterator->` gives for an iterator that makes its values.
template <class T>
struct arrow {
    T value;
    T* operator->() noexcept { return &value; }
};

// A place in a list, and how a value is made of it. A random access iterator in the sense of C++20, and an
// input iterator in that of C++17, since it gives values, not references.
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

// A member as the C interface tells of it.
struct member_entry {
    const char* key;
    wiq_json_t* child;
};
struct delete_entries {
    void operator()(const member_entry* list) const noexcept { delete[] list; }
};

}  // namespace detail

/**
 * The elements of an array, as many as there are when the walk begins. Elements may be replaced on the way;
 * one that is gone is met as an empty view. Its iterators are random access iterators in the sense of C++20
 * and input iterators in that of C++17, since they give views, not references.
 */
template <class View>
class json_elements {
    static View get(wiq_json_t* array, i32 index) noexcept {
        return View(wiq_json_array_get_ext(array, index, 0, nullptr));
    }

  public:
    using iterator = detail::list_iterator<wiq_json_t, View, get>; /**< walks by index */
    using const_iterator = iterator; /**< the same: the elements are views */

    /** No elements. */
    json_elements() noexcept = default;
    /** Of a value; empty if it is no array. */
    explicit json_elements(json_view array) noexcept : array_(array) {}
    /** The first element. */
    iterator begin() const noexcept { return {array_.node(), 0}; }
    /** Behind the last one. */
    iterator end() const noexcept { return {array_.node(), size()}; }
    /** How many there are. */
    i32 size() const noexcept { return array_.is_array() ? array_.size() : 0; }
    /** Whether there are none. */
    bool empty() const noexcept { return size() == 0; }

  private:
    json array_;
};

/** A member as a walk gives it. */
template <class View>
struct json_member {
    std::string_view key; /**< the object's own text: lives as long as the member */
    View value;           /**< the child */
};

/**
 * The members of an object as they were when the range was made. Values may be replaced and the member at
 * hand removed on the way; a member that is removed ahead of the walk must not be met. Its iterators are as
 * those of json_elements, and valid as long as the range is.
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

    /** No members. */
    json_members() noexcept = default;
    /** Of a value; empty if it is no object. May throw std::bad_alloc if there are more than eight. */
    explicit json_members(json_view object) : object_(object) {
        const i32 size = object.is_object() ? object.size() : 0;
        if (size > kInside)
            many_.reset(new detail::member_entry[static_cast<std::size_t>(size)]);
        if (size > 0)
            wiq_json_obj_foreach(object.node(), add, this);
    }
    /** A move hands the list over; a copy makes none. */
    json_members(json_members&& other) noexcept { *this = std::move(other); }
    /** A move hands the list over. */
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
    /** The first member; not of a temporary range, whose list would be gone. */
    iterator begin() const& noexcept { return {list(), 0}; }
    iterator begin() && = delete;
    /** Behind the last one. */
    iterator end() const& noexcept { return {list(), size_}; }
    iterator end() && = delete;
    /** How many there are. */
    i32 size() const noexcept { return size_; }
    /** Whether there are none. */
    bool empty() const noexcept { return size_ == 0; }

  private:
    static constexpr i32 kInside = 8;

    static bool add(const char* key, wiq_json_t* child, void* user) {
        auto* const self = static_cast<json_members*>(user);
        (self->many_ ? self->many_.get() : self->few_)[self->size_++] = {key, child};
        return true;
    }
    entry* list() const noexcept { return many_ ? many_.get() : few_; }

    json object_;
    owned<detail::member_entry, detail::delete_entries> many_;
    i32 size_ = 0;
    detail::member_entry few_[kInside] = {};
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
