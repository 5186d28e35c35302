// Memory for the nodes of a document that the parser or a copy makes: their blocks lie side by side
// in chunks, each of which is one allocation. They replace an allocation for each node.
//
//   Chunk   ┌─────┬────────┬──────┬───────┬───────┬─── ... ───┬───────┬───────┬─── ...
//           │ ... │ blocks │ self │ block │ block │           │ chunk │ block │
//           └──▲──┴────────┴──┬───┴───────┴───────┴─── ... ───┴───┬───┴───────┴─── ...
//              └──────────────┴───────────────────────────────────┘
//
// A mark is a pointer to the chunk. The first mark ends the chunk's header, and others follow where
// they are needed, so that each node is at most 504 bytes after a mark. So a node needs only 6 bits
// for its distance from the last mark, where it finds its chunk. A chunk counts its blocks in use
// and is freed with the last one. The memory of a released block is not used again.
//
// Each chunk is half as large as all earlier ones together, within bounds, so a small document has
// small chunks. A large node has a chunk of its own.
//
// The chunks of one document are linked until somebody touches the document (document.h).
//
// In a build with AddressSanitizer each chunk holds one block, so that use after release is found.
#pragma once

#include <atomic>
#include <cstdlib>
#include <utility>

#include "json/model/document.h"
#include "ke_utils/types.h"

namespace ke::json {

struct Chunk {
    Document* document;  // nullptr if this is the document's only chunk
    Chunk* previous;     // of the same document; meaningless once the document is touched
    u64 blocks;          // in use, plus 1 as long as blocks may be added
    Chunk* self;         // the first mark
};

// Frees a chunk that has no blocks left, and gives up its ownership of the document's record.
void free_chunk(Chunk* chunk);

// Releases `count` blocks, which the caller owns. Only an owner of a block can add to the chunk's
// count. So if the caller owns all blocks that are left, nobody else can change the count, and no
// locked instruction is needed.
inline void drop_blocks(Chunk* chunk, u64 count) {
    const std::atomic_ref<u64> blocks(chunk->blocks);
    if (blocks.load(std::memory_order_acquire) == count ||
        blocks.fetch_sub(count, std::memory_order_acq_rel) == count)
        free_chunk(chunk);
}
// Releases blocks and marks the document as touched: from now on its nodes have to be released one
// by one.
inline void release_blocks(Chunk* chunk, u64 count) {
    touch(chunk->document);
    drop_blocks(chunk, count);
}

// Adds an owner to the chunk. The caller must already be one, which keeps the chunk alive.
inline void share_chunk(Chunk* chunk) {
    std::atomic_ref<u64>(chunk->blocks).fetch_add(1, std::memory_order_relaxed);
}

// Takes blocks from one chunk after another, and keeps the record of the document that they form.
class Chunks {
  public:
    // The greatest distance of a node from its mark: what the 6 bits of `home` can hold.
    static constexpr size_t kMaxDistance = size_t{63} * 8;
    // The greatest distance of a node from the start of its block. It leaves room for a mark
    // directly before the block.
    static constexpr size_t kMaxOffset = kMaxDistance - sizeof(Chunk*);
    // Larger blocks get a chunk of their own.
    static constexpr size_t kMaxBlockSize = 1000;
    // The size of the first chunk, unless its first block needs more. 8 less than a multiple of 16,
    // see chunks.cpp.
    static constexpr size_t kMinChunkSize = 128 - 8;

    Chunks() = default;
    Chunks(const Chunks&) = delete;
    Chunks& operator=(const Chunks&) = delete;
    ~Chunks() {
        leave();
        leave_touched_document(document_);
    }

    // Returns a block of `size` bytes, which must be a multiple of 8, whose node will stand at
    // `offset`. Returns nullptr when out of memory.
    char* take(size_t size, size_t offset) {
        if ((size > static_cast<size_t>(end_ - next_) ||
             static_cast<size_t>(next_ - mark_) + offset > kMaxDistance) &&
            !make_room(size))
            return nullptr;
        char* block = next_;
        next_ += size;
        ++chunk_->blocks;
        return block;
    }

    // Returns the distance from its mark of a node in the block that take() returned last, in units
    // of 8 bytes.
    size_t distance(const char* node) const { return static_cast<size_t>(node - mark_) / 8; }

    // Returns a block in a chunk of its own, directly after the mark. Returns nullptr when out of
    // memory.
    char* take_alone(size_t size);
    // The distance of such a node from its mark.
    static constexpr size_t kDistanceAlone = sizeof(Chunk*) / 8;

    // Enters a block outside of the chunks in the document's record; an untouched document frees it
    // with free(). Returns false when out of memory.
    bool record(void* block);
    // Marks the document as touched. This has no effect as long as there is no record: the caller
    // must know that one exists.
    void touch_document() { touch(document_); }

    // Returns the document's record, which then belongs to the caller; nullptr for a document that
    // needed none, of at most one chunk.
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
    Chunk* last_ = nullptr;   // the chunk made last; may be freed already if there is a record
    Chunk* chunk_ = nullptr;  // the one that is being filled; the 1 in its count keeps it alive
    char* mark_ = nullptr;    // the last mark
    char* next_ = nullptr;    // where the next block goes
    char* end_ = nullptr;     // of the chunk that is being filled
    size_t total_ = 0;        // the sum of the sizes of all chunks
};

}  // namespace ke::json
