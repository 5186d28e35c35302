// Compares the tool's scanner with the library's parser: both accept and reject the same texts, however a
// text is divided into pieces.
#include <gtest/gtest.h>

#include <random>

#include "failure.h"
#include "json_string.h"
#include "ke_utils/files.h"
#include "ke_utils/json.h"
#include "scanner.h"
#include "tools/process.h"

namespace {

// Returns the tokens of a text, or the message for its mistake.
std::string scan(tool::Source& source) {
    std::string all;
    try {
        tool::Scanner scanner(source);
        for (tool::Token token = scanner.next(); token != tool::Token::end;
             token = scanner.next()) {
            EXPECT_EQ(scanner.stop() - scanner.start(), scanner.text().size());
            all += std::to_string(static_cast<int>(token)) + std::string(scanner.text()) + " ";
        }
    } catch (const tool::Failure& failure) {
        return "failure " + failure.message;
    }
    return all;
}

std::string scan_text(const std::string& text) {
    tool::Source source("text", text);
    return scan(source);
}

bool is_taken(const std::string& text) {
    return scan_text(text).compare(0, 8, "failure ") != 0;
}

bool is_taken_by_library(const std::string& text) {
    wiq_json_t* root = wiq_json_loads(text.c_str(), 0, nullptr);
    wiq_json_unref(root);
    return root != nullptr;
}

const char* const kTexts[] = {"null",
                              "true",
                              "[]",
                              "{}",
                              "[1,2.5e+3,-0,\"a\\n\\u00e9\\ud83d\\ude00\"]",
                              "{\"a\":{\"b\":[[],{}]},\"c\":\"\",\"\":0}",
                              " [ 1 , { \"k\" : null } ] ",
                              "1 2",
                              "[1,]",
                              "{\"a\":1,}",
                              "[1",
                              "{\"a\":1",
                              "{\"a\"",
                              "{\"a\":",
                              "{1:2}",
                              "{\"a\" 1}",
                              "01",
                              "-",
                              "1.",
                              "1e",
                              "1e+",
                              "-0",
                              "-01",
                              "+1",
                              ".5",
                              "nul",
                              "True",
                              "\"abc",
                              "\"\\x\"",
                              "\"\\u12\"",
                              "\"\\u0000\"",
                              "\"\\ud800\"",
                              "\"\\ud800\\u0041\"",
                              "\"\\udc00\"",
                              "\"a\tb\"",
                              "[1 2]",
                              "]",
                              "}",
                              ",",
                              ":",
                              "",
                              "  ",
                              "[}",
                              "{]",
                              "[1}",
                              "{\"a\":1]",
                              "1x",
                              "tru",
                              "truee",
                              "[01]",
                              "{\"$ref\":\"#/a\"}",
                              "\"\x7F\"",
                              "[1]]",
                              "{}{}",
                              "\"\\\"\"",
                              "9999999999999999999999"};

TEST(Scanner, AcceptsWhatTheLibraryAccepts) {
    for (const char* text : kTexts)
        EXPECT_EQ(is_taken(text), is_taken_by_library(text)) << text << scan_text(text);
}

TEST(Scanner, AgreesWithTheLibraryOnDamagedTexts) {
    std::mt19937 random(19);
    const std::string letters = "{}[],:\"\\0123456789.eE+-tfnulr a/\n\x01";
    size_t taken = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = kTexts[random() % std::size(kTexts)];
        for (size_t n = random() % 4; n > 0; --n) {
            const size_t at = random() % (text.size() + 1);
            const char letter = letters[random() % letters.size()];
            if (random() % 3 == 0 && at < text.size())
                text.erase(at, 1);
            else if (random() % 2 == 0 && at < text.size())
                text[at] = letter;
            else
                text.insert(at, 1, letter);
        }
        ASSERT_EQ(is_taken(text), is_taken_by_library(text)) << text << " " << scan_text(text);
        taken += is_taken(text) ? 1 : 0;
    }
    EXPECT_GT(taken, 1000u);
    EXPECT_LT(taken, 19000u);
}

