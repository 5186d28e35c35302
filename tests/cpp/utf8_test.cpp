// Tests of non-ASCII JSON text: what is saved can be loaded, and positions are those in the user's text.
#include "parsed.h"

#include <string>
#include <vector>

namespace {

using ke::json;
using ke::parse_utf8;

TEST(CppUtf8, RawTextRoundTrips) {
    const std::string text =
        "{\"na\xC3\xAFve\":[\"\xE2\x82\xAC\",\"\xF0\x9F\x98\x80\",\"\xEF\xBF\xBD\"]}";
    const auto root = parse_utf8(text);
    ASSERT_TRUE(root) << root.describe();
    EXPECT_EQ((*root)["na\xC3\xAFve"][1], "\xF0\x9F\x98\x80");
    EXPECT_EQ(root->dump().value(), text) << "written unescaped, as always";
    EXPECT_FALSE(json::parse(text)) << "which the plain parser does not read";
    EXPECT_EQ(ke::dump_ascii(*root).value(),
              R"({"na\u00efve":["\u20ac","\ud83d\ude00","\ufffd"]})");
    EXPECT_EQ(json::parse(ke::dump_ascii(*root).value()).value(), *root);
    EXPECT_EQ(ke::dump_ascii(json()).status(), ke::err_empty);
}

TEST(CppUtf8, EveryCodePointAtABoundary) {
    for (const char* character :
         {"\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
          "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
        const auto root = parse_utf8("\"" + std::string(character) + "\"");
        ASSERT_TRUE(root) << character;
        EXPECT_EQ(*root, character);
    }
    for (const char* broken :
         {"\x80", "\xC1\xBF", "\xC3", "\xC3(", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xE2\x82",
          "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF"}) {
        const auto root = parse_utf8("[\n\"" + std::string(broken) + "\"]");
        EXPECT_EQ(root.code(), WIQ_ERR_JSON_BAD_UTF8) << broken;
        EXPECT_EQ(root.line(), 2);
        EXPECT_EQ(root.column(), 2);
        EXPECT_EQ(root.position(), 4);
    }
}

TEST(CppUtf8, PositionsAreThoseOfTheText) {
    const auto broken = parse_utf8("[\"\xC3\xA9\xF0\x9F\x98\x80\",\n\"\xC3\xA9\" x]");
    EXPECT_EQ(broken.code(), WIQ_ERR_JSON_UNEXPECTED_TOKEN);
    EXPECT_EQ(broken.line(), 2);
    EXPECT_EQ(broken.column(), 5);
    EXPECT_EQ(broken.position(), 17);
    const auto outside = parse_utf8("[1,\xC3\xA9]");
    EXPECT_EQ(outside.code(), WIQ_ERR_JSON_BAD_TOKEN);
    EXPECT_EQ(outside.column(), 4);
    EXPECT_EQ(outside.position(), 5);
    const auto nul = parse_utf8(std::string_view("[1\0]", 4));
    EXPECT_EQ(nul.code(), WIQ_ERR_JSON_BAD_TOKEN);
    EXPECT_EQ(nul.column(), 3);
}

TEST(CppUtf8, AsciiIsTreatedAsByTheParser) {
    for (const char* text : {"", "   ", "{", "[1,]", "[1,\n 2,\n x]", "[nul]", "\"ab", "[1] 2",
                             "{\"a\":1,}", "01", "1"}) {
        const auto plain = json::parse(text);
        const auto utf8 = parse_utf8(text);
        EXPECT_EQ(plain.code(), utf8.code()) << text;
        EXPECT_EQ(plain.line(), utf8.line()) << text;
        EXPECT_EQ(plain.column(), utf8.column()) << text;
        EXPECT_EQ(plain.position(), utf8.position()) << text;
    }
    EXPECT_EQ(parse_utf8({}).code(), json::parse("").code());
    const std::string many = "[1,2,3]";
    EXPECT_EQ(parse_utf8(std::string_view(many).substr(3, 1)).value(), 2) << "no NUL is needed";
}

TEST(CppUtf8, AByteOrderMarkIsSkipped) {
    EXPECT_EQ(parse_utf8("\xEF\xBB\xBF[1]").value()[0], 1);
    const auto broken = parse_utf8("\xEF\xBB\xBF[x]");
    EXPECT_EQ(broken.line(), 1);
    EXPECT_EQ(broken.column(), 2);
    EXPECT_EQ(broken.position(), 5);
    EXPECT_FALSE(parse_utf8("[\xEF\xBB\xBF]")) << "elsewhere it is a character";
}

TEST(CppUtf8, TrailingTextIsNotRead) {
    const std::string text = "[\"\xC3\xA9\"] \"\xC3\xA9\"";
    wiq_json_load_error error;
    wiq_json_t* const first =
        ke_json_loads_utf8(text.data(), text.size(), WIQ_JSON_ALLOW_TRAILING, &error);
    ASSERT_NE(first, nullptr);
    wiq_json_unref(first);
    EXPECT_EQ(error.position, 6);
    EXPECT_EQ(ke_json_loads_utf8(nullptr, 1, 0, &error), nullptr);
    EXPECT_EQ(error.status, WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(ke_json_loads_utf8("[", 1, 0, nullptr), nullptr);
    char* out = nullptr;
    EXPECT_EQ(ke_json_sdump_ascii(nullptr, &out, 0), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(ke_json_sdump_ascii(json::of("\xff").node(), &out, 0), WIQ_ERR_BAD_FORMAT);
    EXPECT_EQ(out, nullptr);
}

}  // namespace
