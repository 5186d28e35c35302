// Nodes in chunks: each node of a parsed or copied document can be kept, replaced and released separately; a
// chunk is freed with its last node; and a kept node keeps only a limited amount of memory.
#include "json/model/chunks.h"

#include <gtest/gtest.h>
#include <uv.h>

#include <random>

#include "json/model/blocks.h"
#include "json/parse_and_copy_faults.h"
#include "json/tree.h"
#include "support/alloc_faults.h"

namespace {

using ke::json::Chunk;
using ke::json::Chunks;
using tree::elem;
using tree::member;
using tree::parse;
using tree::text_of;
using tree::Tree;

#if defined(KE_ADDRESS_SANITIZER)
constexpr bool kOneBlockEach = true;
#else
constexpr bool kOneBlockEach = false;
#endif

constexpr long kMaxChunkSize = 16 * 1024;

Tree copy(const Tree& source) {
    return Tree(wiq_json_copy(source.get(), nullptr));
}
std::string name(int i) {
    return "key" + std::to_string(i);
}

// Return an array or an object of `count` texts.
std::string array_of(int count) {
    std::string text = "[";
    for (int i = 0; i < count; ++i)
        text += (i == 0 ? "\"" : ",\"") + std::to_string(i) + "\"";
    return text + "]";
}
std::string object_of(int count) {
    std::string text = "{";
    for (int i = 0; i < count; ++i)
        text += (i == 0 ? "\"" : ",\"") + name(i) + "\":\"" + std::to_string(i) + "\"";
    return text + "}";
}

// A block that was taken from a chunk; a node finds its chunk from it.
struct Taken {
    char* block;
    size_t size;
    Chunk* chunk;
};

TEST(Chunks, BlocksOfAllSizesFindTheirChunk) {
    const long before = live_blocks();
    std::mt19937 random(1);
    std::vector<Taken> all;
    {
        Chunks chunks;
        for (size_t i = 0; i < 20000; ++i) {
            const size_t offset = random() % (Chunks::kMaxOffset / 8 + 1) * 8;
            const size_t node = random() % 4 == 0 ? random() % 512 : 24 + random() % 16;
            const size_t size = offset + (std::max<size_t>(node, 24) + 7) / 8 * 8;
            char* block = chunks.take(size, offset);
            ASSERT_NE(block, nullptr);
            ASSERT_EQ(reinterpret_cast<uintptr_t>(block) % 8, 0u);
            const size_t distance = chunks.distance(block + offset);
            ASSERT_GT(distance, 0u);
            ASSERT_LT(distance, 64u);
            Chunk* chunk = *reinterpret_cast<Chunk**>(block + offset - 8 * distance);
            memset(block, static_cast<int>(i % 251), size);
            all.push_back({block, size, chunk});
        }
    }
    for (size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(all[i].block[0], static_cast<char>(i % 251)) << "overwritten";
        EXPECT_EQ(all[i].block[all[i].size - 1], static_cast<char>(i % 251)) << "overwritten";
        EXPECT_EQ(all[i].chunk->self, all[i].chunk);
    }
    std::shuffle(all.begin(), all.end(), random);
    for (const Taken& taken : all)
        ke::json::release_blocks(taken.chunk, 1);
    EXPECT_EQ(live_blocks(), before);
}

TEST(Chunks, AnUnusedOneAllocatesNothing) {
    const long before = live_blocks();
    Chunks chunks;
    EXPECT_EQ(live_blocks(), before);
}

// A root of any kind has a block of its own, which free() can release.
TEST(Chunks, RootsHaveTheirOwnBlocks) {
    const std::string uri(2000, 'u');
    for (const std::string& text :
         {std::string("null"), std::string("true"), std::string("1"), std::string("1.5"),
          std::string("123456789012345678901234567890"), std::string("\"text\""), std::string("[]"),
          std::string("{}"), array_of(3), object_of(3), array_of(500), object_of(500),
          std::string("{\"$ref\":\"#/a\"}"), "{\"$ref\":\"" + uri + "\"}",
          std::string("{\"a\":1,\"a\":2}"), std::string("{\"$ref\":\"a\",\"$ref\":\"b\"}"),
          std::string("[[1],{\"a\":[2]}]")}) {
        for (const i32 flags : {0, static_cast<i32>(WIQ_JSON_REJECT_DUPLICATES)}) {
            SCOPED_TRACE(text);
            const long before = live_blocks();
            wiq_json_t* root = wiq_json_loads(text.c_str(), flags, nullptr);
            if (root == nullptr) {
                EXPECT_NE(flags, 0);
                continue;
            }
            EXPECT_EQ(root->in_chunk, 0);
            EXPECT_TRUE(root->home == 0 || ke::json::has_document(root));
            wiq_json_t* copied = wiq_json_copy(root, nullptr);
            ASSERT_NE(copied, nullptr);
            EXPECT_EQ(copied->in_chunk, 0);
            EXPECT_TRUE(copied->home == 0 || ke::json::has_document(copied));
            wiq_json_finalize(root);
            free(root);
            wiq_json_finalize(copied);
            free(copied);
            EXPECT_EQ(live_blocks(), before);
        }
    }
}

void expect_in_chunks(const wiq_json_t* node) {
    for (i32 i = 0; i < wiq_json_array_size(node); ++i) {
        const wiq_json_t* child = wiq_json_array_get_ext(node, i, 0, nullptr);
        EXPECT_NE(child->in_chunk, 0) << wiq_json_type_string(child);
        expect_in_chunks(child);
    }
    wiq_json_obj_foreach(
        node,
        [](const char* key, wiq_json_t* child, void*) {
            EXPECT_NE(child->in_chunk, 0) << key;
            expect_in_chunks(child);
            return true;
        },
        nullptr);
}

TEST(Chunks, HoldEverythingBelowTheRoot) {
    Tree parsed = parse(
        "{\"a\":[null,true,false,1,1.5,123456789012345678901234567890,\"text\",{\"$ref\":\"#\"},[],"
        "{}],"
        "\"b\":{\"c\":{\"$ref\":\"#/a\"},\"d\\n\":{\"e\":[[]]},\"f\":" +
        array_of(100) + ",\"g\":" + object_of(100) + "}}");
    expect_in_chunks(parsed.get());
    Tree copied = copy(parsed);
    expect_in_chunks(copied.get());
    EXPECT_TRUE(wiq_json_equal(parsed.get(), copied.get()));
}

TEST(Chunks, ADocumentTakesFewBlocks) {
    const long before = live_blocks();
    Tree parsed = parse(array_of(10000));
    const long parsed_blocks = live_blocks() - before;
    Tree copied = copy(parsed);
    const long copied_blocks = live_blocks() - before - parsed_blocks;
    if (!kOneBlockEach) {
        EXPECT_LT(parsed_blocks, 100);
        EXPECT_LT(copied_blocks, 100);
    }
    parsed.reset();
    copied.reset();
    EXPECT_EQ(live_blocks(), before);
}

// Each node in turn is kept, and checked after all others are gone.
TEST(Chunks, AnyNodeOutlivesItsDocument) {
    for (const int count : {1, 2, 63, 64, 65, 300}) {
        for (int kept = 0; kept < count; ++kept) {
            const long before = live_blocks();
            Tree array = parse(array_of(count));
            Tree obj = copy(parse(object_of(count)));
            wiq_json_t* of_array = elem(array, kept);
            wiq_json_t* of_obj = member(obj, name(kept));
            wiq_json_ref(of_array);
            wiq_json_ref(of_obj);
            array.reset();
            obj.reset();
            ASSERT_EQ(wiq_json_str_get(of_array), std::to_string(kept));
            ASSERT_EQ(wiq_json_str_get(of_obj), std::to_string(kept));
            ASSERT_EQ(wiq_json_parent_key(of_obj), nullptr);
            // Two chunks remain, and the documents' records if they had more than one chunk.
            ASSERT_GE(live_blocks(), before + 2);
            ASSERT_LE(live_blocks(), before + 4);
            wiq_json_unref(of_array);
            wiq_json_unref(of_obj);
            ASSERT_EQ(live_blocks(), before);
        }
    }
}

TEST(Chunks, AreFreedWithTheirLastNode) {
    const int count = 5000;
    for (const bool copied : {false, true}) {
        Tree obj = parse(object_of(count));
        if (copied)
            obj = copy(obj);
        const long full = live_bytes();
        for (int i = 0; i < count; i += 2)
            ASSERT_EQ(wiq_json_obj_remove(obj.get(), name(i).c_str()), 0);
        for (int i = 1; i < count; i += 2)
            ASSERT_EQ(wiq_json_obj_remove(obj.get(), name(i).c_str()), 0);
        // The table remains.
        EXPECT_LT(live_bytes(), full - count * 64L);
    }
}

// A member stays in place when its child is replaced, and keeps its part of the chunk.
TEST(Chunks, MembersWithOtherChildren) {
    const int count = 300;
    for (int order = 0; order < 8; ++order) {
        const long before = live_blocks();
        Tree obj = parse(object_of(count));
        std::vector<wiq_json_t*> old;
        for (int i = 0; i < count; ++i) {
            wiq_json_t* node = member(obj, name(i));
            wiq_json_ref(node);
            old.push_back(node);
            ASSERT_NE(wiq_json_obj_put_i64(obj.get(), name(i).c_str(), i, nullptr), nullptr);
            // Replace it once more: the member no longer shares a block with its node.
            ASSERT_NE(wiq_json_obj_put_i64(obj.get(), name(i).c_str(), -i, nullptr), nullptr);
        }
        // Every third node is put back, every sixth under another key.
        for (int i = 0; i < count; i += 3) {
            const std::string key = name(i % 2 == 0 ? i : (i + 3) % count);
            ASSERT_EQ(wiq_json_obj_put_ext(obj.get(), key.c_str(), old[i], nullptr), 0);
        }
        if ((order & 1) != 0)
            obj.reset();
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(wiq_json_str_get(old[i]), std::to_string(i));
            if ((order & 2) == 0)
                wiq_json_unref(old[i]);
        }
        if (obj != nullptr) {
            EXPECT_EQ(wiq_json_obj_size(obj.get()), count);
            for (int i = 0; i < count; ++i)
                ASSERT_STREQ(wiq_json_parent_key(member(obj, name(i))), name(i).c_str());
        }
        if ((order & 4) != 0 && obj != nullptr) {
            for (int i = 0; i < count; ++i)
                ASSERT_EQ(wiq_json_obj_remove(obj.get(), name(i).c_str()), 0);
        }
        obj.reset();
        for (int i = 0; i < count && (order & 2) != 0; ++i)
            wiq_json_unref(old[i]);
        EXPECT_EQ(live_blocks(), before);
    }
}

