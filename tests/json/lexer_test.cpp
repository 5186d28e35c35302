// Tokens from both readers, and from streams whose buffers end anywhere, one at a time: kind, value, status, and the
// position after each. Then the conversions that make a token's value, with the sizes at which they change.
#include "json/read/lexer.h"

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "json/parser_support.h"
#include "json/stretches.h"
#include "support/alloc_faults.h"

namespace {

using namespace ke::json;
using ke::from_native;
using ke::u128;

using StringLexer = Lexer<StringReader>;
using StreamLexer = Lexer<StreamReader>;
using StretchLexer = Lexer<StretchReader>;

// Describes a token in one word: its character, its value, or the status if it is invalid.
template <class SomeLexer>
std::string next_token(SomeLexer& lexer) {
    const i32 status = lexer.scan();
    const Lexeme& lexeme = lexer.current();
    if (lexer.token() == kTokenInvalid)
        return "invalid:" + std::to_string(status);
    EXPECT_EQ(status, 0);
    char digits[64];
    switch (lexer.token()) {
        case kTokenEnd:
            return "end";
        case kTokenString:
            return describe_text(std::string(lexeme.text, lexeme.length).c_str());
        case kTokenInteger:
            return std::to_string(lexeme.integer);
        case kTokenReal:
            return describe_double(lexeme.real);
        case kTokenTrue:
            return "true";
        case kTokenFalse:
            return "false";
        case kTokenNull:
            return "null";
        case kTokenBigInteger:
            wiq_uint128_to_str(lexeme.big, 10, digits, sizeof digits);
            return std::string("u:") + digits;
        default:
            return std::string(1, static_cast<char>(lexer.token()));
    }
}

// Returns all tokens up to the end or to the first invalid one, each with the number of bytes consumed by
// then.
template <class SomeLexer>
std::string all_tokens(SomeLexer& lexer) {
    std::string out;
    for (;;) {
        const std::string token = next_token(lexer);
        out += (out.empty() ? "" : " ") + token + "@" + std::to_string(lexer.offset());
        if (lexer.token() == kTokenInvalid || lexer.token() == kTokenEnd)
            return out;
    }
}

struct Row {
    const char* text;
    const char* tokens;
};

template <size_t N>
void check_all(const Row (&rows)[N]) {
    ScratchFile file;
    for (const Row& row : rows) {
        std::set<size_t> consumed;
        StringLexer string(row.text);
        EXPECT_EQ(all_tokens(string), row.tokens) << describe_text(row.text) << " from a string";
        StreamLexer stream(file.with(row.text));
        EXPECT_EQ(all_tokens(stream), row.tokens) << describe_text(row.text) << " from a stream";
        for (size_t size = 1; size <= strlen(row.text) + 1; size += size < 24 ? 1 : 17) {
            Stretches source = {row.text, size};
            {
                StretchLexer stretches(&source);
                EXPECT_EQ(all_tokens(stretches), row.tokens)
                    << describe_text(row.text) << " from a buffer of " << size;
                EXPECT_EQ(source.locks, 1);
            }
            EXPECT_EQ(source.locks, 0);
            consumed.insert(source.at);
        }
        // However large the buffer is, the same bytes of the stream have been read.
        EXPECT_EQ(consumed.size(), 1u) << describe_text(row.text);
    }
}

TEST(Lexer, Kinds) {
    // A caller of the parser never sees these numbers, but a debugger shows them.
    EXPECT_EQ(kTokenInvalid, -1);
    EXPECT_EQ(kTokenEnd, 0);
    EXPECT_EQ(kTokenString, 256);
    EXPECT_EQ(kTokenInteger, 257);
    EXPECT_EQ(kTokenReal, 258);
    EXPECT_EQ(kTokenTrue, 259);
    EXPECT_EQ(kTokenFalse, 260);
    EXPECT_EQ(kTokenNull, 261);
    EXPECT_EQ(kTokenBigInteger, 262);
    StringLexer lexer("");
    EXPECT_EQ(lexer.token(), kTokenInvalid) << "before the first token";
}

TEST(Lexer, PunctuationAndBlanks) {
    constexpr Row kRows[] = {
        {"", "end@0"},
        {" \t\r\n ", "end@5"},
        {"{}[]:,", "{@1 }@2 [@3 ]@4 :@5 ,@6 end@6"},
        {" { } \n[", "{@2 }@4 [@7 end@7"},
        {"]]", "]@1 ]@2 end@2"},
        {"\v", "invalid:-1046@1"},
        {"\f", "invalid:-1046@1"},
        {", \x01", ",@1 invalid:-1046@3"},
        {"[/", "[@1 invalid:-1046@2"},
        {"[\xC3\xA9", "[@1 invalid:-61@2"},
        {"[\xFF", "[@1 invalid:-1049@1"},
    };
    check_all(kRows);
}

TEST(Lexer, Words) {
    constexpr Row kRows[] = {
        {"true false null", "true@4 false@10 null@15 end@15"},
        {"true,false]null", "true@4 ,@5 false@10 ]@11 null@15 end@15"},
        {"true1", "true@4 1@5 end@5"},
        {"null\"a\"", "null@4 \"a\"@7 end@7"},
        {"truefalse", "invalid:-1046@9"},
        {"True", "invalid:-1046@4"},
        {"nul ", "invalid:-1046@3"},
        {"Az[\\`", "invalid:-1046@2"},
        {"null_", "null@4 invalid:-1046@5"},
        {"tr\xC3\xA9", "invalid:-61@3"},
        {"true\xFF", "invalid:-1049@4"},
    };
    check_all(kRows);
}

TEST(Lexer, Numbers) {
    constexpr Row kRows[] = {
        {"0 -0 7 -7", "0@1 0@4 7@6 -7@9 end@9"},
        {"1-2", "1@1 -2@3 end@3"},
        {"1.5.5", "d:1.5@3 invalid:-1046@4"},
        {"1e2e3", "d:100@3 invalid:-1046@4"},
        {"12a", "12@2 invalid:-1046@3"},
        {"0x1", "0@1 invalid:-1046@2"},
        {"1\n2", "1@1 2@3 end@3"},
        {"-1.25E+1,", "d:-12.5@8 ,@9 end@9"},
        {"[-1.25E+1,1.25e-1,1250]", "[@1 d:-12.5@9 ,@10 d:0.125@17 ,@18 1250@22 ]@23 end@23"},
        {"9223372036854775807 9223372036854775808",
         "9223372036854775807@19 u:9223372036854775808@39 end@39"},
        {"-9223372036854775808,-9223372036854775809",
         "-9223372036854775808@20 ,@21 u:340282366920938463454151235394913435647@41 end@41"},
        {"1e400 -1e400 1e-400", "d:inf@5 d:-inf@12 d:0@19 end@19"},
        {"01", "invalid:-1044@2"},
        {"-", "invalid:-1044@1"},
        {"-x", "invalid:-1044@2"},
        {"1.", "invalid:-1044@2"},
        {"1.]", "invalid:-1044@3"},
        {"1e", "invalid:-1044@2"},
        {"1e+]", "invalid:-1044@4"},
        {"1\xC3\xA9", "invalid:-6001@2"},
        {"1.0\xC3\xA9", "invalid:-7003@4"},
        {"99999999999999999999\xC3\xA9", "invalid:-7003@21"},
        {"1\xFF", "1@1 invalid:-1049@1"},
    };
    check_all(kRows);
}

TEST(Lexer, Strings) {
    constexpr Row kRows[] = {
        {"\"\"\"a\" \"b\"", "\"\"@2 \"a\"@5 \"b\"@9 end@9"},
        {"\"\\n\"\"plain\"\"\\t\"", "\"\\x0A\"@4 \"plain\"@11 \"\\x09\"@15 end@15"},
        {"\"\\u00e9\"", "\"\\xC3\\xA9\"@8 end@8"},
        {"\"a\"b", "\"a\"@3 invalid:-1046@4"},
        {"\"", "invalid:-1041@1"},
        {"\"\x1f", "invalid:-1042@2"},
        {"\"\\x", "invalid:-1043@3"},
        {"\"\\u00g", "invalid:-1043@6"},
        {"\"\\u0000\"", "invalid:-1050@8"},
        {"\"\\ud800\"", "invalid:-1050@8"},
        {"\"\xC3\xA9\"", "invalid:-61@2"},
        {"\"a\xFF\"", "invalid:-1049@2"},
        // The syntax of the whole string is checked before an escape is rejected.
        {"\"\\u0000", "invalid:-1041@7"},
        {"\"\\u0000\\x", "invalid:-1043@9"},
        {"\"\\u0000\n", "invalid:-1042@8"},
    };
    check_all(kRows);
}

// No part of an invalid token remains that could become part of a later one.
TEST(Lexer, ContinuesAfterAnInvalidToken) {
    constexpr char kText[] = "true tru 5 * \"a\" \"\\u0000\" ]";
    ScratchFile file;
    StringLexer string(kText);
    StreamLexer stream(file.with(kText));
    for (const char* expected :
         {"true", "invalid:-1046", "5", "invalid:-1046", "\"a\"", "invalid:-1050", "]", "end"}) {
        EXPECT_EQ(next_token(string), expected);
        EXPECT_EQ(next_token(stream), expected);
    }
}

TEST(Lexer, Location) {
    ScratchFile file;
    StringLexer string("[\n  1\n,");
    StreamLexer stream(file.with("[\n  1\n,"));
    const std::vector<Location> expected = {{1, 1, 1}, {2, 3, 5}, {3, 1, 7}, {3, 1, 7}};
    for (const Location& location : expected) {
        EXPECT_EQ(string.scan(), 0);
        EXPECT_EQ(stream.scan(), 0);
        for (const Location& actual : {string.location(), stream.location()}) {
            EXPECT_EQ(actual.line, location.line);
            EXPECT_EQ(actual.column, location.column);
            EXPECT_EQ(actual.offset, location.offset);
        }
    }
}

std::string decode(std::string raw) {
    char* first = raw.data();
    char* end = decode_string(first, first + raw.size(), first);
    return end == nullptr ? "unpaired or zero" : std::string(first, end);
}

std::string utf8_of(u32 c) {
    std::string out;
    const auto put = [&out](u32 byte) { out.push_back(static_cast<char>(byte)); };
    if (c < 0x80)
        put(c);
    if (c >= 0x80 && c < 0x800)
        put(0xC0 + c / 64);
    if (c >= 0x800 && c < 0x10000)
        put(0xE0 + c / 4096);
    if (c >= 0x10000)
        put(0xF0 + c / 262144);
    if (c >= 0x10000)
        put(0x80 + c / 4096 % 64);
    if (c >= 0x800)
        put(0x80 + c / 64 % 64);
    if (c >= 0x80)
        put(0x80 + c % 64);
    return out;
}

TEST(Lexer, DecodesEveryUnit) {
    for (u32 unit = 0; unit <= 0xFFFF; ++unit) {
        char raw[8];
        snprintf(raw, sizeof raw, unit % 2 == 0 ? "\\u%04x" : "\\u%04X", unit);
        const bool stands_for_none = unit == 0 || (unit >= 0xD800 && unit <= 0xDFFF);
        ASSERT_EQ(decode(raw), stands_for_none ? "unpaired or zero" : utf8_of(unit)) << unit;
    }
}

TEST(Lexer, DecodesPairs) {
    for (u32 high = 0xD800; high <= 0xDBFF; ++high) {
        for (u32 low : {0xDBFFu, 0xDC00u, 0xDC01u, 0xDD55u, 0xDFFEu, 0xDFFFu, 0xE000u}) {
            char raw[16];
            snprintf(raw, sizeof raw, "\\u%04X\\u%04X", high, low);
            const bool paired = low >= 0xDC00 && low <= 0xDFFF;
            const u32 code_point = 0x10000 + (high - 0xD800) * 0x400 + (low - 0xDC00);
            ASSERT_EQ(decode(raw), paired ? utf8_of(code_point) : "unpaired or zero") << raw;
        }
    }
}

// Decoding in place shortens the text while it is read; unread text is never overwritten.
TEST(Lexer, DecodesInPlace) {
    EXPECT_EQ(decode(""), "");
    EXPECT_EQ(decode("plain"), "plain");
    EXPECT_EQ(decode("a\\nb\\\\c\\/\\\"\\b\\f\\r\\t"), "a\nb\\c/\"\b\f\r\t");
    EXPECT_EQ(decode("\\u0041tail, longer than the escape before it\\u0042"),
              "Atail, longer than the escape before itB");
    EXPECT_EQ(decode("\\ud83d\\ude00\\ud83d\\ude00x"), "\xF0\x9F\x98\x80\xF0\x9F\x98\x80x");
    std::string raw;
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        raw += "\\n" + std::string(static_cast<size_t>(i % 40), 'x') + "\\u20ac";
        expected += "\n" + std::string(static_cast<size_t>(i % 40), 'x') + "\xE2\x82\xAC";
    }
    EXPECT_EQ(decode(raw), expected);
}

