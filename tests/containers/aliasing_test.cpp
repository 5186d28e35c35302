// Arguments that point into memory that a function may move or release. Every function of the library that
// takes a pointer and may do either is called with such an argument, and with a copy of it in separate
// memory, on equal data. Both calls must have the same result. AddressSanitizer detects a read of released
// memory.
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <list>
#include <string>
#include <vector>

#include "ke_utils.h"

#if defined(__GNUC__)
#pragma GCC diagnostic ignored "-Wformat"
#endif

namespace {

// Passes arguments on unchanged, or as copies in other memory.
class Args {
  public:
    explicit Args(bool aliased) : aliased_(aliased) {}
    Args(const Args&) = delete;
    Args& operator=(const Args&) = delete;
    const char* operator()(const char* text) {
        return aliased_ || text == nullptr ? text : copies_.emplace_back(text).c_str();
    }
    const char* bytes(const char* data, u64 count) {
        return aliased_ ? data : copies_.emplace_back(data, count).data();
    }
    // Returns a key for a map that frees its keys: the map's own key, or an equal one that the map can own.
    char* owned(char* key) const { return aliased_ ? key : strdup(key); }
    bool aliased() const { return aliased_; }

  private:
    bool aliased_;
    std::list<std::string> copies_;
};

// --- The string buffer and everything that appends to one -----------------------------------------------

struct BufferRow {
    const char* name;
    // Appends text that begins at this offset of the buffer.
    i32 (*append)(wiq_strbuf* buf, u64 offset, Args& args);
};

i32 vprintf_of(wiq_strbuf* buf, const char* format, ...) {
    va_list list;
    va_start(list, format);
    const i32 result = wiq_strbuf_vprintf(buf, format, list);
    va_end(list);
    return result;
}

// A node whose pointer is "/array/0/in~1ner".
class Nested {
  public:
    Nested() : root_(wiq_json_obj_new(0, nullptr)) {
        wiq_json_t* array = wiq_json_obj_put_array(root_, "array", nullptr);
        inner_ = wiq_json_obj_put_obj(wiq_json_array_push_obj(array, nullptr), "in/ner", nullptr);
    }
    Nested(const Nested&) = delete;
    Nested& operator=(const Nested&) = delete;
    ~Nested() { wiq_json_unref(root_); }
    wiq_json_t* inner() const { return inner_; }

