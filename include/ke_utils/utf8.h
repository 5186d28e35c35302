/**
 * @file utf8.h
 * Declares helpers for JSON text beyond ASCII. The parser of json.h reads only ASCII, with "\u"
 * escapes for other characters, but the serializer writes such characters raw. So what it writes
 * may not be readable again. With these helpers it is.
 *
 * They are inline and add no export to the library. Include this header where you need them;
 * ke_utils.h does not include it.
 */
#ifndef KE_UTILS_UTF8_H
#define KE_UTILS_UTF8_H

#include <stdlib.h>
#include <string.h>

#include "ke_utils/core.h"
#include "ke_utils/json.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup utf8 JSON text beyond ASCII
 *  @{ */

/** @cond */
/* NOLINTBEGIN(modernize-use-nullptr,cppcoreguidelines-init-variables): C, which C++ includes. */
/* A cast that neither language warns about. */
#ifdef __cplusplus
#define KE_UTF8_CAST_(type, value) static_cast<type>(value)
#else
#define KE_UTF8_CAST_(type, value) ((type)(value))
#endif

/* Returns a byte of a text as a number. */
static inline u8 ke_utf8_byte_(const char* text, size_t at) {
    return KE_UTF8_CAST_(u8, text[at]);
}

/* Returns the length of the valid sequence (RFC 3629) at `at`; 0 if the bytes are not valid. */
static inline size_t ke_utf8_length_(const char* text, size_t size, size_t at) {
    const u8 lead = ke_utf8_byte_(text, at);
    const size_t length = lead < 0x80   ? 1
                          : lead < 0xC2 ? 0
                          : lead < 0xE0 ? 2
                          : lead < 0xF0 ? 3
                          : lead < 0xF5 ? 4
                                        : 0;
    size_t i;
    if (length == 0 || length > size - at)
        return 0;
    for (i = 1; i < length; ++i) {
        if ((ke_utf8_byte_(text, at + i) & 0xC0) != 0x80)
            return 0;
    }
    if (length > 2) {
        /* The second byte reveals overlong forms, surrogates, and code points above U+10FFFF. */
        const u8 second = ke_utf8_byte_(text, at + 1);
        if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
            (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F))
            return 0;
    }
    return length;
}

/* Returns how many bytes a sequence of this length becomes: itself, one escape, or two escapes. */
static inline size_t ke_utf8_escaped_(size_t length) {
    return length == 1 ? 1 : length == 4 ? 12 : 6;
}

/* Writes a UTF-16 unit as an escape; returns the end of the escape. */
static inline char* ke_utf8_put_unit_(char* to, u32 unit) {
    static const char digits[] = "0123456789abcdef";
    int shift;
    *to++ = '\\';
    *to++ = 'u';
    for (shift = 12; shift >= 0; shift -= 4)
        *to++ = digits[unit >> shift & 0xF];
    return to;
}

/* Writes the sequence at `from`, escaped unless it is ASCII; returns the end of the output. */
static inline char* ke_utf8_put_(char* to, const char* from, size_t length) {
    u32 code = ke_utf8_byte_(from, 0);
    size_t i;
    if (length == 1) {
        *to = *from;
        return to + 1;
    }
    code &= length == 2 ? 0x1Fu : length == 3 ? 0x0Fu : 0x07u;
    for (i = 1; i < length; ++i)
        code = code << 6 | (ke_utf8_byte_(from, i) & 0x3Fu);
    if (code < 0x10000)
        return ke_utf8_put_unit_(to, code);
    to = ke_utf8_put_unit_(to, 0xD800u + ((code - 0x10000u) >> 10));
    return ke_utf8_put_unit_(to, 0xDC00u + ((code - 0x10000u) & 0x3FFu));
}

/*
 * Stores the location in a text that corresponds to an offset in its escaped form: the location
 * after the characters that become `escaped` bytes.
 */
static inline void ke_utf8_place_(const char* text, size_t size, size_t start, size_t escaped,
                                  wiq_json_load_error* err) {
    const size_t largest = 0x7FFFFFFF;
    size_t at = start, made = 0, line = 1, column = 0;
    while (at < size && made < escaped) {
        size_t length = ke_utf8_length_(text, size, at);
        length = length == 0 ? 1 : length;
        made += ke_utf8_escaped_(length);
        ++column;
        if (text[at] == '\n') {
            ++line;
            column = 0;
        }
        at += length;
    }
    err->line = KE_UTF8_CAST_(i32, line < largest ? line : largest);
    err->column = KE_UTF8_CAST_(i32, column < largest ? column : largest);
    err->position = KE_UTF8_CAST_(i32, at < largest ? at : largest);
}
/** @endcond */

/**
 * Converts UTF-8 text to the ASCII that the JSON parser reads.
 *
 * Every character beyond ASCII becomes its "\u" escape, or a pair of them. A byte order mark at the
 * beginning is left out.
 * @param text the text, which needs no NUL after it; NULL only if `size` is 0
 * @param size length of the text in bytes
 * @param err  receives status 0; WIQ_ERR_JSON_BAD_UTF8 (-1049), or WIQ_ERR_JSON_BAD_TOKEN (-1046)
 *             for a NUL, with the location of the bad byte, which is counted; WIQ_ERR_INVALID_ARG
 *             (-7000) if a needed `text` is NULL; WIQ_ERR_NO_MEMORY (-5000) when out of memory. May
 *             be NULL.
 * @return a new NUL-terminated text, which the caller releases with free(); NULL on failure
 */
