// An explicit stack for walks over documents of any depth. The first items are stored inside the
// object, so that ordinary documents need no allocation; when there are more, all are in a block
// that doubles.
#pragma once

#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "ke_utils/types.h"

namespace ke {

template <class T, size_t N>
class SmallStack {
    static_assert(std::is_trivially_copyable_v<T>);

  public:
    SmallStack() = default;
    SmallStack(const SmallStack&) = delete;
    SmallStack& operator=(const SmallStack&) = delete;
    ~SmallStack() {
        if (items_ != inline_)
            free(items_);
    }

    bool empty() const { return size_ == 0; }
    size_t size() const { return size_; }
    T& top() { return items_[size_ - 1]; }
    // Removes the top item and returns it. It stays valid until the next push().
    const T& pop() { return items_[--size_]; }
    // The items, the lowest first.
    T* data() { return items_; }
    // Keeps the lowest `size` items.
    void truncate(size_t size) { size_ = size; }
    // Returns false when out of memory; the stack is then unchanged.
    bool push(const T& item) {
        if (size_ == capacity_ && !grow())
            return false;
        items_[size_++] = item;
        return true;
    }

  private:
    bool grow() {
        // The size is never 0, since capacity_ is at least N.
        // NOLINTNEXTLINE(clang-analyzer-optin.portability.UnixAPI)
        void* block = realloc(items_ == inline_ ? nullptr : items_, 2 * capacity_ * sizeof(T));
        if (block == nullptr)
            return false;
        if (items_ == inline_)
            memcpy(block, inline_, sizeof(inline_));
        items_ = static_cast<T*>(block);
        capacity_ *= 2;
        return true;
    }

    T inline_[N];
    T* items_ = inline_;
    size_t size_ = 0;
    size_t capacity_ = N;
};

}  // namespace ke