  private:
    wiq_json_t* root_;
    wiq_json_t* inner_ = nullptr;
};

const BufferRow kBufferRows[] = {
    {"write",
     [](wiq_strbuf* buf, u64 offset, Args& args) {
         const u64 count = buf->len - offset;
         return wiq_strbuf_write(buf, args(buf->data + offset), count);
     }},
    {"write of more than there is",
     [](wiq_strbuf* buf, u64 offset, Args& args) {
         const u64 count = 3 * (buf->len - offset) + 5;
         return wiq_strbuf_write(buf, args(buf->data + offset), count);
     }},
    {"write of a part",
     [](wiq_strbuf* buf, u64 offset, Args& args) {
         const u64 count = (buf->len - offset) / 2;
         return wiq_strbuf_write(buf, args(buf->data + offset), count);
     }},
    {"printf", [](wiq_strbuf* buf, u64 offset,
                  Args& args) { return wiq_strbuf_printf(buf, "%s", args(buf->data + offset)); }},
    {"printf with other arguments",
     [](wiq_strbuf* buf, u64 offset, Args& args) {
         const char* text = args(buf->data + offset);
         return wiq_strbuf_printf(buf, "%d<%s|%.3s>", 17, text, text);
     }},
    {"printf of many",
     [](wiq_strbuf* buf, u64 offset, Args& args) {
         const char* text = args(buf->data + offset);
         const char* positional = "%2$s,%1$s,%2$s%2$s";
         return wiq_strbuf_printf(buf, positional, args(buf->data), text);
     }},
    {"printf by a format in the buffer",
     [](wiq_strbuf* buf, u64 offset, Args& args) {
         return vprintf_of(buf, args(buf->data + offset), 0);
     }},
    {"vprintf",
     [](wiq_strbuf* buf, u64 offset, Args& args) {
         return vprintf_of(buf, "%s%c%s", args(buf->data + offset), '-', args(buf->data));
     }},
    {"printhex",
     [](wiq_strbuf* buf, u64 offset, Args& args) {
         const u64 count = buf->len - offset;
         return wiq_strbuf_printhex(buf, args.bytes(buf->data + offset, count), count);
     }},
    {"printhex of the NUL too",
     [](wiq_strbuf* buf, u64 offset, Args& args) {
         const u64 count = buf->len - offset + 1;
         return wiq_strbuf_printhex(buf, args.bytes(buf->data + offset, count), count);
     }},
    {"wiq_append_path", [](wiq_strbuf* buf, u64 offset,
                           Args& args) { return wiq_append_path(buf, args(buf->data + offset)); }},
    {"wiq_append_paths",
     [](wiq_strbuf* buf, u64 offset, Args& args) {
         return wiq_append_paths(buf, 4, args(buf->data + offset), args(buf->data), "x",
                                 args(buf->data + offset));
     }},
    {"wiq_json_escape_str_ext",
     [](wiq_strbuf* buf, u64 offset, Args& args) {
         return wiq_json_escape_str_ext(args(buf->data + offset), buf);
     }},
    {"wiq_json_ptr_build_obj_ext",
     [](wiq_strbuf* buf, u64 offset, Args& args) {
         const Nested nested;
         return wiq_json_ptr_build_obj_ext(nested.inner(), args(buf->data + offset), buf);
     }},
};

// Fills the buffer with text that contains characters to escape, but no conversions.
void fill(wiq_strbuf* buf, u64 length) {
    static constexpr char kAlphabet[] = "abc\"d\\e\tf/gh~\xc3\xa9";
    const u64 whole = sizeof(kAlphabet) - 1;
    for (u64 i = 0; i < length; ++i)
        wiq_strbuf_putc(buf, length - length % whole > i ? kAlphabet[i % whole] : 'z');
}

std::string outcome(i32 result, const wiq_strbuf& buf) {
    EXPECT_EQ(strlen(buf.data), buf.len);
    return std::to_string(result) + " " + std::to_string(buf.capacity) + " " + buf.data;
}

std::string run_buffer_row(const BufferRow& row, u64 capacity, u64 length, u64 offset,
                           bool aliased) {
    Args args(aliased);
    wiq_strbuf buf;
    EXPECT_EQ(wiq_strbuf_init(&buf, capacity), 0);
    fill(&buf, length);
    const i32 result = row.append(&buf, offset, args);
    std::string after = outcome(result, buf);
    wiq_strbuf_finalize(&buf);
    return after;
}

TEST(Aliasing, APartOfTheBufferIsAppendedUnchanged) {
    for (const BufferRow& row : kBufferRows) {
        for (const u64 capacity : {1, 64, 512, 1100, 4000}) {
            for (const u64 length : {0, 1, 15, 31, 32, 63, 90, 255, 256, 511, 512, 549, 1099}) {
                for (const u64 offset : {u64{0}, u64{1}, length / 2 / 15 * 15, length}) {
                    if (offset > length)
                        continue;
                    EXPECT_EQ(run_buffer_row(row, capacity, length, offset, true),
                              run_buffer_row(row, capacity, length, offset, false))
                        << row.name << ", " << length << " bytes of " << capacity << ", from "
                        << offset;
                }
            }
        }
    }
}

TEST(Aliasing, APartOfALargeBufferIsAppendedUnchanged) {
    for (const BufferRow& row : kBufferRows) {
        EXPECT_EQ(run_buffer_row(row, 64, 150000, 0, true),
                  run_buffer_row(row, 64, 150000, 0, false))
            << row.name;
    }
}

// The buffer is emptied before the argument is read.
TEST(Aliasing, AfterEmptyingTheBufferOnlyTheRestIsRead) {
    struct Row {
        u64 offset;
        u64 count;
        const char* expected;
    };
    for (const Row& row : {Row{0, 6, ""}, Row{1, 5, "bcdef"}, Row{2, 2, "cd"}, Row{3, 50, "def"},
                           Row{5, 500, "f"}, Row{6, 1, ""}}) {
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 7), 0);
        ASSERT_EQ(wiq_strbuf_write(&buf, "abcdef", 6), 6);
        EXPECT_EQ(wiq_strbuf_rwrite(&buf, buf.data + row.offset, row.count),
                  static_cast<i32>(strlen(row.expected)));
        EXPECT_STREQ(buf.data, row.expected) << row.offset;
        EXPECT_EQ(buf.capacity, row.count + 1 <= 7 ? 7 : std::max<u64>(row.count + 1, 14));
        wiq_strbuf_finalize(&buf);
    }
}

