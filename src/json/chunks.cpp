// See chunks.h.

#include "json/chunks.h"

#include <algorithm>

namespace ke::json {

namespace {

#if defined(KE_ADDRESS_SANITIZER)
constexpr bool kOneBlockEach = true;
#else
constexpr bool kOneBlockEach = false;
#endif

// With the header of the usual allocators these sizes are multiples of 16.
constexpr size_t kSmallestChunk = 128 - 8;
constexpr size_t kLargestChunk = 16 * 1024 - 8;

size_t chunk_size(size_t total, size_t block) {
    const size_t needed = sizeof(Chunk) + block;
    if (kOneBlockEach)
        return needed;
    const size_t size = std::clamp(total / 2, kSmallestChunk, kLargestChunk);
    return (std::max(size, needed) + 7) / 16 * 16 + 8;
}

}  // namespace

bool Chunks::make_room(size_t size) {
    if (static_cast<size_t>(end_ - next_) >= sizeof(Chunk*) + size) {
        *reinterpret_cast<Chunk**>(next_) = chunk_;
        mark_ = next_;
        next_ += sizeof(Chunk*);
        return true;
    }
    const size_t whole = chunk_size(total_, size);
    auto* chunk = static_cast<Chunk*>(malloc(whole));
    if (chunk == nullptr)
        return false;
    leave();
    *chunk = {chunk, 1};
    chunk_ = chunk;
    total_ += whole;
    mark_ = reinterpret_cast<char*>(chunk);
    end_ = mark_ + whole;
    next_ = reinterpret_cast<char*>(chunk + 1);
    return true;
}

}  // namespace ke::json
