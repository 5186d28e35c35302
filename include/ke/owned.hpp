/**
 * @file owned.hpp
 * Defines the types that own memory and streams in this layer. std::unique_ptr and std::vector
 * would do, but their headers cost each file that includes ke/json.hpp an eighth of its compile
 * time.
 */
#ifndef KE_OWNED_HPP
#define KE_OWNED_HPP

#include <cstddef>
#include <cstdlib>

namespace ke {

/** @addtogroup cpp
 *  @{ */

/** The only owner of the object that a pointer points to. Its destructor calls
 *  `Release()(pointer)`. An empty owner is false in a condition. */
template <class T, class Release>
class owned {
  public:
    /** Makes an empty owner. */
    owned() noexcept = default;
    /** Takes over an object; NULL makes an empty owner. */
    explicit owned(T* held) noexcept : held_(held) {}
    /** @name A move leaves the other owner empty
     *  @{ */
    /** Takes over the object of another owner, which is empty afterwards. */
    owned(owned&& other) noexcept : held_(other.release()) {}
    owned& operator=(owned&& other) & noexcept {
        reset(other.release());
        return *this;
    }
    /** @} */
    ~owned() { reset(); }

    /** Returns the object, which the owner keeps. */
    T* get() const noexcept { return held_; }
    /** Returns the object, which the owner keeps. */
    T* operator->() const noexcept { return held_; }
    /** Tells whether there is an object. */
    explicit operator bool() const noexcept { return held_ != nullptr; }
    /** Hands the object over to the caller; the owner is empty afterwards. */
    T* release() noexcept {
        T* const held = held_;
        held_ = nullptr;
        return held;
    }
    /** Takes over `held`, which may be NULL, and releases the object that was owned before. */
    void reset(T* held = nullptr) noexcept {
        T* const old = held_;
        held_ = held;
        if (old != nullptr)
            Release()(old);
    }

  private:
    T* held_ = nullptr;
};

namespace detail {

struct free_memory {
    void operator()(void* block) const noexcept { std::free(block); }
};

// An array whose length is fixed when it is made. All its elements are made at once, so that
// storing into them needs no memory.
template <class T>
class fixed_array {
  public:
    explicit fixed_array(std::size_t size)
        : items_(size == 0 ? nullptr : new T[size]()), size_(size) {}
    fixed_array(const fixed_array&) = delete;
    fixed_array& operator=(const fixed_array&) = delete;
    ~fixed_array() { delete[] items_; }

    T& operator[](std::size_t at) noexcept { return items_[at]; }
    T* begin() const noexcept { return items_; }
    T* end() const noexcept { return items_ + size_; }
    std::size_t size() const noexcept { return size_; }
    void swap(fixed_array& other) noexcept {
        T* const items = items_;
        const std::size_t size = size_;
        items_ = other.items_;
        size_ = other.size_;
        other.items_ = items;
        other.size_ = size;
    }

  private:
    T* items_;
    std::size_t size_;
};

}  // namespace detail

/** A string that the library allocated; it is released with free(). */
using c_text = owned<char, detail::free_memory>;

/** @} */

}  // namespace ke

#endif
