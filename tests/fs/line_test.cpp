// Lines that are longer than a length can express. The limit, which is 2^31 - 1 bytes for users, is an
// argument inside the library, so short lines can reach it.
#include "fs/line.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "support/temporary_stream.h"

namespace {

FILE* stream_of(const std::string& content) {
    FILE* stream = temporary_stream();
    EXPECT_NE(stream, nullptr);
    EXPECT_EQ(fwrite(content.data(), 1, content.size(), stream), content.size());
    rewind(stream);
    return stream;
}

TEST(Line, ALineThatIsLongerThanTheLimit) {
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

TEST(Line, AFreshBufferForALineThatIsTooLong) {
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

TEST(Line, TheIniParserPassesItOn) {
    FILE* stream =
        stream_of("[section]\nkey = value\nkey = " + std::string(100, 'v') + "\nk = v\n");
    std::string seen;
    const auto on_key = [](const char* key, const WiqIniLocation*, const char* value,
                           const WiqIniLocation*, void* user) {
        *static_cast<std::string*>(user) += std::string(key) + "=" + value + ";";
        return i32{0};
    };
    EXPECT_EQ(ke::ini_parse(stream, nullptr, on_key, nullptr, &seen, 50), WIQ_ERR_IO);
    EXPECT_EQ(seen, "key=value;");
    rewind(stream);
    seen.clear();
    EXPECT_EQ(ke::ini_parse(stream, nullptr, on_key, nullptr, &seen, 107), 0);
    EXPECT_EQ(seen, "key=value;key=" + std::string(100, 'v') + ";k=v;");
    fclose(stream);
}

TEST(Line, TheLimitOfUsers) {
    EXPECT_EQ(ke::kMaxLineLength, size_t{INT32_MAX});
}

}  // namespace