TEST(Chunks, AMemberPutInItsOwnPlaceInAWeakObject) {
    const long before = live_blocks();
    Tree obj = parse("{\"a\":1,\"b\":[2]}");
    for (int i = 0; i < 3; ++i) {
        wiq_json_t* node = member(obj, "b");
        wiq_json_ref(node);
        ASSERT_EQ(wiq_json_make_orphan(node), 0);
        ASSERT_EQ(wiq_json_obj_put_ext(obj.get(), "b", node, nullptr), 0);
        wiq_json_unref(node);
    }
    Tree weak(wiq_json_obj_weak_new(0, nullptr));
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(wiq_json_obj_put_ext(weak.get(), "b", member(obj, "b"), nullptr), 0);
    EXPECT_EQ(text_of(obj), "{\"a\":1,\"b\":[2]}");
    obj.reset();
    EXPECT_EQ(text_of(member(weak, "b")), "[2]");
    weak.reset();
    EXPECT_EQ(live_blocks(), before);
}

// Keeps one node of each of many documents: it keeps less than its document, and never more than a chunk.
TEST(Chunks, WhatAKeptNodeKeeps) {
    constexpr int kDocuments = 10000;
    const std::string text = array_of(100);
    const long before = live_bytes();
    const long document = [&] {
        Tree one = parse(text);
        return live_bytes() - before;
    }();
    ASSERT_EQ(live_bytes(), before);
    std::vector<wiq_json_t*> kept;
    kept.reserve(kDocuments);
    const long start = live_bytes();
    for (int i = 0; i < kDocuments; ++i) {
        Tree one = parse(text);
        kept.push_back(elem(one, i % 100));
        wiq_json_ref(kept.back());
    }
    EXPECT_LT(live_bytes() - start, kDocuments * document / 3);
    for (int i = 0; i < kDocuments; ++i)
        EXPECT_EQ(wiq_json_str_get(kept[i]), std::to_string(i % 100));
    for (wiq_json_t* node : kept)
        wiq_json_unref(node);
    EXPECT_EQ(live_bytes(), start);
}