wiq_uint128 wrapped(const std::string& text) {
    return wrap_u128(text.data(), text.data() + text.size());
}

bool same(const wiq_uint128& a, const wiq_uint128& b) {
    return a.lo == b.lo && a.hi == b.hi;
}

// Matches the library's own conversion, from one digit to many more than fit.
TEST(Lexer, WrapsIntegersAsTheirConversionDoes) {
    std::string digits;
    for (int i = 0; i < 200; ++i) {
        digits += static_cast<char>('1' + i * 7 % 9);
        for (const std::string& text : {digits, "-" + digits}) {
            wiq_uint128 expected = {};
            ASSERT_EQ(wiq_uint128_from_str(text.c_str(), &expected), 0) << text;
            ASSERT_TRUE(same(wrapped(text), expected)) << text;
        }
    }
    EXPECT_TRUE(same(wrapped("340282366920938463463374607431768211455"),
                     from_native(~static_cast<u128>(0))));
    EXPECT_TRUE(same(wrapped("340282366920938463463374607431768211456"), from_native(0)));
    EXPECT_TRUE(same(wrapped("-1"), from_native(~static_cast<u128>(0))));
}

// The status is the one that the conversions return for such a text.
TEST(Lexer, SpoiledNumbersHaveTheStatusOfTheirConversion) {
    for (const char* number :
         {"0", "-0", "1", "-1", "123456789", "9223372036854775807", "-9223372036854775808",
          "9223372036854775808", "-9223372036854775809", "99999999999999999999999999"}) {
        const std::string spoiled = std::string(number) + "\xC3";
        i64 integer = 0;
        i32 expected = wiq_strtoint64(spoiled.c_str(), &integer);
        wiq_uint128 big = {};
        if (expected == WIQ_ERR_RANGE)
            expected = wiq_uint128_from_str(spoiled.c_str(), &big);
        EXPECT_NE(expected, 0) << number;
        EXPECT_EQ(status_before_non_ascii(number, number + strlen(number), false), expected)
            << number;
    }
    for (const char* number : {"0.5", "-1e5", "1e400", "123456789.123456789"}) {
        const std::string spoiled = std::string(number) + "\xC3";
        double real = 0;
        const i32 expected = wiq_strtodouble(spoiled.c_str(), &real);
        EXPECT_NE(expected, 0) << number;
        EXPECT_EQ(status_before_non_ascii(number, number + strlen(number), true), expected)
            << number;
    }
}

