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
// Together with a document's record, at most 16 KB.
constexpr size_t kLargestChunk = 16 * 1024 - 64 - 8;
static_assert(sizeof(Document) <= 64);

size_t chunk_size(size_t total, size_t block) {
    const size_t needed = sizeof(Chunk) + block;
    if (kOneBlockEach)
        return needed;
    const size_t least = total == 0 ? kSmallestChunk : 2 * kSmallestChunk;
    const size_t size = std::clamp(total / 2, least, kLargestChunk);
    return (std::max(size, needed) + 7) / 16 * 16 + 8;
}

}  // namespace

void free_chunk(Chunk* chunk) {
    Document* document = chunk->document;
    free(chunk);
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
    // Without a record there is at most one chunk, which is still being filled.
    if (last_ != nullptr) {
        last_->document = document_;
        document_->last = last_;
        document_->owners.fetch_add(1, std::memory_order_relaxed);
    }
    return true;
}

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
    // Such a chunk may be gone before the next one is made, so that it needs the record.
    Chunk* chunk = make_document() ? add_chunk(sizeof(Chunk) + size) : nullptr;
    return chunk != nullptr ? reinterpret_cast<char*>(chunk + 1) : nullptr;
}

bool Chunks::list(void* block) {
    return make_document() && list_apart(document_, block);
}

}  // namespace ke::json
