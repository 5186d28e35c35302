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
#include <memory>

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
}  // namespace detail

/**
 * The elements of an array, as many as there are when the walk begins. Elements may be replaced on the way;
 * one that is gone is met as an empty view. Its iterators are random access iterators in the sense of C++20
 * and input iterators in that of C++17, since they give views, not references.
 */
template <class View>
class json_elements {
  public:
    /** Walks by index. */
    class iterator {
      public:
        /** @name What the standard asks of an iterator
         *  @{ */
        /** What the standard asks of an iterator. */
        using iterator_concept = std::random_access_iterator_tag;
        using iterator_category = std::input_iterator_tag;
        using value_type = View;
        using difference_type = std::ptrdiff_t;
        using pointer = detail::arrow<View>;
        using reference = View;

        iterator() noexcept = default;
        iterator(wiq_json_t* array, i32 index) noexcept : array_(array), index_(index) {}
        View operator*() const noexcept { return (*this)[0]; }
        pointer operator->() const noexcept { return {**this}; }
        View operator[](difference_type offset) const noexcept {
            return View(
                wiq_json_array_get_ext(array_, index_ + static_cast<i32>(offset), 0, nullptr));
        }
        iterator& operator++() noexcept { return *this += 1; }
        iterator& operator--() noexcept { return *this -= 1; }
        iterator operator++(int) noexcept {
            const iterator before = *this;
            ++index_;
            return before;
        }
        iterator operator--(int) noexcept {
            const iterator before = *this;
            --index_;
            return before;
        }
        iterator& operator+=(difference_type n) noexcept {
            index_ += static_cast<i32>(n);
            return *this;
        }
        iterator& operator-=(difference_type n) noexcept { return *this += -n; }
        friend iterator operator+(iterator a, difference_type n) noexcept { return a += n; }
        friend iterator operator+(difference_type n, iterator a) noexcept { return a += n; }
        friend iterator operator-(iterator a, difference_type n) noexcept { return a -= n; }
        friend difference_type operator-(iterator a, iterator b) noexcept {
            return a.index_ - b.index_;
        }
        friend bool operator==(iterator a, iterator b) noexcept { return a.index_ == b.index_; }
        friend bool operator!=(iterator a, iterator b) noexcept { return a.index_ != b.index_; }
        friend bool operator<(iterator a, iterator b) noexcept { return a.index_ < b.index_; }
        friend bool operator>(iterator a, iterator b) noexcept { return a.index_ > b.index_; }
        friend bool operator<=(iterator a, iterator b) noexcept { return a.index_ <= b.index_; }
        friend bool operator>=(iterator a, iterator b) noexcept { return a.index_ >= b.index_; }
        /** @} */

      private:
        wiq_json_t* array_ = nullptr;
        i32 index_ = 0;
    };
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
 * hand removed on the way; a member that is removed ahead of the walk must not be met.
 */
template <class View>
class json_members {
    struct entry {
        const char* key;
        wiq_json_t* child;
    };

  public:
    /** Walks the list; valid as long as the range is. */
    class iterator {
      public:
        /** @name What the standard asks of an iterator
         *  @{ */
        /** What the standard asks of an iterator. */
        using iterator_concept = std::random_access_iterator_tag;
        using iterator_category = std::input_iterator_tag;
        using value_type = json_member<View>;
        using difference_type = std::ptrdiff_t;
        using pointer = detail::arrow<value_type>;
        using reference = value_type;

        iterator() noexcept = default;
        explicit iterator(const void* at) noexcept : at_(static_cast<const entry*>(at)) {}
        value_type operator*() const noexcept { return (*this)[0]; }
        pointer operator->() const noexcept { return {**this}; }
        value_type operator[](difference_type n) const noexcept {
            return {at_[n].key, View(at_[n].child)};
        }
        iterator& operator++() noexcept { return *this += 1; }
        iterator& operator--() noexcept { return *this -= 1; }
        iterator operator++(int) noexcept { return iterator(at_++); }
        iterator operator--(int) noexcept { return iterator(at_--); }
        iterator& operator+=(difference_type n) noexcept {
            at_ += n;
            return *this;
        }
        iterator& operator-=(difference_type n) noexcept { return *this += -n; }
        friend iterator operator+(iterator a, difference_type n) noexcept { return a += n; }
        friend iterator operator+(difference_type n, iterator a) noexcept { return a += n; }
        friend iterator operator-(iterator a, difference_type n) noexcept { return a -= n; }
        friend difference_type operator-(iterator a, iterator b) noexcept { return a.at_ - b.at_; }
        friend bool operator==(iterator a, iterator b) noexcept { return a.at_ == b.at_; }
        friend bool operator!=(iterator a, iterator b) noexcept { return a.at_ != b.at_; }
        friend bool operator<(iterator a, iterator b) noexcept { return a.at_ < b.at_; }
        friend bool operator>(iterator a, iterator b) noexcept { return a.at_ > b.at_; }
        friend bool operator<=(iterator a, iterator b) noexcept { return a.at_ <= b.at_; }
        friend bool operator>=(iterator a, iterator b) noexcept { return a.at_ >= b.at_; }
        /** @} */

      private:
        const entry* at_ = nullptr;
    };
    using const_iterator = iterator; /**< the same: the members are views */

    /** No members. */
    json_members() noexcept = default;
    /** Of a value; empty if it is no object. May throw std::bad_alloc if there are more than eight. */
    explicit json_members(json_view object) : object_(object) {
        const i32 size = object.is_object() ? object.size() : 0;
        if (size > kInside)
            many_.reset(new entry[static_cast<std::size_t>(size)]);
        if (size > 0)
            wiq_json_obj_foreach(object.node(), add, this);
    }
    /** A move hands the list over; a copy makes none. */
    json_members(json_members&& other) noexcept
        : object_(std::move(other.object_)), many_(std::move(other.many_)), size_(other.size_) {
        if (!many_)
            std::memcpy(few_, other.few_, sizeof few_);
        other.size_ = 0;
    }
    /** A move hands the list over. */
    json_members& operator=(json_members&& other) noexcept {
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
    /** The first member. */
    iterator begin() const noexcept { return iterator(list()); }
    /** Behind the last one. */
    iterator end() const noexcept { return iterator(list() + size_); }
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
    const entry* list() const noexcept { return many_ ? many_.get() : few_; }

    json object_;
    std::unique_ptr<entry[]> many_;
    i32 size_ = 0;
    entry few_[kInside] = {};
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
