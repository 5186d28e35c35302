// Releasing a document that nobody has touched since it was parsed or copied: its memory goes back at once, and its
// nodes are not visited.
//
// A document has been touched when a node below its root got another reference, left its place or was released, or
// when a container in it got another child. Until then nobody else holds any of its nodes, all its chunks are there,
// and so are the few blocks that stand outside of them: large tables, and members of long keys or with large
// values. The record lists all of that for the root. Once touched, the document is released node by node, and
// the record only waits for the last chunk.
#pragma once

#include <atomic>

#include "ke_utils/types.h"

namespace ke::json {

struct Chunk;

struct Document {
    std::atomic<u64> owners;  // its chunks, and the root or whoever fills the chunks
    std::atomic<bool> touched;
    Chunk* last;   // of its chunks, each of which knows the one before
    void** apart;  // the blocks outside of the chunks
    size_t apart_size;
    size_t apart_capacity;
};

// nullptr is ignored. The flag is only written once, so that threads that read the document do not disturb each other.
inline void touch(Document* document) {
    if (document != nullptr && !document->touched.load(std::memory_order_relaxed))
        document->touched.store(true, std::memory_order_relaxed);
}

// Returns a record with one owner; nullptr when out of memory.
Document* new_document();

// Gives up an owner. nullptr is ignored.
void leave_document(Document* document);

// Gives up the root's ownership of a touched document, and frees the list, which only the root reads.
void leave_touched_document(Document* document);

// Adds a block to those outside of the chunks. Returns false when out of memory.
bool list_apart(Document* document, void* block);

// Frees an untouched document: its chunks, all that it lists, and the record.
void free_document(Document* document);

}  // namespace ke::json
