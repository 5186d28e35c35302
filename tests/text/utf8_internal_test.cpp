// Validity of whole UTF-8 sequences, compared with an encoder for every code point and all short byte
// strings.
#include "text/utf8.h"

#include <set>
#include <string>

#include "support/pch.h"

namespace {

std::string encode(u32 code_point) {
    const auto byte = [](u32 value) { return static_cast<char>(value); };
    if (code_point < 0x80)
        return {byte(code_point)};
    if (code_point < 0x800)
        return {byte(0xc0 | code_point >> 6), byte(0x80 | (code_point & 0x3f))};
    if (code_point < 0x10000)
        return {byte(0xe0 | code_point >> 12), byte(0x80 | (code_point >> 6 & 0x3f)),
                byte(0x80 | (code_point & 0x3f))};
    return {byte(0xf0 | code_point >> 18), byte(0x80 | (code_point >> 12 & 0x3f)),
            byte(0x80 | (code_point >> 6 & 0x3f)), byte(0x80 | (code_point & 0x3f))};
}

bool valid(const std::string& s) {
    const u8* bytes = reinterpret_cast<const u8*>(s.data());
    return ke::utf8_length(bytes[0]) == s.size() &&
           ke::utf8_valid_sequence(bytes, static_cast<u32>(s.size()));
}

TEST(Utf8Sequence, EveryCodePoint) {
    u32 wrong = 0;
    for (u32 code_point = 0; code_point <= 0x1fffff; ++code_point) {
        const bool expected =
            code_point <= 0x10ffff && (code_point < 0xd800 || code_point > 0xdfff);
        wrong += valid(encode(code_point)) != expected;
    }
    EXPECT_EQ(wrong, 0u);
}

TEST(Utf8Sequence, ShortStringsAreValidOnlyIfTheyEncodeACodePoint) {
    std::set<std::string> encodings;
    for (u32 code_point = 0x80; code_point <= 0xffff; ++code_point) {
        if (code_point < 0xd800 || code_point > 0xdfff)
            encodings.insert(encode(code_point));
    }
    u32 wrong = 0;
    for (u32 lead = 0x80; lead < 0x100; ++lead) {
        for (u32 second = 0; second < 0x100; ++second) {
            std::string s = {static_cast<char>(lead), static_cast<char>(second)};
            wrong += valid(s) != (encodings.count(s) != 0);
            for (u32 third : {0x00u, 0x7fu, 0x80u, 0x9fu, 0xa0u, 0xbfu, 0xc0u, 0xffu}) {
                const std::string three = s + static_cast<char>(third);
                wrong += valid(three) != (encodings.count(three) != 0);
            }
        }
    }
    EXPECT_EQ(wrong, 0u);
}

TEST(Utf8Sequence, OverlongFormsSurrogatesAndValuesBeyondUnicode) {
    for (const char* bad : {"\xe0\x80\x80", "\xe0\x9f\xbf", "\xf0\x80\x80\x80", "\xf0\x8f\xbf\xbf",
                            "\xed\xa0\x80", "\xed\xbf\xbf", "\xf4\x90\x80\x80", "\xf4\x8f\xbf\x7f",
                            "\xf4\x8f\x3f\xbf", "\xf4\xc0\x80\x80"})
        EXPECT_FALSE(valid(bad));
    for (const char* good :
         {"\xe0\xa0\x80", "\xf0\x90\x80\x80", "\xed\x9f\xbf", "\xee\x80\x80", "\xf4\x8f\xbf\xbf"})
        EXPECT_TRUE(valid(good));
    const u8 byte = 0x80;
    EXPECT_FALSE(ke::utf8_valid_sequence(&byte, 0));
    EXPECT_FALSE(ke::utf8_valid_sequence(&byte, 1));
}

}  // namespace
