// Files and lines of more than 2^31 and 2^32 bytes: sparse files, which take no room on the disk.
#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "large/large_test.h"

namespace {

class FileLarge : public Large {};

TEST_F(FileLarge, WholeFiles) {
    struct Row {
        size_t size;
        bool fits;
    };
    for (const Row& row : {Row{k2G - 1, true}, Row{k2G, false}, Row{k2G + 5, false},
                           Row{k4G, false}, Row{k4G + 5, false}}) {
        SCOPED_TRACE(row.size);
        const SparseFile file("ab", row.size - 4, "yz");
        for (const size_t pad : {0, 1}) {
            void* data = nullptr;
            const i32 size = wiq_load_file(file.name(), &data, pad);
            if (!row.fits) {
                EXPECT_EQ(size, WIQ_ERR_IO);
                EXPECT_EQ(data, nullptr);
                continue;
            }
            EXPECT_EQ(size, INT32_MAX);
            const char* bytes = static_cast<char*>(data);
            EXPECT_EQ(std::string(bytes, 2), "ab");
            EXPECT_EQ(std::string(bytes + row.size - 2, 2), "yz");
            EXPECT_TRUE(is_all(bytes + 2, row.size - 4, '\0'));
            EXPECT_TRUE(pad == 0 || bytes[row.size] == '\0');
            free(data);
        }
    }
}

TEST_F(FileLarge, TheLongestLine) {
    const SparseFile file("ab", k2G - 5, "y\nlast");
    FILE* stream = fopen(file.name(), "rb");
    char* line = nullptr;
    size_t size = 0;
    EXPECT_EQ(wiq_getline(&line, &size, stream), INT32_MAX);
    EXPECT_EQ(size, k2G);
    EXPECT_EQ(std::string(line, 2), "ab");
    EXPECT_STREQ(line + k2G - 3, "y\n");
    EXPECT_EQ(wiq_getline(&line, &size, stream), 4);
    EXPECT_STREQ(line, "last");
    free(line);
    fclose(stream);
}

TEST_F(FileLarge, LinesThatAreTooLong) {
    for (const size_t length : {k2G, k2G + 5, k4G + 5}) {
        for (const bool fresh : {true, false}) {
            if (fresh && length != k2G)
                continue;
            SCOPED_TRACE(length);
            const SparseFile file("ab", length - 4, "y\n");
            FILE* stream = fopen(file.name(), "rb");
            size_t size = fresh ? 77 : 3;
            char* line = fresh ? nullptr : static_cast<char*>(malloc(size));
            EXPECT_EQ(wiq_getline(&line, &size, stream), WIQ_ERR_IO);
            // The block, whose size is reported, contains the first 2^31 - 1 bytes and a NUL.
            ASSERT_NE(line, nullptr);
            EXPECT_GE(size, k2G);
            EXPECT_LT(size, k2G + 128);
            EXPECT_EQ(std::string(line, 2), "ab");
            EXPECT_TRUE(is_all(line + 2, k2G - 5, '\0'));
            EXPECT_EQ(line[k2G - 1], '\0');
            line[size - 1] = 'x';
            // The stream's position is after them.
            const i32 rest = wiq_getline(&line, &size, stream);
            if (length > k4G) {
                EXPECT_EQ(rest, WIQ_ERR_IO);
                EXPECT_EQ(wiq_getline(&line, &size, stream), 7);
            } else {
                EXPECT_EQ(rest, static_cast<i32>(length - (k2G - 1)));
            }
            EXPECT_EQ(wiq_getline(&line, &size, stream), WIQ_ERR_EOF);
            free(line);
            fclose(stream);
        }
    }
}

}  // namespace
