// Memory for the nodes of a document that the parser or a copy makes: their blocks lie side by side in chunks,
// each of which is one allocation.
//
//   Chunk   ┌─────┬────────┬──────┬───────┬───────┬─── ... ───┬───────┬───────┬─── ...
//           │ ... │ blocks │ self │ block │ block │           │ chunk │ block │
//           └──▲──┴────────┴──┬───┴───────┴───────┴─── ... ───┴───┬───┴───────┴─── ...
//              └──────────────┴───────────────────────────────────┘
//
// A mark is a pointer to the chunk. One ends the chunk's header and another follows at least every half a kilobyte,
// so that a node needs only 6 bits for its distance from the last mark, where it finds its chunk. A chunk counts the
// blocks in use and is freed with the last one. The memory of a released block is not used again.
//
// Each chunk is half as large as all earlier ones together, within bounds: a small document has small chunks. A
// large node has a chunk of its own.
//
// The chunks of one document know each other until somebody touches the document (document.h).
//
// In a build with AddressSanitizer each chunk holds one block, so that use after release is found.
#pragma once

#include <atomic>
#include <cstdlib>
#include <utility>

#include "json/document.h"
#include "ke_utils/types.h"

namespace ke::json {

struct Chunk {
    Document* document;  // nullptr if this is its only chunk
    Chunk* previous;     // of the document, as long as that is untouched
    u64 blocks;          // in use, and one more as long as others may be added
    Chunk* self;         // the first mark
};

// Frees a chunk without blocks.
void free_chunk(Chunk* chunk);

// Releases `count` blocks, which the caller owns. Only an owner of a block can add to the chunk's count, so nobody
// else changes it while the caller releases all that are left.
inline void drop_blocks(Chunk* chunk, u64 count) {
    const std::atomic_ref<u64> blocks(chunk->blocks);
    if (blocks.load(std::memory_order_acquire) == count ||
        blocks.fetch_sub(count, std::memory_order_acq_rel) == count)
        free_chunk(chunk);
}
// Releases blocks and marks the document as touched: its nodes have to be released one by one from now on.
inline void release_blocks(Chunk* chunk, u64 count) {
    touch(chunk->document);
    drop_blocks(chunk, count);
}

// Adds an owner to the chunk; the caller is one already.
inline void share_chunk(Chunk* chunk) {
    std::atomic_ref<u64>(chunk->blocks).fetch_add(1, std::memory_order_relaxed);
}

// Fills one chunk after another.
class Chunks {
  public:
    // The greatest distance of a node from its mark, and from the start of its block. A block that directly follows
    // a mark is within the first if it keeps to the second.
    static constexpr size_t kFarthestMark = size_t{63} * 8;
    static constexpr size_t kFarthest = kFarthestMark - sizeof(Chunk*);
    static constexpr size_t kLargestBlock = 1000;

    Chunks() = default;
    Chunks(const Chunks&) = delete;
    Chunks& operator=(const Chunks&) = delete;
    ~Chunks() {
        leave();
        leave_touched_document(document_);
    }

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

    // The distance of a node, in the last block that take() returned, from its mark, in units of 8 bytes.
    size_t distance(const char* node) const { return static_cast<size_t>(node - mark_) / 8; }

    // Returns a block in a chunk of its own, directly after the mark; nullptr when out of memory.
    char* take_alone(size_t size);
    static constexpr size_t kDistanceAlone = sizeof(Chunk*) / 8;

    // Tells the document of a block that it holds outside of the chunks, and that free() takes. Returns false when
    // out of memory.
    bool list(void* block);
    void touch_document() { touch(document_); }

    // The document's record, which is the caller's then; nullptr for a document of at most one chunk.
    Document* take_document() { return std::exchange(document_, nullptr); }

  private:
    bool make_room(size_t size);
    Chunk* add_chunk(size_t size);
    bool make_document();
    void leave() {
        if (chunk_ != nullptr)
            drop_blocks(chunk_, 1);
    }

    Document* document_ = nullptr;
    Chunk* last_ = nullptr;   // the chunk made last; with a document, it may be gone
    Chunk* chunk_ = nullptr;  // the one that is being filled
    char* mark_ = nullptr;    // the last mark
    char* next_ = nullptr;    // where the next block goes
    char* end_ = nullptr;     // of the chunk
    size_t total_ = 0;        // of the sizes of all chunks
};

}  // namespace ke::json