TEST(Scanner, AcceptsValidUtf8Only) {
    EXPECT_TRUE(is_taken("\"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\""));
    for (const char* bad : {"\"\xFF\"", "\"\xC0\x80\"", "\"\xE0\x80\x80\"", "\"\xED\xA0\x80\"",
                            "\"\xF4\x90\x80\x80\"", "\"\xC3\"", "\"\xC3", "\xC3\xA9"})
        EXPECT_FALSE(is_taken(bad)) << bad;
}

// A file is read in blocks; a token that extends across two of them is still read correctly.
TEST(Scanner, ReadsFilesLikeTexts) {
    const tool::Common common;
    for (size_t blanks : {262140u, 262143u, 262144u, 524280u}) {
        const std::string text = "[\n" + std::string(blanks, ' ') +
                                 "\"\\u00e9 \xF0\x9F\x98\x80\", {\"key\" : 12345.5e10}, true]";
        write_file("ke_scanner.json", text);
        tool::Source source("ke_scanner.json", common);
        EXPECT_EQ(scan(source), scan_text(text)) << blanks;
        const std::string wrong = "[\n" + std::string(blanks, ' ') + "\"\xE2\x82\xAC\", tru]";
        write_file("ke_scanner.json", wrong);
        tool::Source file("ke_scanner.json", common);
        std::string expected = scan_text(wrong);
        expected.replace(expected.find("text:"), 5, "ke_scanner.json:");
        EXPECT_EQ(scan(file), expected);
    }
    wiq_unlink("ke_scanner.json");
}

TEST(Numbers, AreComparedWithoutRounding) {
    const char* const kRising[] = {"-1e999",
                                   "-9223372036854775809",
                                   "-1.5",
                                   "-1",
                                   "-0.1",
                                   "0",
                                   "1e-999",
                                   "0.1",
                                   "0.10000000000000000001",
                                   "1",
                                   "2",
                                   "9.99e2",
                                   "1000",
                                   "340282366920938463463374607431768211456",
                                   "1e999",
                                   "1e1000"};
    for (size_t i = 0; i < std::size(kRising); ++i) {
        for (size_t j = 0; j < std::size(kRising); ++j) {
            const int order = tool::compare_numbers(kRising[i], kRising[j]);
            EXPECT_EQ(order < 0, i < j) << kRising[i] << " " << kRising[j];
            EXPECT_EQ(order > 0, i > j) << kRising[i] << " " << kRising[j];
        }
    }
    for (const auto& [a, b] : {std::pair{"1", "1.0"},
                               {"100", "1e2"},
                               {"0", "-0.0e5"},
                               {"0.001", "1E-3"},
                               {"12.50", "1250e-2"}})
        EXPECT_EQ(tool::compare_numbers(a, b), 0) << a << " " << b;
}

TEST(Numbers, FitTheLibrary) {
    using tool::Fit;
    EXPECT_EQ(tool::fit_of("9223372036854775807"), Fit::i64);
    EXPECT_EQ(tool::fit_of("-9223372036854775808"), Fit::i64);
    EXPECT_EQ(tool::fit_of("-9223372036854775809"), Fit::too_large);
    EXPECT_EQ(tool::fit_of("18446744073709551615"), Fit::u64);
    EXPECT_EQ(tool::fit_of("18446744073709551616"), Fit::u128);
    EXPECT_EQ(tool::fit_of("340282366920938463463374607431768211455"), Fit::u128);
    EXPECT_EQ(tool::fit_of("340282366920938463463374607431768211456"), Fit::too_large);
    EXPECT_EQ(tool::fit_of("1e308"), Fit::real);
    EXPECT_EQ(tool::fit_of("1e309"), Fit::too_large);
    EXPECT_EQ(tool::fit_of("1e-400"), Fit::too_large);
    EXPECT_EQ(tool::fit_of("0e-400"), Fit::real);
}

}  // namespace
