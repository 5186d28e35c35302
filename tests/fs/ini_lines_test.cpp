// INI files with lines whose length exceeds the largest i32. Inside the library the limit, which is 2^31 - 1 bytes for
// users, is an argument, so short lines can reach it.
#include "fs/ini.h"

#include <gtest/gtest.h>

#include <string>

#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "support/temporary_stream.h"

namespace {

TEST(IniLines, ALineThatIsLongerThanTheLimit) {
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

}  // namespace
