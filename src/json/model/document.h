// The record that lets a document be released at once, without a visit to its nodes, if nobody has
// touched it since it was parsed or copied.
//
// A document is touched when a node below its root gets another reference, leaves its place or is
// released, or when a container in it gets another child. (An object is touched even if there is no
// memory for the child in the end, because its table may be new by then.) Until then nobody else
// holds any of its nodes, and all its chunks exist. So do the few blocks outside of the chunks:
// large tables, and members whose key is long or whose value is large. The record holds these
// chunks and blocks for the root. A touched document is released node by node; its record then only
// waits for the last chunk.
#pragma once

#include <atomic>

#include "ke_utils/types.h"

namespace ke::json {

struct Chunk;

struct Document {
    std::atomic<u64> owners;  // its chunks, and the root or whoever fills the chunks
    std::atomic<bool> touched;
    Chunk* last;    // of its chunks, each of which links to the one before
    void** blocks;  // those outside of the chunks
    size_t block_count;
    size_t block_capacity;
};

// Marks a document as touched; nullptr is ignored. The flag is written only as long as it is not
// set, so that threads that use the document at the same time do not slow each other down.
//
// Relaxed order is enough. Only a thread that may use the document touches it, and it gives up its
// own references afterwards, or hands them on with the ordering that all sharing of nodes needs. So
// each touch happens before the root's last reference is given up, and the flag is read after that.
inline void touch(Document* document) {
    if (document != nullptr && !document->touched.load(std::memory_order_relaxed))
        document->touched.store(true, std::memory_order_relaxed);
}

// Returns a record with one owner; nullptr when out of memory.
Document* new_document();

// Gives up an owner; the last one frees the record. nullptr is ignored.
void leave_document(Document* document);

// Gives up the root's ownership of a touched document, and frees its array of blocks, which only
// the root reads. nullptr is ignored.
void leave_touched_document(Document* document);

// Enters a block outside of the chunks in the record. Returns false when out of memory.
bool record_block(Document* document, void* block);

// Frees an untouched document: its chunks, all recorded blocks, and the record. The root's own
// node and table are not among them.
void free_document(Document* document);

}  // namespace ke::json
