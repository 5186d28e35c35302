// An explicit stack for walks over documents of any depth: the first places inline, so that ordinary
// documents need no memory, then a block that doubles.
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
    void pop() { --size_; }
    // From the bottom up.
    T* data() { return items_; }
    // Leaves the lowest ones.
    void truncate(size_t size) { size_ = size; }
    // False without memory; the stack is then as it was.
    bool push(const T& item) {
        if (size_ == capacity_ && !grow())
            return false;
        items_[size_++] = item;
        return true;
    }

  private:
    bool grow() {
        // The size is never 0: capacity_ is at least N.
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
