// Conversions between UTF-8 and the wide characters of Windows, by the system's functions. These
// count in 31 bits, so a text is converted in pieces. The size of a piece is an argument of the
// template so that a test needs no text of a gigabyte.
#pragma once

#include <windows.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "os/os.h"

namespace ke::os {

inline bool continues(char byte) {
    return (static_cast<u8>(byte) & 0xC0) == 0x80;
}

// Returns the length of the next piece, so that no sequence and no surrogate pair is cut in two. If
// none of the last three bytes begins a sequence, the byte after them continues none, and the piece
// may end there.
template <size_t kPiece>
size_t piece_of(const char* text, size_t left) {
    static_assert(kPiece > 3, "a piece holds at least one byte before the last three");
    if (left <= kPiece)
        return left;
    size_t end = kPiece;
    while (end != kPiece - 3 && continues(text[end]))
        --end;
    return continues(text[end]) ? kPiece : end;
}
template <size_t kPiece>
size_t piece_of(const wchar_t* text, size_t left) {
    static_assert(kPiece > 1, "a piece holds at least one unit before a surrogate pair");
    if (left <= kPiece)
        return left;
    return IS_HIGH_SURROGATE(text[kPiece - 1]) ? kPiece - 1 : kPiece;
}

// Converts a text of `length` units with `piece`, which converts one piece of it, or only measures
// it if the output has no space. Returns a new text, or nullptr with the reason in *code. The first
// loop measures, the second converts, so both must cut the text into the same pieces.
template <class To, size_t kPiece, class From, class Convert>
To* convert_in_pieces(const From* text, size_t length, const Convert& piece, u32* code) {
    size_t size = 0;
    for (size_t at = 0, some = 0; at != length; at += some) {
        some = piece_of<kPiece>(text + at, length - at);
        const int made = piece(text + at, static_cast<int>(some), nullptr, 0);
        if (made == 0) {
            *code = GetLastError();
            return nullptr;
        }
        size += static_cast<size_t>(made);
    }
    To* converted = static_cast<To*>(malloc((size + 1) * sizeof(To)));
    if (converted == nullptr) {
        *code = kErrorNotEnoughMemory;
        return nullptr;
    }
    To* out = converted;
    To* const end = converted + size;
    for (size_t at = 0, some = 0; at != length; at += some) {
        some = piece_of<kPiece>(text + at, length - at);
        const int room = end - out < INT_MAX ? static_cast<int>(end - out) : INT_MAX;
        out += piece(text + at, static_cast<int>(some), out, room);
    }
    *end = 0;
    *code = kErrorNone;
    return converted;
}

// Does what narrow_text() does, in pieces of at most so many units.
template <size_t kPiece>
char* narrow_in_pieces(const wchar_t* text, u32* code) {
    const auto narrow = [](const wchar_t* from, int count, char* to, int room) {
        return WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, from, count, to, room, nullptr,
                                   nullptr);
    };
    return convert_in_pieces<char, kPiece>(text, wcslen(text), narrow, code);
}

// Does what widen_text() does, in pieces of at most so many bytes.
template <size_t kPiece>
wchar_t* widen_in_pieces(const char* text, u32* code) {
    const auto widen = [](const char* from, int count, wchar_t* to, int room) {
        return MultiByteToWideChar(CP_UTF8, 0, from, count, to, room);
    };
    return convert_in_pieces<wchar_t, kPiece>(text, strlen(text), widen, code);
}

}  // namespace ke::os