TEST(Aliasing, StructStrOfAFieldInTheBuffer) {
    struct Row {
        u64 offset;
        u64 width;
        bool trim;
        const char* expected;
    };
    for (const Row& row : {Row{0, 7, true, ""}, Row{1, 6, true, "b  d"}, Row{1, 6, false, " b  d "},
                           Row{2, 2, true, "b"}, Row{1, 7, false, " b  d "}}) {
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 8), 0);
        ASSERT_EQ(wiq_strbuf_write(&buf, "a b  d ", 7), 7);
        EXPECT_EQ(wiq_strbuf_struct_str(&buf, buf.data + row.offset, row.width, row.trim), 0);
        EXPECT_STREQ(buf.data, row.expected) << row.offset;
        wiq_strbuf_finalize(&buf);
    }
    // The field is so wide that the block grows.
    wiq_strbuf buf;
    ASSERT_EQ(wiq_strbuf_init(&buf, 8), 0);
    ASSERT_EQ(wiq_strbuf_write(&buf, "xabcdef", 7), 7);
    EXPECT_EQ(wiq_strbuf_struct_str(&buf, buf.data + 1, 8, false), 0);
    EXPECT_STREQ(buf.data, "abcdef");
    EXPECT_EQ(buf.capacity, 16u);
    wiq_strbuf_finalize(&buf);
}

// The block shrinks to what the digits need, and the bytes are after that.
TEST(Aliasing, PrinthexOfBytesAfterTheText) {
    for (u64 offset = 3; offset != 60; ++offset) {
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 64), 0);
        ASSERT_EQ(wiq_strbuf_write(&buf, "ab", 2), 2);
        memcpy(buf.data + offset, "\x01\x9f\xfa\x70", 4);
        EXPECT_EQ(wiq_strbuf_printhex(&buf, buf.data + offset, 4), 0);
        EXPECT_STREQ(buf.data, "ab019FFA70") << offset;
        EXPECT_EQ(buf.capacity, 2u + 10);
        wiq_strbuf_finalize(&buf);
    }
}

// --- Everything else -----------------------------------------------------------------------------------

struct Row {
    const char* name;
    // Changes fresh data with arguments that point into it; returns the result.
    std::string (*run)(Args& args);
};

