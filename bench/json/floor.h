// The floor: what the model's memory costs, and nothing else. From a document's text is worked out which
// blocks parsing it allocates, in which order, and what is copied into them; the floor allocates, copies and
// releases just those.
#pragma once

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ke_utils/json.h"

class Floor {
  public:
    explicit Floor(wiq_json_t* doc) { plan(doc, nullptr); }

    // What parsing needs: each block with a header written and the copied bytes.
    void allocate() {
        for (Block& block : blocks_) {
            block.memory = static_cast<char*>(malloc(block.size));
            memset(block.memory, 0, 24);
            memcpy(block.memory + block.size - block.copied, source_.data(), block.copied);
        }
    }
    void release() {
        for (auto block = blocks_.rbegin(); block != blocks_.rend(); ++block)
            free(block->memory);
    }

  private:
    struct Block {
        size_t size;
        size_t copied;
        char* memory;
    };
    static constexpr size_t kMember = 24;
    static constexpr size_t kNode = 24;

    void add(size_t size, size_t copied) {
        if (size < kNode)
            size = kNode;
        blocks_.push_back({size, copied, nullptr});
        if (source_.size() < copied)
            source_.resize(copied, 'x');
    }

    // A node's block, with its member before it and its text or a small table behind it. A container comes
    // after its children; a large one's table comes last.
    void plan(wiq_json_t* node, const char* key) {
        const size_t key_size = key == nullptr ? 0 : strlen(key) + 1;
        const size_t before = key == nullptr ? 0 : (kMember + key_size + 7) / 8 * 8;
        if (wiq_json_is_obj(node)) {
            wiq_json_obj_foreach(
                node,
                [](const char* k, wiq_json_t* child, void* user) {
                    static_cast<Floor*>(user)->plan(child, k);
                    return true;
                },
                this);
            size_t buckets = 1;
            while (static_cast<size_t>(wiq_json_obj_size(node)) > buckets * 3 / 4)
                buckets *= 2;
            add_container(before, key_size, buckets > 1 ? buckets : 0);
        } else if (wiq_json_is_array(node)) {
            const i32 size = wiq_json_array_size(node);
            for (i32 i = 0; i < size; ++i)
                plan(wiq_json_array_get_ext(node, i, 0, nullptr), nullptr);
            add_container(before, key_size, static_cast<size_t>(size));
        } else if (wiq_json_is_str(node) || wiq_json_is_jref(node)) {
            const size_t text =
                strlen(wiq_json_is_str(node) ? wiq_json_str_get(node) : wiq_json_jref_uri(node)) +
                1;
            add(before + kNode + 16 + text, key_size + text);
        } else {
            add(before + kNode + (wiq_json_is_num(node) ? 8 : 0), key_size);
        }
    }

    void add_container(size_t before, size_t key_size, size_t places) {
        constexpr size_t kFewPlaces = 64;
        const size_t table = places * sizeof(void*);
        if (places <= kFewPlaces) {
            add(before + kNode + 16 + table, key_size + table);
        } else {
            add(before + kNode + 16, key_size);
            add(table, table);
        }
    }

    std::vector<Block> blocks_;
    std::string source_;
};
