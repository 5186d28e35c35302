// Conversions of texts in pieces: wherever a piece ends, the result is that of converting the whole text at once.
#include "os/windows_text.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "support/alloc_faults.h"

namespace {

using ke::os::narrow_in_pieces;
using ke::os::widen_in_pieces;

// The system's own conversions of a whole text; they return "(invalid)" if the text is invalid.
std::string narrow_whole(const std::wstring& text) {
    if (text.empty())
        return "";
    char out[1024];
    const int length =
        WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(),
                            static_cast<int>(text.size()), out, sizeof(out), nullptr, nullptr);
    return length == 0 ? "(invalid)" : std::string(out, static_cast<size_t>(length));
}
std::wstring widen_whole(const std::string& text) {
    wchar_t out[1024];
    const int length =
        MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out, 1024);
    return {out, static_cast<size_t>(length)};
}

template <size_t kPiece>
std::string narrow_pieces(const std::wstring& text) {
    u32 code = 0;
    char* made = narrow_in_pieces<kPiece>(text.c_str(), &code);
    EXPECT_EQ(code, made == nullptr ? 1113u : 0u);
    const std::string result = made == nullptr ? "(invalid)" : made;
    free(made);
    return result;
}
template <size_t kPiece>
std::wstring widen_pieces(const std::string& text) {
    u32 code = 1;
    wchar_t* made = widen_in_pieces<kPiece>(text.c_str(), &code);
    EXPECT_EQ(code, 0u);
    EXPECT_NE(made, nullptr);
    const std::wstring result = made == nullptr ? L"" : made;
    free(made);
    return result;
}

void check_narrow(const std::wstring& text) {
    const std::string expected = narrow_whole(text);
    EXPECT_EQ(narrow_pieces<2>(text), expected);
    EXPECT_EQ(narrow_pieces<3>(text), expected);
    EXPECT_EQ(narrow_pieces<8>(text), expected);
    EXPECT_EQ(narrow_pieces<1000>(text), expected);
}

void check_widen(const std::string& text) {
    const std::wstring expected = widen_whole(text);
    EXPECT_EQ(widen_pieces<4>(text), expected);
    EXPECT_EQ(widen_pieces<5>(text), expected);
    EXPECT_EQ(widen_pieces<9>(text), expected);
    EXPECT_EQ(widen_pieces<1000>(text), expected);
}

TEST(WindowsText, PairsAndSequencesStayWhole) {
    check_narrow(L"");
    check_widen("");
    for (size_t before = 0; before < 12; ++before) {
        SCOPED_TRACE(before);
        const std::wstring wide(before, L'x');
        const std::string narrow(before, 'x');
        for (const wchar_t* text : {L"", L"\u00e9y", L"\u20acy", L"\U0001f600y",
                                    L"\U0001f600\U0001f600", L"\xdc00y", L"\xd800y", L"y\xd800"})
            check_narrow(wide + text);
        for (const char* text : {"", "\xc3\xa9y", "\xe2\x82\xacy", "\xf0\x9f\x98\x80y",
                                 "\xf0\x9f\x98\x80\xf0\x9f\x98\x80"})
            check_widen(narrow + text);
    }
}

TEST(WindowsText, RandomTexts) {
    std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same texts each time
    const wchar_t* const wide[] = {L"a", L"\u00e9", L"\u20ac", L"\U0001f600"};
    for (int round = 0; round < 300; ++round) {
        std::wstring text;
        for (size_t i = random() % 40; i != 0; --i)
            text += wide[random() % 4];
        check_narrow(text);
        check_widen(narrow_whole(text));
    }
}

// Continuation bytes outside of any sequence: each is replaced by one character, in whichever piece it is.
TEST(WindowsText, StrayContinuationBytes) {
    for (size_t count = 1; count < 20; ++count)
        check_widen("x" + std::string(count, '\x80') + "y");
}

TEST(WindowsTextFaults, OutOfMemoryGivesNoText) {
    SweepAllocations([](AllocFaults& faults) {
        u32 code = 0;
        faults.arm();
        char* narrow = narrow_in_pieces<2>(L"four", &code);
        faults.disarm();
        EXPECT_EQ(code, faults.fired() ? 8u : 0u);
        EXPECT_EQ(narrow == nullptr, faults.fired());
        free(narrow);
    });
}

}  // namespace
