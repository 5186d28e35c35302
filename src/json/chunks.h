// Memory for the nodes of a document that the parser or a copy makes: their blocks lie side by side in chunks,
// each of which is one allocation.
//
//   Chunk   ┌──────┬────────┬───────┬───────┬─── ... ───┬───────┬───────┬─── ...
//           │ self │ blocks │ block │ block │           │ chunk │ block │
//           └──▲───┴────────┴───────┴───────┴─── ... ───┴───┬───┴───────┴─── ...
//              └────────────────────────────────────────────┘
//
// A mark is a pointer to the chunk. One stands at the start of the chunk and one at least every half a kilobyte, so
// that a node needs only 6 bits for its distance from the last mark, where it finds its chunk. A chunk counts the
// blocks in use and is freed with the last one. The memory of a released block is not used again.
//
// Each chunk is half as large as all earlier ones together, within bounds: a small document has small chunks.
//
// In a build with AddressSanitizer each chunk holds one block, so that use after release is found.
#pragma once

#include <atomic>
#include <cstdlib>

#include "ke_utils/types.h"

namespace ke::json {

struct Chunk {
    Chunk* self;
    u64 blocks;  // in use, and one more as long as others may be added
};

// Releases `count` blocks, which the caller owns. Only an owner of a block can add to the chunk's count, so nobody
// else changes it while the caller releases all that are left.
inline void release_blocks(Chunk* chunk, u64 count) {
    const std::atomic_ref<u64> blocks(chunk->blocks);
    if (blocks.load(std::memory_order_acquire) == count ||
        blocks.fetch_sub(count, std::memory_order_acq_rel) == count)
        free(chunk);
}

// Adds an owner to the chunk; the caller is one already.
inline void share_chunk(Chunk* chunk) {
    std::atomic_ref<u64>(chunk->blocks).fetch_add(1, std::memory_order_relaxed);
}

// Fills one chunk after another.
class Chunks {
  public:
    // The greatest distance of a node from its mark, and from the start of its block. A block that directly follows
    // a mark, or the chunk's header, is within the first if it keeps to the second.
    static constexpr size_t kFarthestMark = size_t{63} * 8;
    static constexpr size_t kFarthest = kFarthestMark - sizeof(Chunk);
    static constexpr size_t kLargestBlock = 1000;

    Chunks() = default;
    Chunks(const Chunks&) = delete;
    Chunks& operator=(const Chunks&) = delete;
    ~Chunks() { leave(); }

    // Returns a block of `size` bytes, a multiple of 8, whose node will stand at `offset`; nullptr when out of
    // memory.
    char* take(size_t size, size_t offset) {
        if ((size > static_cast<size_t>(end_ - next_) ||
             static_cast<size_t>(next_ - mark_) + offset > kFarthestMark) &&
            !make_room(size))
            return nullptr;
        char* block = next_;
        next_ += size;
        ++chunk_->blocks;
        return block;
    }

    // The distance of a node, in the last block taken, from its mark, in units of 8 bytes.
    size_t distance(const char* node) const { return static_cast<size_t>(node - mark_) / 8; }

  private:
    bool make_room(size_t size);
    void leave() {
        if (chunk_ != nullptr)
            release_blocks(chunk_, 1);
    }

    Chunk* chunk_ = nullptr;
    char* mark_ = nullptr;  // the last mark
    char* next_ = nullptr;  // where the next block goes
    char* end_ = nullptr;   // of the chunk
    size_t total_ = 0;      // of the sizes of all chunks
};

}  // namespace ke::json
