// Tests of the status table and of the mapping between its two ranges.
#include "ke_utils/core.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

namespace {

// Callers and other tools compare with these numbers, so they must never change: the header's table must
// match this list.
const std::map<std::string, i32> kPromised = {
    {"WIQ_ERR_IO", -3},
    {"WIQ_ERR_ACCESS_DENIED", -4},
    {"WIQ_ERR_FAILED", -7},
    {"WIQ_ERR_INVALID_VALUE", -1011},
    {"WIQ_ERR_VALUE_OUT_OF_RANGE", -1016},
    {"WIQ_ERR_VALUE_NOT_INTEGRAL", -1017},
    {"WIQ_ERR_KEY_NOT_FOUND", -1037},
    {"WIQ_ERR_INDEX_OUT_OF_RANGE", -1038},
    {"WIQ_ERR_PTR_BAD_ESCAPE", -1039},
    {"WIQ_ERR_JSON_TRAILING_DATA", -1040},
    {"WIQ_ERR_JSON_UNEXPECTED_END", -1041},
    {"WIQ_ERR_JSON_CONTROL_CHAR", -1042},
    {"WIQ_ERR_JSON_BAD_ESCAPE", -1043},
    {"WIQ_ERR_JSON_BAD_NUMBER", -1044},
    {"WIQ_ERR_JSON_UNEXPECTED_TOKEN", -1045},
    {"WIQ_ERR_JSON_BAD_TOKEN", -1046},
    {"WIQ_ERR_JSON_DUPLICATE_KEY", -1047},
    {"WIQ_ERR_JSON_BAD_UTF8", -1049},
    {"WIQ_ERR_JSON_BAD_UNICODE_ESCAPE", -1050},
    {"WIQ_ERR_JREF_CYCLE", -1052},
    {"WIQ_ERR_FILE_EMPTY", -3001},
    {"WIQ_ERR_NOT_FOUND", -3002},
    {"WIQ_ERR_PATH_NOT_FOUND", -3003},
    {"WIQ_ERR_EOF", -3004},
    {"WIQ_ERR_ALREADY_EXISTS", -3005},
    {"WIQ_ERR_NO_MEMORY", -5000},
    {"WIQ_ERR_TIME_CONVERSION", -5005},
    {"WIQ_ERR_ENCODING", -5006},
    {"WIQ_ERR_LOCK_INIT", -5007},
    {"WIQ_ERR_DLOPEN", -5010},
    {"WIQ_ERR_DLSYM", -5011},
    {"WIQ_ERR_TRAILING_CHARS", -6001},
    {"WIQ_ERR_INVALID_ARG", -7000},
    {"WIQ_ERR_RANGE", -7001},
    {"WIQ_ERR_NOT_INTEGRAL", -7002},
    {"WIQ_ERR_BAD_FORMAT", -7003},
    {"WIQ_ERR_BAD_RADIX", -7005},
    {"WIQ_ERR_BUFFER_TOO_SMALL", -7006},
    {"WIQ_ERR_INI_SYNTAX", -7010},
    {"WIQ_ERR_BAD_JSON_TYPE", -7014},
    {"WIQ_ERR_WRONG_TYPE", -7018},
    {"WIQ_ERR_PTR_SYNTAX", -7019},
};

TEST(Status, TableKeepsEveryNumber) {
    std::map<std::string, i32> table;
    std::map<std::string, i32> constants;
#define ROW(number, name, meaning) \
    table[#name] = (number);       \
    constants[#name] = name;
    KE_STATUS_TABLE(ROW)
#undef ROW
    EXPECT_EQ(table, kPromised);
    EXPECT_EQ(constants, kPromised);
}

TEST(Status, MeaningsAreUnique) {
    std::set<std::string> meanings;
#define ROW(number, name, meaning)      \
    EXPECT_STRNE("", meaning) << #name; \
    EXPECT_TRUE(meanings.insert(meaning).second) << #name;
    KE_STATUS_TABLE(ROW)
#undef ROW
}

TEST(Status, MapsConversionStatuses) {
    const std::map<i32, i32> changed = {
        {-7000, -1011}, {-7003, -1011}, {-7001, -1016}, {-7002, -1017}};
    for (const auto& [from, to] : changed)
        EXPECT_EQ(wiq_status_ie_to_pe(from), to) << from;
}

TEST(Status, LeavesEveryOtherStatus) {
    for (i32 status :
         {0, 1, -1, -3, -5000, -6001, -6999, -7004, -7005, -7019, INT32_MAX, INT32_MIN})
        EXPECT_EQ(wiq_status_ie_to_pe(status), status);
    for (const auto& [name, status] : kPromised) {
        if (status != -7000 && status != -7001 && status != -7002 && status != -7003) {
            EXPECT_EQ(wiq_status_ie_to_pe(status), status) << name;
        }
    }
}

}  // namespace