TEST(Chunks, WhatAKeptNodeKeepsOfALargeDocument) {
    const long before = live_bytes();
    for (const int kept : {0, 1, 500, 25000, 49999}) {
        Tree large = parse(array_of(50000));
        wiq_json_t* node = elem(large, kept);
        wiq_json_ref(node);
        large.reset();
        EXPECT_GT(live_bytes(), before);
        EXPECT_LE(live_bytes() - before, kMaxChunkSize) << kept;
        wiq_json_unref(node);
        EXPECT_EQ(live_bytes(), before);
    }
}

// Small documents have small chunks: one block for the root, and for the rest less than twice its size.
TEST(Chunks, SmallDocuments) {
    const long before = live_bytes();
    Tree small = parse("{\"a\":1}");
    EXPECT_LE(live_bytes() - before, 200);
    Tree larger = parse(array_of(30));
    // 48 bytes each, and a slot in the table.
    EXPECT_LE(live_bytes() - before - 200, 30 * (2 * 48 + 8) + 48);
}

// A document that is edited for a long time takes new memory from elsewhere and does not grow.
TEST(Chunks, RepeatedEditsDoNotTakeMoreMemory) {
    Tree doc = parse("{\"list\":" + array_of(50) + ",\"map\":" + object_of(50) + "}");
    wiq_json_t* list = member(doc, "list");
    wiq_json_t* map = member(doc, "map");
    long most = 0;
    for (int i = 0; i < 50000; ++i) {
        const std::string key = name(i % 60);
        ASSERT_NE(wiq_json_obj_put_str(map, key.c_str(), "a text", nullptr), nullptr);
        wiq_json_obj_remove(map, name((i + 7) % 60).c_str());
        ASSERT_NE(wiq_json_array_push_i64(list, i, nullptr), nullptr);
        ASSERT_EQ(wiq_json_array_put(list, i % 50, wiq_json_null_new(nullptr)), 0);
        ASSERT_EQ(wiq_json_array_pop(list, 1), 0);
        if (i == 1000)
            most = live_bytes();
    }
    EXPECT_LE(live_bytes(), most + 1024);
}