// If a token cannot get the memory that it needs, it is invalid, whatever it would have been. A token that
// needs no memory is not affected.
TEST(LexerFaults, Tokens) {
    ScratchFile file(ScratchFile::kSmall);
    const std::string many(3000, 'x');
    for (const std::string& text :
         {std::string("true"), std::string("-12.5"), std::string("\"plain\""),
          "\"esc\\u0061ped " + many + "\"", "\"\\u0000" + many + "\"",
          std::string("99999999999999999999"), std::string("["), std::string("nonsense")}) {
        for (bool from_stream : {false, true}) {
            const size_t points = SweepAllocations([&](AllocFaults& faults) {
                FILE* fp = file.with(text);
                const auto scan = [&faults](auto& lexer) {
                    faults.arm();
                    const i32 status = lexer.scan();
                    faults.disarm();
                    EXPECT_EQ(status == WIQ_ERR_NO_MEMORY, faults.fired());
                };
                if (from_stream) {
                    StreamLexer lexer(fp);
                    scan(lexer);
                } else {
                    StringLexer lexer(text.c_str());
                    scan(lexer);
                }
            });
            const bool decodes = text.find('\\') != std::string::npos;
            const bool keeps = from_stream && text.size() > 1;
            EXPECT_GE(points, (keeps ? 2u : 0u) + (decodes ? 2u : 0u)) << text;
        }
    }
}

}  // namespace