// A reusable block with a text and some spare room, and what a call makes of it.
class Block {
  public:
    Block(const std::string& text, u64 size)
        : data_(static_cast<char*>(malloc(size))), size_(size) {
        memcpy(data_, text.c_str(), text.size() + 1);
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() { free(data_); }
    char** data() { return &data_; }
    u64* size() { return &size_; }
    std::string outcome(i32 result) const {
        return std::to_string(result) + " " + std::to_string(size_) + " " + data_ + "; ";
    }

  private:
    char* data_;
    u64 size_;
};

template <class Append>
std::string each_block(const Append& append) {
    std::string all;
    for (const u64 length : {0, 1, 5, 255, 256, 511, 512, 1000, 150000}) {
        for (const u64 spare : {u64{1}, u64{2}, length + 1, length + 2, 2 * length + 600}) {
            const std::string text =
                std::string(length / 2, 'a') + std::string(length - length / 2, 'b');
            for (const u64 offset : {u64{0}, length / 2, length}) {
                Block block(text, length + spare);
                const i32 result = append(&block, offset);
                all += block.outcome(result);
            }
        }
    }
    return all;
}

std::string tree_text(wiq_json_t* root) {
    char* text = nullptr;
    EXPECT_GT(wiq_json_sdump(root, &text, WIQ_JSON_DUMP_SORT_KEYS), 0);
    std::string result = text == nullptr ? "" : text;
    free(text);
    return result;
}

// Applies an operation to an object with a short and a long key, whose values are texts.
template <class Change>
std::string each_member(const Change& change) {
    std::string all;
    for (const std::string& key : {std::string("k"), std::string(300, 'k')}) {
        wiq_json_t* root = wiq_json_obj_new(0, nullptr);
        wiq_json_obj_put_i64(root, "other", 1, nullptr);
        wiq_json_t* member = wiq_json_obj_put_str(root, key.c_str(), "/other", nullptr);
        change(root, member);
        all += tree_text(root) + "\n";
        wiq_json_unref(root);
    }
    return all;
}

const char* key_of(const wiq_json_t* member) {
    return wiq_json_parent_key(member);
}

template <class Change>
std::string each_map(const Change& change) {
    std::string all;
    char* first = strdup("first");
    wiq_map* map = wiq_map_new(1, wiq_hash_str, wiq_cmp_str, free, free);
    wiq_map_put(map, first, strdup("1"));
    wiq_map_put(map, strdup("second"), strdup("2"));
    change(map, first);
    wiq_map_foreach(
        map,
        [](void* key, void* value, void* user) {
            *static_cast<std::string*>(user) +=
                std::string(static_cast<char*>(key)) + "=" + static_cast<char*>(value) + " ";
            return true;
        },
        &all);
    wiq_map_delete(map);
    return all;
}

const Row kRows[] = {
    {"wiq_rastrcat",
     [](Args& args) {
         return each_block([&](Block* block, u64 offset) {
             return wiq_rastrcat(block->data(), block->size(), args(*block->data() + offset));
         });
     }},
    {"wiq_rapsprintf",
     [](Args& args) {
         return each_block([&](Block* block, u64 offset) {
             return wiq_rapsprintf(block->data(), block->size(), "%s",
                                   args(*block->data() + offset));
         });
     }},
    {"wiq_rapsprintf with other arguments",
     [](Args& args) {
         return each_block([&](Block* block, u64 offset) {
             return wiq_rapsprintf(block->data(), block->size(), "<%s|%s>",
                                   args(*block->data() + offset), args(*block->data()));
         });
     }},
    {"wiq_asprintf into where its argument is held",
     [](Args& args) {
         char* text = strdup("text");
         char* old = text;
         const i32 result = wiq_asprintf(&text, "%s+%s", args(text), args(text));
         std::string after = std::to_string(result) + text;
         free(text);
         free(old);
         return after;
     }},
    {"wiq_struct_str",
     [](Args& args) {
         return each_block([&](Block* block, u64 offset) {
             const u64 width = strlen(*block->data()) - offset;
             return wiq_struct_str(args.bytes(*block->data() + offset, width), width, block->data(),
                                   block->size(), true);
         });
     }},
    {"wiq_struct_str of a field as large as the block",
     [](Args& args) {
         return each_block([&](Block* block, u64) {
             memset(*block->data(), 'f', *block->size());
             const u64 width = *block->size();
             return wiq_struct_str(args.bytes(*block->data(), width), width, block->data(),
                                   block->size(), false);
         });
     }},
    {"wiq_struct_str without a size, which cuts the block",
     [](Args& args) {
         return each_block([&](Block* block, u64 offset) {
             const u64 width = (strlen(*block->data()) - offset) / 2;
             const i32 result = wiq_struct_str(args.bytes(*block->data() + offset, width), width,
                                               block->data(), nullptr, false);
             *block->size() = width + 1;
             return result;
         });
     }},
    {"wiq_build_path",
     [](Args& args) {
         char path[] = "dir\\";
         char* built = wiq_build_path(args(path), args(path));
         std::string after = built;
         free(built);
         return after;
     }},
    {"wiq_strv_push and wiq_strv_pushf",
     [](Args& args) {
         wiq_strv strv;
         wiq_strv_init(&strv);
         wiq_strv_push(&strv, "first");
         for (u32 i = 0; i < 40; i += 2) {
             wiq_strv_push(&strv, args(wiq_strv_get(&strv, i)));
             wiq_strv_pushf(&strv, "%s+%u", args(wiq_strv_get(&strv, i + 1)), i);
         }
         std::string after;
         for (u32 i = 0; i < 41; ++i)
             after += std::string(wiq_strv_get(&strv, i)) + " ";
         wiq_strv_finalize(&strv);
         return after;
     }},
    {"wiq_base64_decode in place",
     [](Args& args) {
         char text[] = "aGVsbG8gd29ybGQ=";
         size_t length = sizeof(text);
         const i32 result =
             wiq_base64_decode(args(text), strlen(text), reinterpret_cast<u8*>(text), &length);
         return std::to_string(result) + std::string(text, length);
     }},
    {"wiq_map_put of a key that the map has",
     [](Args& args) {
         return each_map(
             [&](wiq_map* map, char* key) { wiq_map_put(map, args.owned(key), strdup("3")); });
     }},
    {"wiq_map_replace of a key that the map has",
     [](Args& args) {
         return each_map([&](wiq_map* map, char* key) {
             void* old = nullptr;
             wiq_map_replace(map, args.owned(key), strdup("3"), &old);
             free(old);
         });
     }},
    {"wiq_map_get and wiq_map_remove by a key that the map has",
     [](Args& args) {
         return each_map([&](wiq_map* map, char* key) {
             EXPECT_STREQ(static_cast<char*>(wiq_map_get(map, args(key))), "1");
             EXPECT_EQ(wiq_map_remove(map, args(key)), nullptr);
         });
     }},
    {"wiq_safe_map_put and _remove",
     [](Args& args) {
         char* first = strdup("first");
         char* second = strdup("second");
         wiq_safe_map* map = wiq_safe_map_new(1, wiq_hash_str, wiq_cmp_str, free, free);
         wiq_safe_map_put(map, first, strdup("1"));
         wiq_safe_map_put(map, second, strdup("2"));
         wiq_safe_map_put(map, args.owned(second), strdup("3"));
         wiq_safe_map_remove(map, args(first));
         std::string after = static_cast<char*>(wiq_safe_map_get(map, "second"));
         after += wiq_safe_map_test_key(map, "first") ? "+" : "-";
         wiq_safe_map_delete(map);
         return after;
     }},
    {"wiq_json_obj_put_ext",
     [](Args& args) {
         return each_member([&](wiq_json_t* root, wiq_json_t* member) {
             wiq_json_obj_put_ext(root, args(key_of(member)), wiq_json_i64_new(7, nullptr),
                                  nullptr);
         });
     }},
    {"wiq_json_obj_put_str",
     [](Args& args) {
         return each_member([&](wiq_json_t* root, wiq_json_t* member) {
             wiq_json_obj_put_str(root, args(key_of(member)), args(wiq_json_str_get(member)),
                                  nullptr);
         });
     }},
    {"wiq_json_obj_put_str of a key, under another",
     [](Args& args) {
         return each_member([&](wiq_json_t* root, wiq_json_t* member) {
             wiq_json_obj_put_str(root, args(wiq_json_str_get(member)), args(key_of(member)),
                                  nullptr);
         });
     }},
    {"wiq_json_obj_put_jref",
     [](Args& args) {
         return each_member([&](wiq_json_t* root, wiq_json_t* member) {
             wiq_json_obj_put_jref(root, args(key_of(member)), args(wiq_json_str_get(member)),
                                   nullptr);
         });
     }},
    {"wiq_json_obj_put_* of the rest",
     [](Args& args) {
         return each_member([&](wiq_json_t* root, wiq_json_t* member) {
             const wiq_uint128 big = {1, 2};
             const auto key = [&] { return args(key_of(member)); };
             member = wiq_json_obj_put_null(root, key(), nullptr);
             member = wiq_json_obj_put_bool(root, key(), true, nullptr);
             member = wiq_json_obj_put_i64(root, key(), -1, nullptr);
             member = wiq_json_obj_put_u64(root, key(), 1, nullptr);
             member = wiq_json_obj_put_u128(root, key(), &big, nullptr);
             member = wiq_json_obj_put_double(root, key(), 1.5, nullptr);
             member = wiq_json_obj_put_obj(root, key(), nullptr);
             member = wiq_json_obj_put_array(root, key(), nullptr);
             EXPECT_EQ(wiq_json_obj_getd_array(root, key(), nullptr), member);
         });
     }},
    {"wiq_json_obj_put_* where the table grows",
     [](Args& args) {
         return each_member([&](wiq_json_t* root, wiq_json_t* member) {
             std::string name = "n";
             for (int i = 0; i < 100; ++i, name += "x") {
                 member = wiq_json_obj_put_str(root, name.c_str(), args(key_of(member)), nullptr);
                 wiq_json_obj_getd_obj(root, args(wiq_json_str_get(member)), nullptr);
             }
         });
     }},
    {"wiq_json_obj_remove",
     [](Args& args) {
         return each_member([&](wiq_json_t* root, wiq_json_t* member) {
             EXPECT_EQ(wiq_json_obj_remove(root, args(key_of(member))), 0);
         });
     }},
    {"wiq_json_array_push_str",
     [](Args& args) {
         return each_member([&](wiq_json_t* root, wiq_json_t* member) {
             wiq_json_t* array = wiq_json_obj_put_array(root, "array", nullptr);
             wiq_json_t* text = wiq_json_array_push_str(array, args(key_of(member)), nullptr);
             for (int i = 0; i < 40; ++i)
                 text = wiq_json_array_push_str(array, args(wiq_json_str_get(text)), nullptr);
         });
     }},
    {"wiq_json_ptr_put by the text of what is replaced",
     [](Args& args) {
         return each_member([&](wiq_json_t* root, wiq_json_t*) {
             wiq_json_t* target = wiq_json_obj_put_str(root, "other", "/other", nullptr);
             EXPECT_EQ(wiq_json_ptr_put(root, args(wiq_json_str_get(target)),
                                        wiq_json_i64_new(5, nullptr)),
                       0);
         });
     }},
    {"wiq_json_ptr_put_str and _jref by and of the text of what is replaced",
     [](Args& args) {
         return each_member([&](wiq_json_t* root, wiq_json_t*) {
             wiq_json_t* target = wiq_json_obj_put_str(root, "other", "/other", nullptr);
             const char* text = wiq_json_str_get(target);
             target = wiq_json_ptr_put_str(root, args(text), args(text), nullptr);
             text = wiq_json_str_get(target);
             target = wiq_json_ptr_put_jref(root, args(text), args(text), nullptr);
             text = wiq_json_jref_uri(target);
             wiq_json_ptr_put_i64(root, args(text), 7, nullptr);
         });
     }},
    {"wiq_json_ptr_put of an array's element by its own text",
     [](Args& args) {
         return each_member([&](wiq_json_t* root, wiq_json_t*) {
             wiq_json_t* array = wiq_json_obj_put_array(root, "a", nullptr);
             wiq_json_t* elem = wiq_json_array_push_str(array, "/a/0", nullptr);
             const char* text = wiq_json_str_get(elem);
             wiq_json_ptr_put_str(root, args(text), args(text), nullptr);
         });
     }},
    {"wiq_json_ptr_get by a text of the tree",
     [](Args& args) {
         return each_member([&](wiq_json_t* root, wiq_json_t* member) {
             u32 err = 0;
             char* prefix = nullptr;
             EXPECT_NE(wiq_json_ptr_get(root, args(wiq_json_str_get(member)), &err, &prefix),
                       nullptr);
             free(prefix);
         });
     }},
    {"wiq_mtype_set_utf8 and wiq_mtype_set_blob",
     [](Args& args) {
         wiq_mtype value;
         wiq_mtype_init(&value);
         wiq_mtype_set_utf8(&value, "some text", 1);
         wiq_mtype_set_utf8(&value, args(wiq_mtype_get_utf8(&value) + 5), 1);
         std::string after = std::string(wiq_mtype_get_utf8(&value)) + "+";
         wiq_mtype_set_blob(&value, args.bytes(wiq_mtype_get_utf8(&value), 4), 4, 1, 1);
         u64 length = 0;
         const auto* blob = static_cast<const char*>(wiq_mtype_get_blob(&value, &length));
         after += std::string(blob, length) + "+";
         wiq_mtype_set_blob(&value, args.bytes(blob + 1, 2), 2, 1, 1);
         blob = static_cast<const char*>(wiq_mtype_get_blob(&value, &length));
         after += std::string(blob, length);
         wiq_mtype_finalize(&value);
         return after;
     }},
    {"wiq_mtype_copy onto the value that lent its text",
     [](Args& args) {
         wiq_mtype lender;
         wiq_mtype borrower;
         wiq_mtype_init(&lender);
         wiq_mtype_init(&borrower);
         wiq_mtype_set_utf8(&lender, "some text", 1);
         wiq_mtype_set_utf8(&borrower, args(wiq_mtype_get_utf8(&lender)), 0);
         EXPECT_EQ(wiq_mtype_copy(&borrower, &lender), 0);
         std::string after = wiq_mtype_get_utf8(&lender);
         wiq_mtype_finalize(&borrower);
         after += wiq_mtype_get_utf8(&lender);
         wiq_mtype_finalize(&lender);
         return after;
     }},
};

TEST(Aliasing, AnArgumentInMemoryThatIsMovedOrReleased) {
    for (const Row& row : kRows) {
        Args aliased(true);
        Args copied(false);
        EXPECT_EQ(row.run(aliased), row.run(copied)) << row.name;
    }
}

}  // namespace
