/**
 * @file text.h
 * Declares formatted strings, number parsing and other string utilities, 128-bit unsigned integers,
 * base64, memory dumps and disk capacity arithmetic. The growable string buffer is in containers.h.
 *
 * Conventions of this header:
 * - Strings are NUL-terminated bytes. The decimal point, white space and letters are always those
 *   of the "C" locale, whatever locale the process has set.
 * - Memory that is handed to the caller comes from the runtime and is released with free().
 * - Unless a comment says otherwise, nothing that the caller passed has changed after a failure.
 * - The functions keep no state, so threads may call them at the same time on different data.
 */
#ifndef KE_UTILS_TEXT_H
#define KE_UTILS_TEXT_H

#include "ke_utils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup format Formatted strings
 *  printf-style formatting into new strings, into buffers of the caller, and into reusable blocks.
 *  The format syntax is that of the platform's runtime. All functions except wiq_snprintf() also
 *  take positional arguments ("%1$s", "%2$d"), so that a translated format may reorder its
 *  arguments.
 *
 *  Every platform refuses, as if the runtime did, a format with a "%n" conversion, with a gap in
 *  its positions ("%2$s" without "%1$s"), or with a width or precision beyond 31 bits. Integers,
 *  strings and characters in ASCII, and finite real numbers are written the same way everywhere,
 *  except for what this table lists. "Refused" means WIQ_ERR_FAILED (-7), or a negative length.
 *
 *  | what | Linux | Windows, UCRT | Windows, msvcrt.dll |
 *  |---|---|---|---|
 *  | ties, such as "%.0f" of 0.5 and 2.5 | to even: 0, 2 | see below | up: 1, 3 |
 *  | infinity by "%f", "%e", "%g" | inf | inf | `1.#INF00`, cut and rounded to the precision |
 *  | NaN | nan, -nan | nan, -nan(ind) | `1.#QNAN0`, `-1.#IND00` |
 *  | "%F" | "%f" in capitals | "%f" in capitals | refused |
 *  | digits of an exponent | two or more | two or more | three |
 *  | "%a" of 1.5 | 0x1.8p+0 | 0x1.8000000000000p+0 | 0x1.8000000000000p+0 |
 *  | "%p" of 0x1234, NULL | 0x1234, (nil) | 16 digits, in capitals | 16 digits, in capitals |
 *  | "%ld" | 64 bits | 32 bits | 32 bits |
 *  | "%Lf" | long double | double | double |
 *  | "%hhd" of 300 | 44 | 44 | 300 |
 *  | "%05s" of "ab" | leading spaces | leading zeros | leading zeros |
 *  | "%.3s" of NULL | nothing | (nu | (nu |
 *  | "%I64d" | an int, 64 columns wide | a 64-bit integer | a 64-bit integer |
 *  | "%m", "%'d" | error text, grouping | refused | refused |
 *  | a text of 2^31 to 2^32 - 1 characters | refused | refused | refused |
 *  | a longer text | refused | may be cut to its length modulo 2^32 | as UCRT |
 *  | an unknown conversion ("%y") | written unchanged | refused | refused |
 *  | "%" at the end | refused | refused | refused |
 *  | arguments both with and without positions | not specified | refused | refused |
 *
 *  UCRT rounds ties to even from Windows 10 version 2004 on, and up before that. On Windows,
 *  wiq_snprintf() does not refuse a format for an unknown conversion, or for a "%" at its end: it
 *  skips them. A runtime that needs memory of its own for a format, and gets none, refuses it.
 *
 *  A reusable block is a pair that the caller keeps: a pointer to a heap string, and the size of
 *  the block in bytes. It starts as {NULL, 0}, grows when it must, never shrinks, and is released
 *  with free():
 *  @code
 *  char* text = NULL;
 *  u64 size = 0;
 *  wiq_rapsprintf(&text, &size, "x=%d", 1);
 *  wiq_rastrcat(&text, &size, "; y");         // "x=1; y"
 *  free(text);
 *  @endcode
 *  If such a block cannot grow, the status is WIQ_ERR_NO_MEMORY (-5000), its pointer becomes NULL
 *  and its size the one that was needed; the old block is not released. To continue after such a
 *  failure, save a copy of the pointer beforehand, release the block through that copy, and set the
 *  pair to {NULL, 0}. While the pointer is NULL and the size is not 0, the functions return
 *  WIQ_ERR_NO_MEMORY unless they have to allocate anyway.
 *  @{ */

/**
 * Formats into a buffer and truncates the text if the buffer is too small. Positional arguments are
 * not allowed.
 * @param buf    receives the text, which always ends in a NUL; NULL to measure only
 * @param size   size of the buffer in bytes; 0 to measure only
 * @param format printf format
 * @return the length of the whole text without its NUL, even if it was truncated: the text fits if
 *         this is less than `size`. Negative if `format` is NULL or the runtime refuses it.
 */
KE_API i32 wiq_snprintf(char* buf, u64 size, const char* format, ...) KE_PRINTF(3, 4);

/**
 * Measures a formatted text.
 * @param format printf format; positional arguments are allowed
 * @param args   the arguments, which the call uses up
 * @return the length of the text without its NUL; negative if `format` is NULL or the runtime
 *         refuses it
 */
KE_API i32 wiq_vscprintf(const char* format, va_list args) KE_PRINTF(1, 0);

/**
 * Formats into a buffer that must be large enough.
 *
 * After a failure the content of the buffer is unspecified, but ends in a NUL if the text did not
 * fit.
 * @param buf    receives the text and its NUL
 * @param size   size of the buffer in bytes
 * @param format printf format; positional arguments are allowed
 * @param args   the arguments, which the call uses up
 * @return the number of characters written, without the NUL; WIQ_ERR_FAILED if the runtime refuses
 *         the format, if `buf` or `format` is NULL, or if the text does not fit
 */
KE_API i32 wiq_vsprintf(char* buf, u64 size, const char* format, va_list args) KE_PRINTF(3, 0);

/**
 * Formats into a new string.
 * @param out    receives the string, which the caller releases with free(). NULL on failure, except
 *               that it is not changed if the status is WIQ_ERR_INVALID_ARG (-7000).
 * @param format printf format; positional arguments are allowed
 * @return the length of the string; WIQ_ERR_INVALID_ARG if `out` or `format` is NULL;
 *         WIQ_ERR_NO_MEMORY when out of memory; WIQ_ERR_FAILED if the runtime refuses the format
 */
KE_API i32 wiq_asprintf(char** out, const char* format, ...) KE_PRINTF(2, 3);

/**
 * Does what wiq_asprintf() does, with the arguments in a list.
 * @param out    as in wiq_asprintf()
 * @param format as in wiq_asprintf()
 * @param args   the arguments, which the call uses up
 * @return the length of the string; WIQ_ERR_INVALID_ARG, WIQ_ERR_NO_MEMORY or WIQ_ERR_FAILED as
 *         wiq_asprintf()
 */
KE_API i32 wiq_vasprintf(char** out, const char* format, va_list args) KE_PRINTF(2, 0);

/**
 * Formats into a reusable block and overwrites its content. The arguments must not lie in the
 * block.
 * @param block  the block's pointer. The block is reallocated if the text with its NUL needs at
 *               least as many bytes as the block has.
 * @param size   the size of the block in bytes
 * @param format printf format; positional arguments are allowed
 * @return the length of the text; WIQ_ERR_INVALID_ARG if a pointer is NULL; WIQ_ERR_FAILED if the
 *         runtime refuses the format, with the block unchanged; WIQ_ERR_NO_MEMORY when out of
 *         memory, as described above. If the runtime runs out of memory after it has measured a
 *         text of 512 characters or more, the status is WIQ_ERR_FAILED, and the block contains an
 *         empty string.
 */
KE_API i32 wiq_rasprintf(char** block, u64* size, const char* format, ...) KE_PRINTF(3, 4);

/**
 * Does what wiq_rasprintf() does, with the arguments in a list.
 * @param block  as in wiq_rasprintf()
 * @param size   as in wiq_rasprintf()
 * @param format as in wiq_rasprintf()
 * @param args   the arguments, which the call uses up
 * @return the length of the text; WIQ_ERR_INVALID_ARG, WIQ_ERR_FAILED or WIQ_ERR_NO_MEMORY as
 *         wiq_rasprintf()
 */
KE_API i32 wiq_vrasprintf(char** block, u64* size, const char* format, va_list args)
    KE_PRINTF(3, 0);

/**
 * Appends formatted text to the string in a reusable block.
 *
 * The arguments may lie in that string. They are then read as they were before the call.
 * @param block  the block's pointer. The block is reallocated if the text does not fit after the
 *               string.
 * @param size   the size of the block in bytes; 0 if there is no string yet
 * @param format printf format; positional arguments are allowed
 * @return the number of characters appended; WIQ_ERR_INVALID_ARG, or WIQ_ERR_FAILED with the string
 *         unchanged; WIQ_ERR_NO_MEMORY as wiq_rasprintf()
 */
KE_API i32 wiq_rapsprintf(char** block, u64* size, const char* format, ...) KE_PRINTF(3, 4);

/**
 * Appends a string to the one in a reusable block.
 * @param block the block's pointer. The block is reallocated if `str` does not fit after the
 *              string.
 * @param size  the size of the block in bytes; 0 if there is no string yet
 * @param str   the string to append; may lie in the block
 * @return the length of `str`; WIQ_ERR_INVALID_ARG if a pointer is NULL; WIQ_ERR_RANGE (-7001) if
 *         `str` has 2^31 bytes or more, with nothing changed; WIQ_ERR_NO_MEMORY when out of memory,
 *         as described above
 */
KE_API i32 wiq_rastrcat(char** block, u64* size, const char* str);

/** @} */

/** @defgroup strings String utilities and number parsing
 *  The integer parsers share one policy. They skip leading white space and accept an optional sign.
 *  "0x" or "0X" selects base 16, any other leading "0" base 8; otherwise the base is 10. The first
 *  of the following cases that applies gives the status:
 *
 *  | status | when | value stored |
 *  |---|---|---|
 *  | WIQ_ERR_INVALID_ARG | an argument is NULL | none |
 *  | WIQ_ERR_BAD_FORMAT (-7003) | a negative number, for an unsigned parser | the number, wrapped |
 *  | WIQ_ERR_RANGE | the number does not fit the type | the type's largest or smallest |
 *  | WIQ_ERR_BAD_FORMAT | the text does not begin with a number | 0 |
 *  | WIQ_ERR_TRAILING_CHARS (-6001) | something follows the number, even a space | the number |
 *  | 0 | otherwise | the number |
 *
 *  A wrapped number consists of the low bits of the number, which is first clamped to the range of
 *  an i64: wiq_strtouint16() stores 65535 for "-1". (wiq_strtouint64() differs; see its comment.)
 *  @{ */

/**
 * Reads a signed 32-bit integer by the policy above.
 * @param text the text
 * @param out  receives the value, on most failures too
 * @return 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_BAD_FORMAT, WIQ_ERR_RANGE or WIQ_ERR_TRAILING_CHARS by
 *         the table above
 */
KE_API i32 wiq_strtoint32(const char* text, i32* out);

/**
 * Reads a signed 64-bit integer by the policy above.
 * @param text the text
 * @param out  receives the value, on most failures too
 * @return 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_BAD_FORMAT, WIQ_ERR_RANGE or WIQ_ERR_TRAILING_CHARS by
 *         the table above
 */
KE_API i32 wiq_strtoint64(const char* text, i64* out);

/**
 * Reads an unsigned 16-bit integer by the policy above.
 * @param text the text
 * @param out  receives the value, on most failures too
 * @return 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_BAD_FORMAT, WIQ_ERR_RANGE or WIQ_ERR_TRAILING_CHARS by
 *         the table above
 */
KE_API i32 wiq_strtouint16(const char* text, u16* out);

/**
 * Reads an unsigned 32-bit integer by the policy above.
 * @param text the text
 * @param out  receives the value, on most failures too
 * @return 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_BAD_FORMAT, WIQ_ERR_RANGE or WIQ_ERR_TRAILING_CHARS by
 *         the table above
 */
KE_API i32 wiq_strtouint32(const char* text, u32* out);

/**
 * Reads an unsigned 64-bit integer. Arguments and statuses are those of wiq_strtoint32(), with
 * these differences for signs:
 * - If the first character after spaces and tabs is "-", the status is WIQ_ERR_BAD_FORMAT, even for
 *   "-0".
 * - A minus sign after other white space is not noticed: "\n-5" gives status 0 and stores the
 *   wrapped value.
 * - A negative number is wrapped modulo 2^64; beyond 64 bits, the largest value is stored instead.
 * @param text the text
 * @param out  receives the value, on most failures too
 * @return 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_BAD_FORMAT, WIQ_ERR_RANGE or WIQ_ERR_TRAILING_CHARS by
 *         the table and the list above
 */
KE_API i32 wiq_strtouint64(const char* text, u64* out);

/**
 * Reads a double, correctly rounded.
 *
 * The text may begin with white space and a sign. After that come decimal digits with an optional
 * "." and exponent, a hexadecimal number ("0x1.8p3"), "inf", "infinity", "nan" or "nan(...)", with
 * letters in either case.
 * @param text the text; the number must reach to its end
 * @param out  receives the value: an infinity for a magnitude beyond the range of a double, which
 *             is not a failure, and 0.0 for a text that is not a number
 * @return 0; WIQ_ERR_INVALID_ARG if an argument is NULL; WIQ_ERR_BAD_FORMAT if the text is empty
 *         (nothing is stored then), is not a number, or continues after the number (where the
 *         integer parsers return WIQ_ERR_TRAILING_CHARS)
 */
KE_API i32 wiq_strtodouble(const char* text, double* out);

/**
 * Copies a character field of a fixed-size record, which need not be NUL-terminated, into a
 * reusable block, as a string.
 * @param src   the field, which may lie in the block; NULL only if `width` is 0
 * @param width size of the field in bytes; the text ends at the first NUL in it
 * @param block the block's pointer; the caller releases the block with free(). It is replaced by a
 *              block of `width` + 1 bytes if the pointer or `size` is NULL, or `*size` is less than
 *              that.
 * @param size  the size of the block in bytes, or NULL
 * @param trim  true to leave out white space at both ends of the text
 * @return 0; WIQ_ERR_INVALID_ARG if `block` or a needed `src` is NULL; WIQ_ERR_NO_MEMORY when out
 *         of memory, in which case `*block` is NULL, the old block is not released, and `*size` is
 *         unchanged
 */
KE_API i32 wiq_struct_str(const void* src, u64 width, char** block, u64* size, bool trim);

/**
 * Removes white space at both ends of a string by moving the rest to its front. NULL is ignored.
 */
KE_API void trim_in_place(char* str);

/**
 * Converts every ASCII letter of a string to upper case, in place.
 * @param str may be NULL
 * @return `str`
 */
KE_API char* wiq_upper_all(char* str);

/**
 * Converts the first character of a string, and every character after a space, to upper case if it
 * is an ASCII letter, in place. A tab or line feed does not begin a word. Nothing is converted to
 * lower case.
 * @param str may be NULL
 * @return `str`
 */
KE_API char* wiq_upper_first(char* str);

/**
 * Replaces every byte `from` of a string with `to`, in place. The NUL at its end is not replaced.
 * @param str  may be NULL
 * @param from the byte to replace
 * @param to   the byte that replaces it
 * @return `str`
 */
KE_API char* wiq_strchr_replace(char* str, char from, char to);

/**
 * Returns the length of a string that may have no NUL.
 * @param str the bytes; NULL counts as empty
 * @param max maximum number of bytes to read
 * @return the number of bytes before the first NUL, at most `max`
 */
KE_API u64 wiq_strnlen(const char* str, u64 max);

/**
 * Returns the length of the UTF-8 sequence that a byte begins (RFC 3629).
 * @param lead the first byte of the sequence
 * @return 1 for 0x00-0x7F, 2 for 0xC2-0xDF, 3 for 0xE0-0xEF, 4 for 0xF0-0xF4; 0 for a byte that
 *         begins no valid sequence
 */
KE_API u32 wiq_utf8_char_sz(u8 lead);

/**
 * Compares two strings byte by byte, as unsigned numbers, as if their ASCII letters were lower
 * case.
 * @param a may be NULL
 * @param b may be NULL
 * @return a negative number, 0 or a positive number if `a` comes before, equals or comes after `b`.
 *         NULL equals NULL and comes before every string.
 */
KE_API i32 wiq_strcasecmp(const char* a, const char* b);

/** @} */

/** @defgroup uint128 128-bit unsigned integers
 *  Arithmetic wraps modulo 2^128; no function reports an overflow.
 *  @{ */

/** An unsigned 128-bit value. In memory it is a little-endian 128-bit integer. */
typedef struct wiq_uint128 {
    u64 lo; /**< bits 0 to 63 */
    u64 hi; /**< bits 64 to 127 */
} wiq_uint128;

/**
 * An unsigned 24-bit value in the form that records of fixed layout contain: three bytes, the least
 * significant first.
 */
typedef struct wiq_uint24 {
    u8 bytes[3]; /**< bits 0 to 23 */
} wiq_uint24;

/** An unsigned 48-bit value: six bytes, the least significant first. */
typedef struct wiq_uint48 {
    u8 bytes[6]; /**< bits 0 to 47 */
} wiq_uint48;

/** Returns a + b modulo 2^128. */
KE_API wiq_uint128 wiq_uint128_add(wiq_uint128 a, wiq_uint128 b);

/** Returns a - b modulo 2^128. */
KE_API wiq_uint128 wiq_uint128_sub(wiq_uint128 a, wiq_uint128 b);

/** Returns the two's complement of a: 2^128 - a, or 0 if a is 0. */
KE_API wiq_uint128 wiq_uint128_neg(wiq_uint128 a);

/** Returns a times b modulo 2^128. */
KE_API wiq_uint128 wiq_uint128_mul(wiq_uint128 a, wiq_uint128 b);

/**
 * Divides a by b.
 * @param a         the dividend
 * @param b         the divisor
 * @param quotient  receives the quotient, rounded down; may be NULL
 * @param remainder receives the remainder; may be NULL
 * @return 0; WIQ_ERR_INVALID_ARG if b is 0
 */
KE_API i32 wiq_uint128_div(wiq_uint128 a, wiq_uint128 b, wiq_uint128* quotient,
                           wiq_uint128* remainder);

/** Returns a shifted left by `count` bits; 0 if `count` is 128 or more. */
KE_API wiq_uint128 wiq_uint128_lshift(wiq_uint128 a, u64 count);

/** Returns a shifted right by `count` bits, filled with zeros; 0 if `count` is 128 or more. */
KE_API wiq_uint128 wiq_uint128_rshift(wiq_uint128 a, u64 count);

/** Returns whether a is less than b. */
KE_API bool wiq_uint128_lt(wiq_uint128 a, wiq_uint128 b);

/** Returns whether a is less than b or equal to it. */
KE_API bool wiq_uint128_le(wiq_uint128 a, wiq_uint128 b);

/**
 * Reads an unsigned 128-bit number.
 *
 * Spaces and tabs are skipped. An optional "-" negates the value modulo 2^128; "+" is not accepted.
 * After that come "0x" or "0X" and hexadecimal digits, "0" and octal digits, or decimal digits. A
 * text without any digits ("0x", "-", spaces) is read as 0. A number that is too long wraps modulo
 * 2^128.
 * @param text the text; the number must reach to its end
 * @param out  receives the value. If a character is not a digit of the base, it receives the value
 *             of the digits before that character.
 * @return 0; WIQ_ERR_INVALID_ARG if an argument is NULL; WIQ_ERR_BAD_FORMAT if the text is empty
 *         (nothing is stored then) or has a character that is not a digit of the base, even a space
 *         at its end
 */
KE_API i32 wiq_uint128_from_str(const char* text, wiq_uint128* out);

/**
 * Writes a number as text, without sign or prefix, with letters in upper case.
 * @param a    the number
 * @param base 2 to 37; in base 37, a digit of value 36 is written as a NUL byte
 * @param buf  receives the digits and a NUL
 * @param size size of the buffer in bytes; 40 are enough for base 10, 129 for every base
 * @return the number of bytes written, the NUL included; WIQ_ERR_INVALID_ARG if `buf` is NULL or
 *         `size` is 0; WIQ_ERR_BAD_RADIX (-7005) for any other base; WIQ_ERR_BUFFER_TOO_SMALL
 *         (-7006) if the text does not fit, with nothing written
 */
KE_API i32 wiq_uint128_to_str(wiq_uint128 a, i32 base, char* buf, u64 size);

/** Returns the low 24 bits of `value`; higher bits are dropped. */
KE_API wiq_uint24 wiq_uint24_init(u32 value);

/** Returns the low 48 bits of `value`; higher bits are dropped. */
KE_API wiq_uint48 wiq_uint48_init(u64 value);

/** @} */

/** @defgroup binary Base64 and memory dumps
 *  @{ */

/** Returns the number of bytes that the base64 text of `n` bytes needs, its NUL included. */
KE_API size_t wiq_base64_encode_len(size_t n);

/**
 * Encodes bytes as base64 text with the standard alphabet and "=" padding (RFC 4648, section 4),
 * without line breaks.
 * @param in      the bytes
 * @param n       their number; 0 gives an empty text
 * @param out     receives the text and a NUL; must not overlap `in`
 * @param out_len on entry the size of `out` in bytes, at least wiq_base64_encode_len(); on success
 *                the length of the text without its NUL
 * @return 0; WIQ_ERR_INVALID_ARG if a pointer is NULL; WIQ_ERR_BUFFER_TOO_SMALL if the text does
 *         not fit, in which case `out` contains an empty text if its size is not 0
 */
KE_API i32 wiq_base64_encode(const u8* in, size_t n, char* out, size_t* out_len);

/**
 * Returns the number of bytes that a base64 text decodes to.
 *
 * The text counts up to the first byte that is neither a character of the alphabet nor a line feed.
 * @param in the text; NULL counts as empty
 * @param n  its length in bytes; it need not be NUL-terminated
 * @return three quarters of the number of alphabet characters up to there, rounded down
 */
KE_API size_t wiq_base64_decode_len(const char* in, size_t n);

/**
 * Decodes base64 text of the standard alphabet.
 *
 * Only line feeds are skipped: a carriage return or space is invalid. The first "=" ends the text,
 * whatever follows it. Padding may be missing; a single leftover character at the end is dropped.
 * @param in      the text
 * @param n       its length in bytes; it need not be NUL-terminated
 * @param out     receives the bytes, without a terminator; may be `in` itself
 * @param out_len on entry the size of `out` in bytes: wiq_base64_decode_len() is enough, but it
 *                must be at least 1; on success the number of bytes written
 * @return 0; WIQ_ERR_INVALID_ARG if a pointer is NULL; WIQ_ERR_BUFFER_TOO_SMALL if the bytes do not
 *         fit, or if the size is 0, even for an empty text; WIQ_ERR_INVALID_VALUE (-1011) for an
 *         invalid character. Bytes that were decoded before a failure stay in `out`.
 */
KE_API i32 wiq_base64_decode(const char* in, size_t n, u8* out, size_t* out_len);

/**
 * Computes the exponent of a power of two.
 * @param x   the power: 1, 2, 4, ... 2^31
 * @param out receives the exponent, 0 to 31
 * @return 0; WIQ_ERR_INVALID_ARG if `out` is NULL or `x` is not a power of two
 */
KE_API i32 wiq_log2_whole(u32 x, u32* out);

/**
 * Receives one line of a dump.
 * @param user   the pointer that was given to wiq_memdump_ex()
 * @param offset offset in the data of the line's first byte
 * @param hex    the hexadecimal text of the line, NUL-terminated; valid during the call
 * @param ascii  the character column of the line, NUL-terminated; valid during the call; NULL if
 *               the dump has no such column
 * @return 0 to go on; any other status stops the dump, which returns it
 */
typedef i32 (*WiqMemdumpFn)(void* user, u64 offset, const char* hex, const char* ascii);

/**
 * Formats memory as lines of lower-case hexadecimal text and passes them to a callback one by one.
 *
 * This is a line with 16 bytes, groups of 4, blocks of 8 and a gap of 1:
 * @code
 * 00010203 04050607  08090a0b 0c0d0e0f
 * @endcode
 * Each full group is followed by a space, and each full block by `block_gap` more spaces; nothing
 * follows the last byte of a line. Groups and blocks are counted from the start of the data. So if
 * their size does not divide that of a line, the separators are in different columns in different
 * lines.
 * @param data        the bytes
 * @param len         their number, not 0
 * @param line_bytes  number of bytes in a line; if less than 1, all bytes
 * @param group_bytes number of bytes in a group; if less than 1, all bytes
 * @param block_bytes number of bytes in a block; if less than 1, all bytes
 * @param block_gap   number of spaces after a block, 0 or more
 * @param ascii       true to pass a column of characters to the callback too, with each byte from
 *                    0x20 to 0x7E as it is and "." for any other byte
 * @param pad_last    true to fill a short last line with spaces up to the full width
 * @param cb          receives the lines
 * @param user        passed on to `cb`
 * @return 0; the first nonzero status of `cb`, which ends the dump; WIQ_ERR_INVALID_ARG if `data`
 *         or `cb` is NULL, `len` is 0 or `block_gap` is negative; WIQ_ERR_NO_MEMORY when out of
 *         memory
 */
KE_API i32 wiq_memdump_ex(const u8* data, size_t len, int line_bytes, int group_bytes,
                          int block_bytes, int block_gap, bool ascii, bool pad_last,
                          WiqMemdumpFn cb, void* user);

/** @} */

/** @defgroup capacity Disk capacity
 *  Advertised capacities and LBA counts by the IDEMA rule (IDEMA document LBA1-03), where N is the
 *  capacity in decimal gigabytes:
 *  - sectors of less than 4096 bytes: 97696368 + 1953504 (N - 50) blocks;
 *  - sectors of 4096 bytes and more: 12212046 + 244188 (N - 50) blocks.
 *
 *  All arithmetic is unsigned, has 64 bits and wraps. No argument is refused.
 *  @{ */

/**
 * Returns the number of logical blocks of a disk.
 * @param gb          the capacity in decimal gigabytes
 * @param sector_size size of a logical sector in bytes; selects the rule
 * @return the number of blocks
 */
KE_API u64 wiq_get_lba_count_idema(u64 gb, int sector_size);

/**
 * Returns the number of bytes of a disk.
 * @param gb          the capacity in decimal gigabytes
 * @param sector_size size of a logical sector in bytes. It selects the rule, and the number of
 *                    blocks is multiplied by this very size: the result for 520 is 520 times the
 *                    number of blocks for 512.
 * @return the number of bytes
 */
KE_API u64 wiq_gb_to_bytes_idema(u64 gb, int sector_size);

/**
 * Returns the capacity of a disk in decimal gigabytes, rounded down. This is the inverse of
 * wiq_get_lba_count_idema().
 * @param lba_count   number of logical blocks. If it is less than the rule gives for 50 GB, the
 *                    result wraps to a huge number.
 * @param sector_size size of a logical sector in bytes; selects the rule
 * @return the capacity
 */
KE_API u64 wiq_get_cap_idema(u64 lba_count, int sector_size);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
