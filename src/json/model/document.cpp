// Makes and frees the record of a document and its array of blocks. document.h explains what it is
// for.

#include "json/model/document.h"

#include <cstdlib>
#include <new>

#include "json/model/chunks.h"

namespace ke::json {

namespace {

void free_record(Document* document) {
    free(document->blocks);
    free(document);
}

}  // namespace

Document* new_document() {
    void* block = malloc(sizeof(Document));
    return block != nullptr ? new (block) Document{1, false, nullptr, nullptr, 0, 0} : nullptr;
}

void leave_document(Document* document) {
    if (document != nullptr && document->owners.fetch_sub(1, std::memory_order_acq_rel) == 1)
        free_record(document);
}

void leave_touched_document(Document* document) {
    if (document == nullptr)
        return;
    free(document->blocks);
    document->blocks = nullptr;
    leave_document(document);
}

bool record_block(Document* document, void* block) {
    if (document->block_count == document->block_capacity) {
        const size_t capacity = document->block_capacity == 0 ? 8 : 2 * document->block_capacity;
        auto** grown = static_cast<void**>(realloc(document->blocks, capacity * sizeof(void*)));
        if (grown == nullptr)
            return false;
        document->blocks = grown;
        document->block_capacity = capacity;
    }
    document->blocks[document->block_count++] = block;
    return true;
}

void free_document(Document* document) {
    for (size_t i = 0; i < document->block_count; ++i)
        free(document->blocks[i]);
    // Untouched means that no chunk has been freed, so the links are valid, and that nobody else
    // owns a block, so the counts of the chunks need not be asked.
    for (Chunk* chunk = document->last; chunk != nullptr;) {
        Chunk* previous = chunk->previous;
        free(chunk);
        chunk = previous;
    }
    free_record(document);
}

}  // namespace ke::json
