// Makes and frees chunks and decides how large they are. chunks.h explains their layout and
// purpose.

#include "json/model/chunks.h"

#include <algorithm>

namespace ke::json {

namespace {

#if defined(KE_ADDRESS_SANITIZER)
constexpr bool kOneBlockEach = true;
#else
constexpr bool kOneBlockEach = false;
#endif

// All sizes are 8 below a multiple of 16: with the 8 bytes that the usual allocators put before a
// block, they are multiples of 16.
static_assert(Chunks::kMinChunkSize % 16 == 8);
// Together with a document's record, such a chunk takes at most 16 KB.
constexpr size_t kMaxChunkSize = 16 * 1024 - 64 - 8;
static_assert(sizeof(Document) <= 64);

// Returns the size of the next chunk: half of `total`, the size of all earlier ones, within bounds,
// but large enough for a block of `block` bytes.
size_t chunk_size(size_t total, size_t block) {
    const size_t needed = sizeof(Chunk) + block;
    if (kOneBlockEach)
        return needed;
    const size_t least = total == 0 ? Chunks::kMinChunkSize : 2 * Chunks::kMinChunkSize;
    const size_t size = std::clamp(total / 2, least, kMaxChunkSize);
    return (std::max(size, needed) + 7) / 16 * 16 + 8;
}

}  // namespace

void free_chunk(Chunk* chunk) {
    Document* document = chunk->document;
    free(chunk);
    // The chunk is gone, so the document's chunks can no longer be walked: nobody may take it for
    // untouched. Whoever released the blocks has usually touched it already.
    touch(document);
    leave_document(document);
}

// Makes the document's record, unless it exists already. Returns false when out of memory.
bool Chunks::make_document() {
    if (document_ != nullptr)
        return true;
    document_ = new_document();
    if (document_ == nullptr)
        return false;
    // Without a record there is at most one chunk. It is still being filled, so it exists.
    if (last_ != nullptr) {
        last_->document = document_;
        document_->last = last_;
        document_->owners.fetch_add(1, std::memory_order_relaxed);
    }
    return true;
}

// Allocates a chunk and links it to the one before. Its count of 1 stands for whoever fills the
// chunk or, in a chunk for a single block, for that block. Returns nullptr when out of memory.
Chunk* Chunks::add_chunk(size_t size) {
    auto* chunk = static_cast<Chunk*>(malloc(size));
    if (chunk == nullptr)
        return nullptr;
    *chunk = {document_, last_, 1, chunk};
    last_ = chunk;
    if (document_ != nullptr) {
        document_->last = chunk;
        document_->owners.fetch_add(1, std::memory_order_relaxed);
    }
    return chunk;
}

// Makes room for a block of `size` bytes directly after a mark: a new mark if that fits into the
// chunk, otherwise the first mark of a new chunk. Returns false when out of memory; a record may
// have been made.
bool Chunks::make_room(size_t size) {
    if (static_cast<size_t>(end_ - next_) >= sizeof(Chunk*) + size) {
        *reinterpret_cast<Chunk**>(next_) = chunk_;
        mark_ = next_;
        next_ += sizeof(Chunk*);
        return true;
    }
    // A document of one chunk is small, and needs no record.
    if (last_ != nullptr && !make_document())
        return false;
    const size_t whole = chunk_size(total_, size);
    Chunk* chunk = add_chunk(whole);
    if (chunk == nullptr)
        return false;
    leave();
    chunk_ = chunk;
    total_ += whole;
    mark_ = reinterpret_cast<char*>(&chunk->self);
    end_ = reinterpret_cast<char*>(chunk) + whole;
    next_ = reinterpret_cast<char*>(chunk + 1);
    return true;
}

char* Chunks::take_alone(size_t size) {
    // Such a chunk may be freed before the next one is made. The record is made first because
    // make_document() relies on last_ as long as no record exists.
    Chunk* chunk = make_document() ? add_chunk(sizeof(Chunk) + size) : nullptr;
    return chunk != nullptr ? reinterpret_cast<char*>(chunk + 1) : nullptr;
}

bool Chunks::record(void* block) {
    return make_document() && record_block(document_, block);
}

}  // namespace ke::json