// Allocations fail in the middle of a large document.
TEST(ChunksFaults, EveryAllocation) {
    const std::string text = "[" + object_of(200) + "," + array_of(200) + "," + object_of(20) + "]";
    EXPECT_GT(SweepParseAndCopy(text, 0), 40u);
}

struct Share {
    wiq_json_t** nodes;
    int count;
};

// The threads own nodes of the same chunks, and an object whose members no longer share blocks with their
// nodes.
TEST(ChunksThreads, EachReleasesItsPart) {
    constexpr int kThreads = 4;
    constexpr int kEach = 500;
    const long before = live_blocks();
    for (int round = 0; round < 20; ++round) {
        Tree array = parse(array_of(kThreads * kEach));
        Tree obj = parse(object_of(kThreads * kEach));
        std::vector<wiq_json_t*> nodes[kThreads];
        for (int i = 0; i < kThreads * kEach; ++i) {
            wiq_json_t* of_array = elem(array, i);
            wiq_json_t* of_obj = member(obj, name(i));
            wiq_json_ref(of_array);
            wiq_json_ref(of_obj);
            ASSERT_NE(wiq_json_obj_put_null(obj.get(), name(i).c_str(), nullptr), nullptr);
            nodes[i % kThreads].push_back(of_array);
            nodes[i % kThreads].push_back(of_obj);
        }
        array.reset();
        uv_thread_t threads[kThreads];
        Share shares[kThreads];
        for (int t = 0; t < kThreads; ++t) {
            shares[t] = {nodes[t].data(), static_cast<int>(nodes[t].size())};
            ASSERT_EQ(uv_thread_create(
                          &threads[t],
                          [](void* arg) {
                              const auto* share = static_cast<Share*>(arg);
                              for (int i = 0; i < share->count; ++i)
                                  wiq_json_unref(share->nodes[i]);
                          },
                          &shares[t]),
                      0);
        }
        obj.reset();
        for (uv_thread_t& thread : threads)
            ASSERT_EQ(uv_thread_join(&thread), 0);
        ASSERT_EQ(live_blocks(), before);
    }
}

}  // namespace
