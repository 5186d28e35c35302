// What an input may consume: limits on size, depth, memory and the number of expanded values.
#include "ke_utils/files.h"
#include "tools/rows.h"

namespace {

TEST(KeLimits, OfSize) {
    write_file("ke_limit.json", "[1,2,3]");
    expect_rows({
        {{"json", "format", "--compact", "--max-size", "7", "ke_limit.json"}, "", 0, "[1,2,3]\n"},
        {{"json", "format", "--compact", "--max-size", "1KB"}, "[1]", 0, "[1]\n"},
        {{"json", "format", "--max-size", "6", "ke_limit.json"},
         "",
         2,
         "",
         "ke_limit.json: has more than the 6 bytes that --max-size allows"},
        {{"--max-size", "6", "base64", "encode"}, "1234567", 2, "", "standard input: has more"},
        {{"--max-size", "lots", "base64", "encode"}, "", 64, "", "--max-size"},
    });
    wiq_unlink("ke_limit.json");
}

TEST(KeLimits, OfDepth) {
    expect_rows({
        {{"json", "format", "--compact", "--max-depth", "2"}, "[[1]]", 0, "[[1]]\n"},
        {{"json", "format", "--compact", "--max-depth", "2"},
         "[1,[[]]]",
         2,
         "",
         "standard input:1:5: deeper than the 2 levels that --max-depth allows"},
        {{"json", "set", "/0", "1", "--max-depth", "1"},
         "[{}]",
         2,
         "",
         "standard input:1:2: deeper"},
        {{"json", "format", "--max-depth", "0"}, "[]", 64, "", "--max-depth"},
    });
}

// AddressSanitizer alone needs more memory than any limit allows.
#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__)
// A document that must be in memory as a whole does not fit; a stream needs no more than its largest value.
TEST(KeLimits, OfMemory) {
    write_file("ke_limit.json", "[" + std::string(size_t{64} << 20, ' ') + "0]");
    expect_rows({
        {{"--max-memory", "48MB", "json", "format", "--compact", "--sort-keys", "ke_limit.json"},
         "",
         2,
         "",
         "not enough memory\n"},
        {{"--max-memory", "48MB", "json", "format", "--compact", "ke_limit.json"}, "", 0, "[0]\n"},
        {{"--max-memory", "1", "json", "format"}, "[0]", 2, "", "not enough memory\n"},
    });
    wiq_unlink("ke_limit.json");
}
#endif

// Returns a document in which each step doubles the previous one.
std::string doubling(int steps) {
    std::string text = "{\"v0\":[1]";
    for (int i = 1; i <= steps; ++i) {
        const std::string ref = "{\"$ref\":\"/v" + std::to_string(i - 1) + "\"}";
        text += ",\"v" + std::to_string(i) + "\":[" + ref + "," + ref + "]";
    }
    return text + "}";
}

TEST(KeLimits, OfExpansion) {
    const std::string refused =
        "standard input: expands to more than 100000000 values; allow more with --max-values";
    expect_rows({
        // 2^61 values, and more than 64 bits can count: this is known without making any.
        {{"json", "expand"}, doubling(60), 2, "", refused},
        {{"json", "expand"}, doubling(200), 2, "", refused},
        // The root, "v0" and its element, and "v1" with two copies of "v0".
        {{"json", "expand", "--compact", "--max-values", "8"},
         doubling(1),
         0,
         "{\"v0\":[1],\"v1\":[[1],[1]]}\n"},
        {{"json", "expand", "--max-values", "7"},
         doubling(1),
         2,
         "",
         "standard input: expands to more than 7 values"},
        {{"json", "expand", "--compact", "--max-values", "0"}, "[1]", 0, "[1]\n"},
        {{"json", "expand", "--compact"},
         "{\"a\":[{\"$ref\":\"\"}]}",
         2,
         "",
         "standard input:1:7: a reference: "},
    });
}

// Each of these would take hours if every reference were followed to the end of its chain, or if its target were
// searched for among all members.
TEST(KeLimits, OfTimeToExpand) {
    const int count = 20000;
    std::string chain = "[0";
    std::string members = "{\"last\":0";
    std::string references;
    for (int i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        chain += ",{\"$ref\":\"/" + number + "\"}";
        members += ",\"" + number + "\":1";
        references += (i == 0 ? "" : ",") + std::string("{\"$ref\":\"/last\"}");
    }
    std::string zeros = "[0";
    for (int i = 0; i < count; ++i)
        zeros += ",0";
    expect_rows({
        {{"json", "expand", "--compact"}, chain + "]", 0, zeros + "]\n"},
        {{"json", "expand", "--max-values", std::to_string(2 * count + 2)},
         members + ",\"list\":[" + references + "]}",
         2,
         "",
         "standard input: expands to more than " + std::to_string(2 * count + 2) + " values"},
    });
}

}  // namespace