static inline char* ke_utf8_to_json_ascii(const char* text, size_t size, wiq_json_load_error* err) {
    wiq_json_load_error ignored;
    size_t start, at, need = 0;
    char *made, *to;
    err = err != NULL ? err : &ignored;
    err->status = 0;
    err->line = 1;
    err->column = 0;
    err->position = 0;
    if (text == NULL && size > 0) {
        err->status = WIQ_ERR_INVALID_ARG;
        return NULL;
    }
    start = size >= 3 && memcmp(text, "\xEF\xBB\xBF", 3) == 0 ? 3 : 0;
    for (at = start; at < size;) {
        const size_t length = text[at] == '\0' ? 0 : ke_utf8_length_(text, size, at);
        if (length == 0) {
            ke_utf8_place_(text, size, start, need + 1, err);
            err->status = text[at] == '\0' ? WIQ_ERR_JSON_BAD_TOKEN : WIQ_ERR_JSON_BAD_UTF8;
            return NULL;
        }
        need += ke_utf8_escaped_(length);
        at += length;
    }
    made = to = KE_UTF8_CAST_(char*, malloc(need + 1));
    if (made == NULL) {
        err->status = WIQ_ERR_NO_MEMORY;
        return NULL;
    }
    for (at = start; at < size;) {
        const size_t length = ke_utf8_length_(text, size, at);
        to = ke_utf8_put_(to, text + at, length);
        at += length;
    }
    *to = '\0';
    return made;
}

/**
 * Does what wiq_json_loads() does, but for UTF-8 text, with or without a byte order mark.
 * @param text  the text, which needs no NUL after it and must not contain one
 * @param size  length of the text in bytes
 * @param flags of ::wiq_json_load_flag
 * @param err   receives how the load ended (::wiq_json_load_error lists every status; the text must
 *              be valid UTF-8 as for ke_utf8_to_json_ascii()), with the location in `text`: columns
 *              count characters, positions count bytes (a byte order mark counts as bytes, but not
 *              as a character). If the text before the location has 2^31 - 1 bytes or more in its
 *              escaped form, the location is the one in the escaped text, and its position is
 *              2^31 - 1. May be NULL.
 * @return a new tree, which the caller releases with wiq_json_unref(); NULL on failure
 */
static inline wiq_json_t* ke_json_loads_utf8(const char* text, size_t size, i32 flags,
                                             wiq_json_load_error* err) {
    wiq_json_load_error ignored;
    wiq_json_t* root;
    char* ascii;
    err = err != NULL ? err : &ignored;
    ascii = ke_utf8_to_json_ascii(text, size, err);
    if (ascii == NULL)
        return NULL;
    root = wiq_json_loads(ascii, flags, err);
    free(ascii);
    /* A position at its limit no longer tells the location in the escaped text. */
    if (err->position < 0x7FFFFFFF) {
        const i32 status = err->status;
        const size_t start = size >= 3 && memcmp(text, "\xEF\xBB\xBF", 3) == 0 ? 3 : 0;
        ke_utf8_place_(text, size, start, KE_UTF8_CAST_(size_t, err->position), err);
        if (status == 0) {
            /* After a load that succeeds, only the position is reported. */
            err->line = 1;
            err->column = 0;
        }
        err->status = status;
    }
    return root;
}

/**
 * Does what wiq_json_sdump() does, but writes ASCII, with "\u" escapes for other characters, so
 * that every JSON parser can read the text, including that of this library.
 * @param node  the document
 * @param out   receives a new string, which the caller releases with free(); unchanged on failure
 * @param flags of ::wiq_json_dump_flag
 * @return the length of the string; WIQ_ERR_INVALID_ARG, WIQ_ERR_NO_MEMORY, WIQ_ERR_RANGE (-7001),
 *         WIQ_ERR_BAD_FORMAT (-7003) or WIQ_ERR_BAD_JSON_TYPE (-7014) as wiq_json_sdump()
 */
static inline i32 ke_json_sdump_ascii(wiq_json_t* node, char** out, u32 flags) {
    char* text = NULL;
    char* ascii;
    size_t length;
    wiq_json_load_error err;
    const i32 raw =
        out == NULL ? KE_UTF8_CAST_(i32, WIQ_ERR_INVALID_ARG) : wiq_json_sdump(node, &text, flags);
    if (raw < 0)
        return raw;
    ascii = ke_utf8_to_json_ascii(text, KE_UTF8_CAST_(size_t, raw), &err);
    free(text);
    if (ascii == NULL)
        return err.status;
    length = strlen(ascii);
    if (length > 0x7FFFFFFF) {
        free(ascii);
        return WIQ_ERR_RANGE;
    }
    *out = ascii;
    return KE_UTF8_CAST_(i32, length);
}

/** @} */

/* NOLINTEND(modernize-use-nullptr,cppcoreguidelines-init-variables) */
#undef KE_UTF8_CAST_

#ifdef __cplusplus
}
#endif

#endif
