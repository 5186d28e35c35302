// Lines whose length exceeds the largest i32. Inside the library the limit, which is 2^31 - 1 bytes for
// users, is an argument, so short lines can reach it.
#include "fs/file.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "support/temporary_stream.h"

namespace {

TEST(FileLines, GetlineRefusesLinesBeyondTheLimit) {
    for (const size_t longest : {1, 2, 126, 127, 128, 300}) {
        const std::string most = std::string(longest - 1, 'x') + "\n";
        FILE* stream = stream_of(most + std::string(longest, 'y') + "\nlast");
        for (const bool fresh : {true, false}) {
            rewind(stream);
            char* line = fresh ? nullptr : static_cast<char*>(malloc(2));
            size_t size = fresh ? 0 : 2;
            EXPECT_EQ(ke::getline_locked(&line, &size, stream, longest), static_cast<i32>(longest));
            EXPECT_EQ(most, line);
            EXPECT_EQ(ke::getline_locked(&line, &size, stream, longest), WIQ_ERR_IO);
            EXPECT_GT(size, longest);
            EXPECT_EQ(std::string(longest, 'y'), line) << "the part that was read";
            EXPECT_EQ(ke::getline_locked(&line, &size, stream, longest), 1) << "nothing is lost";
            EXPECT_STREQ(line, "\n");
            free(line);
        }
        fclose(stream);
    }
}

TEST(FileLines, AFreshBufferKeepsThePartThatWasRead) {
    FILE* stream = stream_of(std::string(1000, 'y'));
    char* line = nullptr;
    size_t size = 77;
    EXPECT_EQ(ke::getline_locked(&line, &size, stream, 500), WIQ_ERR_IO);
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(size, 512u);
    EXPECT_EQ(std::string(500, 'y'), line);
    free(line);
    fclose(stream);
}

TEST(FileLines, TheLimitOfUsers) {
    EXPECT_EQ(ke::kMaxLineLength, size_t{INT32_MAX});
}

}  // namespace
