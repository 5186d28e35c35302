// A buffer for one text at a time. Short texts need no allocation.
#pragma once

#include <cstdlib>

#include "ke_utils/types.h"

namespace ke {

template <size_t N>
class SmallBuffer {
  public:
    SmallBuffer() = default;
    SmallBuffer(const SmallBuffer&) = delete;
    SmallBuffer& operator=(const SmallBuffer&) = delete;
    ~SmallBuffer() { free(block_); }

    // Returns space for `count` bytes, whose content is undefined; or nullptr when out of memory,
    // with the old block unchanged.
    char* room(size_t count) {
        if (count <= N)
            return inline_;
        if (count > capacity_) {
            const size_t capacity = count > SIZE_MAX / 2 ? count : 2 * count;
            auto* block = static_cast<char*>(malloc(capacity));
            if (block == nullptr)
                return nullptr;
            free(block_);
            block_ = block;
            capacity_ = capacity;
        }
        return block_;
    }

  private:
    char inline_[N];
    char* block_ = nullptr;
    size_t capacity_ = 0;
};

}  // namespace ke
