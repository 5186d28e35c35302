// Tests of whole-file loading and of line reading.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "ke_utils/json.h"
#include "support/pipes.h"
#include "support/temporary_stream.h"

namespace {

constexpr const char* kName = "file_test.tmp";

void write_file(const std::string& content) {
    FILE* fp = fopen(kName, "wb");
    ASSERT_NE(fp, nullptr);
    ASSERT_EQ(fwrite(content.data(), 1, content.size(), fp), content.size());
    fclose(fp);
}

class LoadFile : public testing::Test {
  protected:
    void TearDown() override { remove(kName); }
};

TEST_F(LoadFile, PadsToAMultipleAboveTheSize) {
    const std::string content = "0123456789";
    write_file(content);
    struct Row {
        size_t pad, padding;
    };
    for (const Row& row :
         {Row{0, 0}, Row{1, 1}, Row{4, 2}, Row{5, 5}, Row{10, 10}, Row{11, 1}, Row{1000, 990}}) {
        void* data = nullptr;
        ASSERT_EQ(wiq_load_file(kName, &data, row.pad), 10);
        EXPECT_EQ(memcmp(data, content.data(), 10), 0);
        // The block has exactly this size, so the sanitizers detect an overrun.
        for (size_t i = 0; i < row.padding; ++i)
            EXPECT_EQ(static_cast<char*>(data)[10 + i], '\0') << row.pad;
        free(data);
    }
}

TEST_F(LoadFile, AroundBlockMultiples) {
    for (size_t size : {size_t{511}, size_t{512}, size_t{513}, size_t{65536}}) {
        const std::string content(size, 'c');
        write_file(content);
        void* data = nullptr;
        ASSERT_EQ(wiq_load_file(kName, &data, 512), static_cast<i32>(size));
        EXPECT_EQ(memcmp(data, content.data(), size), 0);
        EXPECT_EQ(static_cast<char*>(data)[size], '\0');
        EXPECT_EQ(static_cast<char*>(data)[(size / 512 + 1) * 512 - 1], '\0');
        free(data);
    }
}

TEST_F(LoadFile, BytesAreKept) {
    const std::string content("a\r\nb\0\xff\x1a z", 9);
    write_file(content);
    void* data = nullptr;
    ASSERT_EQ(wiq_load_file(kName, &data, 0), 9);
    EXPECT_EQ(memcmp(data, content.data(), 9), 0);
    free(data);
}

TEST_F(LoadFile, Failures) {
    void* data = &data;
    EXPECT_EQ(wiq_load_file("no_such_file", &data, 1), WIQ_ERR_NOT_FOUND);
    EXPECT_EQ(wiq_load_file(nullptr, &data, 1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_load_file(kName, nullptr, 1), WIQ_ERR_INVALID_ARG);
    write_file("");
    EXPECT_EQ(wiq_load_file(kName, &data, 1), WIQ_ERR_FILE_EMPTY);
    EXPECT_EQ(data, &data) << "nothing was allocated";
    write_file("x");
    EXPECT_EQ(wiq_load_file(kName, &data, SIZE_MAX), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(data, nullptr);
}

TEST_F(LoadFile, ADirectoryIsRefused) {
    void* data = nullptr;
    EXPECT_EQ(wiq_load_file(".", &data, 1), WIQ_ERR_ACCESS_DENIED);
    free(data);
}

#ifndef _WIN32
TEST_F(LoadFile, FilesOfTwoGibibytesAreRefused) {
    FILE* fp = fopen(kName, "wb");
    ASSERT_NE(fp, nullptr);
    // A sparse file: it takes no room on the disk.
    ASSERT_EQ(fseek(fp, 2147483647L, SEEK_SET), 0);
    fputc('x', fp);
    fclose(fp);
    void* data = nullptr;
    EXPECT_EQ(wiq_load_file(kName, &data, 0), WIQ_ERR_IO);
    EXPECT_EQ(data, nullptr);
}
#endif

class Getline : public testing::Test {
  protected:
    void SetUp() override {
        stream_ = temporary_stream();
        ASSERT_NE(stream_, nullptr);
    }
    void TearDown() override {
        free(line_);
        fclose(stream_);
    }
    void fill(const std::string& content) {
        fwrite(content.data(), 1, content.size(), stream_);
        rewind(stream_);
    }
    // Returns the next line, or "(status)".
    std::string next() {
        const i32 length = wiq_getline(&line_, &size_, stream_);
        if (length < 0)
            return "(" + std::to_string(length) + ")";
        EXPECT_EQ(line_[length], '\0');
        return std::string(line_, static_cast<size_t>(length));
    }

    FILE* stream_ = nullptr;
    char* line_ = nullptr;
    size_t size_ = 0;
};

TEST_F(Getline, LinesKeepTheirEnds) {
    fill("ab\r\ncd");
    EXPECT_EQ(next(), "ab\r\n");
    EXPECT_EQ(next(), "cd");
    EXPECT_EQ(next(), "(-3004)");
    EXPECT_STREQ(line_, "cd") << "the buffer is left alone at the end";
}

TEST_F(Getline, EmptyLinesAndNuls) {
    fill(std::string("\n\na\0b\n", 6));
    EXPECT_EQ(next(), "\n");
    EXPECT_EQ(next(), "\n");
    EXPECT_EQ(next(), std::string("a\0b\n", 4));
    EXPECT_EQ(next(), "(-3004)");
}

TEST_F(Getline, AnEmptyStreamTakesNoBuffer) {
    EXPECT_EQ(next(), "(-3004)");
    EXPECT_EQ(line_, nullptr);
    EXPECT_EQ(size_, 0u);
}

TEST_F(Getline, GrowsInSteps) {
    struct Row {
        size_t length, size;  // including the line feed
    };
    for (const Row& row : {Row{1, 128}, Row{126, 128}, Row{127, 128}, Row{128, 256}, Row{255, 256},
                           Row{256, 384}, Row{300, 384}, Row{1023, 1024}}) {
        free(line_);
        line_ = nullptr;
        size_ = 77777;  // ignored because there is no buffer
        rewind(stream_);
        fill(std::string(row.length - 1, 'x') + "\n");
        EXPECT_EQ(next().size(), row.length);
        EXPECT_EQ(size_, row.size) << row.length;
    }
}

TEST_F(Getline, ALineOf300BytesTakes384) {
    fill(std::string(299, 'x') + "\n");
    EXPECT_EQ(next().size(), 300u);
    EXPECT_EQ(size_, 384u);
}

// The reported size is that of a block that grows in fixed steps, even if the real one grows differently. All of
// it can be written to.
TEST_F(Getline, LongLines) {
    for (const size_t length : {65406, 65407, 65408, 65534, 65535, 65536, 98304, 100000, 500000}) {
        std::string line(length, 'x');
        line[length / 2] = 'y';
        fill(line + "\n");
        EXPECT_EQ(next(), line + "\n");
        // Includes the line feed and the NUL.
        const size_t steps = (length + 2 + 127) / 128;
        EXPECT_EQ(size_, steps * 128) << length;
        memset(line_, 0, size_);
        free(line_);
        line_ = nullptr;
        fclose(stream_);
        stream_ = temporary_stream();
        ASSERT_NE(stream_, nullptr);
    }
}

TEST_F(Getline, SmallBuffersAreGrownFirst) {
    for (size_t size : {size_t{1}, size_t{2}, size_t{3}}) {
        free(line_);
        line_ = static_cast<char*>(malloc(size));
        size_ = size;
        rewind(stream_);
        fill("ab\n");
        EXPECT_EQ(next(), "ab\n");
        EXPECT_EQ(size_, size + 128);
    }
}

TEST_F(Getline, ReusesABufferThatFits) {
    fill("abc\nd\n");
    EXPECT_EQ(next(), "abc\n");
    char* before = line_;
    EXPECT_EQ(next(), "d\n");
    EXPECT_EQ(line_, before);
}

TEST_F(Getline, MissingArgumentsAreRefused) {
    EXPECT_EQ(wiq_getline(nullptr, &size_, stream_), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_getline(&line_, nullptr, stream_), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_getline(&line_, &size_, nullptr), WIQ_ERR_INVALID_ARG);
}

TEST_F(Getline, APipeThatEndsInTheMiddleOfALine) {
    Pipe pipe;
    ASSERT_NE(pipe.writer, nullptr);
    fputs("whole\nhal", pipe.writer);
    ASSERT_TRUE(Pipe::close(&pipe.writer));
    std::swap(stream_, pipe.reader);
    EXPECT_EQ(next(), "whole\n");
    EXPECT_EQ(next(), "hal");
    EXPECT_EQ(next(), "(-3004)");
    std::swap(stream_, pipe.reader);
}

#ifndef _WIN32
TEST(Streams, LoadingAPipeFailsForLackOfASize) {
    Pipe pipe;
    ASSERT_NE(pipe.reader, nullptr);
    void* data = nullptr;
    const std::string path = "/proc/self/fd/" + std::to_string(fileno(pipe.reader));
    EXPECT_EQ(wiq_load_file(path.c_str(), &data, 1), WIQ_ERR_IO);
    EXPECT_EQ(data, nullptr);
}

// The disk is full after the first block, or in the middle of a long text.
TEST(Streams, AFullDisk) {
    std::string numbers = "[0";
    for (int i = 0; i < 20000; ++i)
        numbers += ",123456";
    std::string texts = "[0";
    for (int i = 0; i < 100; ++i)
        texts += ",\"" + std::string(2000, 'x') + "\"";
    for (const std::string& text :
         {numbers + "]", texts + "]", "[\"" + std::string(100000, 'x') + "\"]"}) {
        wiq_json_t* root = wiq_json_loads(text.c_str(), 0, nullptr);
        ASSERT_NE(root, nullptr);
        FILE* full = fopen("/dev/full", "w");
        ASSERT_NE(full, nullptr);
        setvbuf(full, nullptr, _IONBF, 0);
        EXPECT_EQ(wiq_json_fdump(root, full, 0, 0), -1);
        fclose(full);
        wiq_json_unref(root);
    }
}

// If a file is shorter than its reported size, for example because it shrinks while it is read, loading
// fails.
TEST(Streams, AFileShorterThanItsReportedSize) {
    void* data = nullptr;
    // Such files of the system report the size of a page and contain only a line.
    const char* name = "/sys/kernel/mm/transparent_hugepage/enabled";
    if (wiq_access(name, 4) != 0)
        name = "/sys/kernel/uevent_seqnum";
    if (wiq_access(name, 4) != 0)
        GTEST_SKIP() << "the system has none of its special files here";
    EXPECT_EQ(wiq_load_file(name, &data, 1), WIQ_ERR_IO);
    free(data);
}
#endif

TEST(Streams, ADocumentCutOffByItsWriter) {
    Pipe pipe;
    ASSERT_NE(pipe.writer, nullptr);
    fputs("[1,\n {\"a\"", pipe.writer);
    ASSERT_TRUE(Pipe::close(&pipe.writer));
    wiq_json_load_error error = {};
    EXPECT_EQ(wiq_json_loadf(pipe.reader, 0, &error), nullptr);
    EXPECT_EQ(error.status, WIQ_ERR_JSON_UNEXPECTED_TOKEN);
    EXPECT_EQ(error.line, 2);
}

TEST(Streams, ADocumentWithoutAReader) {
    [[maybe_unused]] const NoPipeSignal quiet;
    Pipe pipe;
    ASSERT_NE(pipe.writer, nullptr);
    Pipe::close(&pipe.reader);
    // More than all buffers on the way can hold.
    wiq_json_t* root = wiq_json_str_new(std::string(200000, 'x').c_str(), nullptr);
    EXPECT_EQ(wiq_json_fdump(root, pipe.writer, 0, 0), -1);
    wiq_json_unref(root);
}

TEST(Streams, ADirectoryIsNotADocument) {
    u32 err = 0;
    FILE* directory = wiq_fopen(".", "r", &err);
    ASSERT_EQ(directory, nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_ACCESS_DENIED);
#ifndef _WIN32
    // The runtime's own function does open a directory.
    wiq_json_load_error error = {};
    directory = fopen(".", "r");
    ASSERT_NE(directory, nullptr);
    EXPECT_EQ(wiq_json_loadf(directory, 0, &error), nullptr);
    EXPECT_EQ(error.status, WIQ_ERR_JSON_UNEXPECTED_TOKEN);
    fclose(directory);
#endif
}

TEST_F(Getline, AReadErrorEndsTheStream) {
    FILE* write_only = fopen(kName, "w");
    ASSERT_NE(write_only, nullptr);
    EXPECT_EQ(wiq_getline(&line_, &size_, write_only), WIQ_ERR_EOF);
    fclose(write_only);
    remove(kName);
}

}  // namespace
