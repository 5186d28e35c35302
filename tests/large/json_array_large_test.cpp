// The largest array: 2^31 - 1 elements, all of them the same node. All parts of its table of 16 GiB are
// mappings of one piece of 256 MiB of memory, since they contain the same pointer everywhere.
#include "json/model/node.h"
#include "ke_utils/core.h"
#include "ke_utils/json.h"
#include "large/large_test.h"

#ifdef __linux__
#include <sys/mman.h>
#include <unistd.h>

namespace {

class JsonArrayLarge : public Large {};

// Remaps the block to pieces of shared memory. The ends of the block are unchanged, because it may share their
// pages with other blocks.
bool map_to_one_piece(void* block, size_t size) {
    constexpr size_t kPiece = size_t{256} << 20;
    constexpr size_t kPage = 4096;
    const int fd = memfd_create("table", 0);
    if (fd < 0 || ftruncate(fd, kPiece) != 0)
        return false;
    char* at = static_cast<char*>(block) + kPage - reinterpret_cast<uintptr_t>(block) % kPage;
    char* const end = static_cast<char*>(block) + size - kPage;
    bool mapped = true;
    for (; mapped && at + kPiece <= end; at += kPiece) {
        mapped = mmap(at, kPiece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, fd, 0) == at;
    }
    close(fd);
    return mapped;
}

// Accepts the text of "[null,null,...]".
struct Nulls {
    static ssize_t write(void* cookie, const char* bytes, size_t size) {
        auto* nulls = static_cast<Nulls*>(cookie);
        if (nulls->count < 6)
            nulls->head.append(bytes, size < 20 ? size : 20);
        nulls->count += size;
        nulls->tail.assign(bytes + (size < 20 ? 0 : size - 20), size < 20 ? size : 20);
        return static_cast<ssize_t>(size);
    }
    size_t count = 0;
    std::string head;
    std::string tail;
};

void expect_dumped(wiq_json_t* array, size_t elements) {
    Nulls nulls;
    FILE* stream = fopencookie(&nulls, "w", {nullptr, Nulls::write, nullptr, nullptr});
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(wiq_json_fdump(array, stream, 0, 0), INT32_MAX);
    fclose(stream);
    EXPECT_EQ(nulls.count, elements * 5 + 1);
    EXPECT_EQ(nulls.head.substr(0, 11), "[null,null,");
    EXPECT_EQ(nulls.tail.substr(nulls.tail.size() - 11), ",null,null]");
}

TEST_F(JsonArrayLarge, AsManyElementsAsThereCanBe) {
    wiq_json_t* array = wiq_json_array_weak_new(INT32_MAX, nullptr);
    ASSERT_NE(array, nullptr);
    ASSERT_TRUE(
        map_to_one_piece(ke::json::elems_of(ke::json::to_array(array)), size_t{8} * INT32_MAX));
    wiq_json_t* node = wiq_json_null_new(nullptr);
    i32 failed = 0;
    for (i32 i = 0; i < INT32_MAX - 1; ++i)
        failed += wiq_json_array_push_ext(array, node, nullptr) != 0;
    EXPECT_EQ(failed, 0);
    // The last element is another node, so that the reference count of the first does not overflow.
    wiq_json_t* last = wiq_json_bool_new(true, nullptr);
    EXPECT_EQ(wiq_json_array_put(array, INT32_MAX - 1, last), 0);
    EXPECT_EQ(wiq_json_array_size(array), INT32_MAX);

    wiq_json_t* more = wiq_json_null_new(nullptr);
    EXPECT_EQ(wiq_json_array_push_ext(array, more, nullptr), WIQ_ERR_NO_MEMORY);
    u32 err = 0;
    EXPECT_EQ(wiq_json_array_push_i64(array, 1, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(wiq_json_array_put(array, INT32_MAX, more), WIQ_ERR_NO_MEMORY);
    wiq_json_unref(more);
    EXPECT_EQ(wiq_json_array_size(array), INT32_MAX);

    struct Row {
        i32 index;
        const wiq_json_t* elem;
    };
    for (const Row& row :
         {Row{-1, last}, Row{INT32_MAX - 1, last}, Row{INT32_MAX, nullptr}, Row{-INT32_MAX, node},
          Row{INT32_MIN, nullptr}, Row{0, node}, Row{-2, node}}) {
        EXPECT_EQ(wiq_json_array_get_ext(array, row.index, 0, nullptr), row.elem) << row.index;
    }
    EXPECT_EQ(wiq_json_ptr_get(array, "/2147483646", nullptr, nullptr), last);
    EXPECT_EQ(wiq_json_ptr_get(array, "/2147483647", nullptr, nullptr), nullptr);
    EXPECT_EQ(wiq_json_ptr_get(array, "/6442450942", nullptr, nullptr), last) << "32 bits count";
    wiq_strbuf buf;
    wiq_strbuf_init(&buf, 0);
    EXPECT_EQ(wiq_json_ptr_build_array_ext(array, &buf), 0);
    EXPECT_STREQ(buf.data, "/2147483647");
    wiq_strbuf_finalize(&buf);
    wiq_json_t* pattern = wiq_json_bool_new(true, nullptr);
    EXPECT_EQ(wiq_json_array_find(array, pattern), last);
    wiq_json_unref(pattern);
    wiq_json_t* other = wiq_json_null_new(nullptr);
    err = 0;
    EXPECT_EQ(wiq_json_array_swap(array, INT32_MAX, other, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INDEX_OUT_OF_RANGE);
    err = 0;
    EXPECT_EQ(wiq_json_array_swap(array, INT32_MAX - 1, other, &err), last);
    EXPECT_EQ(wiq_json_array_swap(array, -1, last, &err), other);
    wiq_json_unref(other);

    // The indexes of dropped elements would need 64 GiB, so the filter fails before it calls the callback.
    i32 asked = 0;
    const auto keep = [](wiq_json_t*, void* user) {
        ++*static_cast<i32*>(user);
        return true;
    };
    EXPECT_EQ(wiq_json_array_filter(array, keep, &asked), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(asked, 0);

    EXPECT_EQ(wiq_json_array_pop_elem(array), last);
    wiq_json_unref(last);
    expect_dumped(array, size_t{INT32_MAX} - 1);
    EXPECT_EQ(wiq_json_array_pop(array, INT32_MAX), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_array_pop(array, INT32_MAX - 3), 0);
    EXPECT_EQ(wiq_json_array_size(array), 2);
    wiq_json_unref(array);
}

}  // namespace
#endif
