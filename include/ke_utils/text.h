/**
 * @file text.h
 * Formatted strings, number parsing and other string utilities, 128-bit unsigned integers, base64, memory
 * dumps and disk capacity arithmetic. The growable string buffer is in containers.h.
 *
 * Conventions of this header:
 * - Strings are NUL-terminated bytes. Whatever a locale could change (the decimal point, white space,
 *   letters) is that of the "C" locale, whatever the process has set.
 * - Memory handed to the caller is the runtime's: released with free().
 * - Where nothing else is said, nothing that the caller passed has changed after a failure.
 * - Every function may be called from several threads at once on different data; none keeps state.
 */
#ifndef KE_UTILS_TEXT_H
#define KE_UTILS_TEXT_H

#include "ke_utils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup format Formatted strings
 *  printf-style text into fresh strings, into buffers of the caller, and into re-usable blocks. The format
 *  syntax is the platform runtime's; all functions but wiq_snprintf() also take positional arguments
 *  ("%1$s", "%2$d"), so that a translated format may reorder its arguments.
 *
 *  Every platform refuses a format with a "%n" conversion, with positions that leave one out, or with a width or
 *  a precision beyond 31 bits, as if the runtime did. Integers, strings and characters in ASCII, and finite real
 *  numbers are written alike everywhere, but for what this table lists; "refused" is -7, or a negative length.
 *
 *  | what | Linux | Windows, UCRT | Windows, msvcrt.dll |
 *  |---|---|---|---|
 *  | ties, as "%.0f" of 0.5 and 2.5 | to even: 0, 2 | to even from Windows 10 2004 on, before that up: 1, 3 | up: 1, 3 |
 *  | infinity by "%f", "%e", "%g" | inf | inf | `1.#INF00`, cut and rounded to the precision |
 *  | NaN | nan, -nan | nan, -nan(ind) | `1.#QNAN0`, `-1.#IND00` |
 *  | "%F" | "%f" in capitals | "%f" in capitals | refused |
 *  | digits of an exponent | two or more | two or more | three |
 *  | "%a" of 1.5 | 0x1.8p+0 | 0x1.8000000000000p+0 | 0x1.8000000000000p+0 |
 *  | "%p" of 0x1234, NULL | 0x1234, (nil) | 16 digits, in capitals | 16 digits, in capitals |
 *  | "%ld" | 64 bits | 32 bits | 32 bits |
 *  | "%Lf" | long double | double | double |
 *  | "%hhd" of 300 | 44 | 44 | 300 |
 *  | "%05s" of "ab" | blanks in front | zeros in front | zeros in front |
 *  | "%.3s" of NULL | nothing | (nu | (nu |
 *  | "%I64d" | other than meant | a 64-bit integer | a 64-bit integer |
 *  | "%m", "%'d" | error text, grouping | refused | refused |
 *  | a conversion that is none ("%y") | as it stands | refused | refused |
 *  | "%" at the end | refused | refused | refused |
 *  | arguments with and without positions in one format | not specified | refused | refused |
 *
 *  wiq_snprintf() on Windows passes over a conversion that is none, and over "%" at the end, in place of refusing
 *  the format.
 *
 *  A re-usable block is a pair that the caller holds: a pointer to a heap string and the block's size in
 *  bytes. It starts as {NULL, 0}, grows when it must, never shrinks, and is released with free():
 *  @code
 *  char* text = NULL;
 *  u64 size = 0;
 *  wiq_rapsprintf(&text, &size, "x=%d", 1);
 *  wiq_rastrcat(&text, &size, "; y");         // "x=1; y"
 *  free(text);
 *  @endcode
 *  When such a block cannot grow (-5000), its pointer becomes NULL and its size the one that was needed;
 *  the old block is not released. A caller who wants to go on keeps a copy of the pointer, or frees it
 *  through that copy, and sets the pair to {NULL, 0}. While the pointer is NULL and the size is not 0,
 *  the functions answer -5000 unless they have to allocate anyway.
 *  @{ */

/**
 * Formats into a buffer, cutting the text where the buffer ends. No positional arguments.
 * @param buf    receives the text; NULL: the text is only measured
 * @param size   bytes at `buf`; 0: the text is only measured
 * @param format printf format
 * @return the length of the whole text without its NUL, also when it was cut: the text fits if this is
 *         below `size`. Negative if the runtime refuses the format (NULL included).
 * The buffer, if there is one, always ends in a NUL.
 */
KE_API i32 wiq_snprintf(char* buf, u64 size, const char* format, ...) KE_PRINTF(3, 4);

/**
 * Measures a formatted text.
 * @param format printf format, positional arguments allowed
 * @param args   its arguments; used up by the call
 * @return the length of the text without its NUL; negative if the runtime refuses the format (NULL
 *         included)
 */
KE_API i32 wiq_vscprintf(const char* format, va_list args) KE_PRINTF(1, 0);

/**
 * Formats into a buffer that is large enough.
 * @param buf    receives the text and its NUL
 * @param size   bytes at `buf`
 * @param format printf format, positional arguments allowed
 * @param args   its arguments; used up by the call
 * @return the number of characters written, without the NUL; -7 (::WIQ_ERR_FAILED) if the runtime refuses
 *         the format, if `buf` or `format` is NULL, or if the text does not fit. What the buffer then
 *         holds is not specified, except that after a text that did not fit it ends in a NUL.
 */
KE_API i32 wiq_vsprintf(char* buf, u64 size, const char* format, va_list args) KE_PRINTF(3, 0);

/**
 * Formats into a fresh string.
 * @param out    receives the string, which the caller frees; NULL on every failure but -7000
 * @param format printf format, positional arguments allowed
 * @return the length of the string; or -7000 (::WIQ_ERR_INVALID_ARG) if `out` or `format` is NULL,
 *         -5000 (::WIQ_ERR_NO_MEMORY), -7 (::WIQ_ERR_FAILED) if the runtime refuses the format
 */
KE_API i32 wiq_asprintf(char** out, const char* format, ...) KE_PRINTF(2, 3);

/** wiq_asprintf() with its arguments in a list, which the call uses up. */
KE_API i32 wiq_vasprintf(char** out, const char* format, va_list args) KE_PRINTF(2, 0);

/**
 * Formats into a re-usable block, over what it held. The arguments must not lie in the block.
 * @param block  the block's pointer; reallocated when the text with its NUL needs as many bytes as the
 *               block has, or more
 * @param size   the block's size in bytes
 * @param format printf format, positional arguments allowed
 * @return the length of the text; or -7000 (::WIQ_ERR_INVALID_ARG) if a pointer is NULL, -7
 *         (::WIQ_ERR_FAILED) if the runtime refuses the format, the block being as it was, or -5000
 *         (::WIQ_ERR_NO_MEMORY) as described above
 */
KE_API i32 wiq_rasprintf(char** block, u64* size, const char* format, ...) KE_PRINTF(3, 4);

/** wiq_rasprintf() with its arguments in a list, which the call uses up. */
KE_API i32 wiq_vrasprintf(char** block, u64* size, const char* format, va_list args)
    KE_PRINTF(3, 0);

/**
 * Appends formatted text to the string in a re-usable block. The arguments may lie in that string, and are then
 * taken as they were before the call.
 * @param block  the block's pointer; reallocated when the text does not fit behind the string
 * @param size   the block's size in bytes; 0: there is no string yet
 * @param format printf format, positional arguments allowed
 * @return the number of characters appended, or a status as of wiq_rasprintf()
 */
KE_API i32 wiq_rapsprintf(char** block, u64* size, const char* format, ...) KE_PRINTF(3, 4);

/**
 * Appends a string to the one in a re-usable block.
 * @param block the block's pointer; reallocated when the string does not fit behind the present one
 * @param size  the block's size in bytes; 0: there is no string yet
 * @param str   what to append; may lie in that string
 * @return the length of `str`; or -7000 (::WIQ_ERR_INVALID_ARG) if a pointer is NULL, -7001
 *         (::WIQ_ERR_RANGE) if it has 2^31 bytes or more, nothing being changed, -5000
 *         (::WIQ_ERR_NO_MEMORY) as described above
 */
KE_API i32 wiq_rastrcat(char** block, u64* size, const char* str);

/** @} */

/** @defgroup strings String utilities and number parsing
 *  The integer parsers share one policy. They skip leading white space and take an optional sign; "0x"
 *  or "0X" selects base 16, another leading "0" base 8, else the base is 10. The first of these that
 *  applies is the status:
 *
 *  | status | when | value stored |
 *  |---|---|---|
 *  | -7000 (::WIQ_ERR_INVALID_ARG) | an argument is NULL | none |
 *  | -7003 (::WIQ_ERR_BAD_FORMAT) | an unsigned parser met a negative number | the number wrapped to the type: "-1" leaves 65535 |
 *  | -7001 (::WIQ_ERR_RANGE) | the number does not fit the type | the type's largest or smallest |
 *  | -7003 (::WIQ_ERR_BAD_FORMAT) | the text does not begin with a number | 0 |
 *  | -6001 (::WIQ_ERR_TRAILING_CHARS) | something follows the number, be it a blank | the number |
 *  | 0 | | the number |
 *  @{ */

/**
 * Reads a signed 32-bit integer by the policy above.
 * @param text the text
 * @param out  receives the value, also with most failures
 * @return a status of the table above
 */
KE_API i32 wiq_strtoint32(const char* text, i32* out);

/** Reads a signed 64-bit integer; otherwise as wiq_strtoint32(). */
KE_API i32 wiq_strtoint64(const char* text, i64* out);

/** Reads an unsigned 16-bit integer; otherwise as wiq_strtoint32(). */
KE_API i32 wiq_strtouint16(const char* text, u16* out);

/** Reads an unsigned 32-bit integer; otherwise as wiq_strtoint32(). */
KE_API i32 wiq_strtouint32(const char* text, u32* out);

/**
 * Reads an unsigned 64-bit integer; otherwise as wiq_strtoint32(), with two differences about signs:
 * any text whose first character past blanks and tabs is "-" gives -7003, "-0" included; and a sign behind
 * other white space ("\n-5") goes unnoticed: status 0 with the wrapped value. A negative number beyond
 * 64 bits leaves the largest value.
 */
KE_API i32 wiq_strtouint64(const char* text, u64* out);

/**
 * Reads a double: leading white space, an optional sign, then decimal digits with an optional "." and
 * exponent, a hexadecimal number ("0x1.8p3"), "inf", "infinity", "nan" or "nan(...)", letters in either
 * case. Correctly rounded.
 * @param text the text; the number must reach to its end
 * @param out  receives the value: an infinity for a magnitude beyond the double range, which is no
 *             failure, and 0.0 for a text that is no number
 * @return 0; -7000 (::WIQ_ERR_INVALID_ARG) if an argument is NULL; -7003 (::WIQ_ERR_BAD_FORMAT) if the
 *         text is empty (nothing is stored), is no number, or goes on behind it (unlike the integer
 *         parsers, which give -6001)
 */
KE_API i32 wiq_strtodouble(const char* text, double* out);

/**
 * Copies a character field of a fixed-size record, which need not be NUL-terminated, into a re-usable
 * block as a string.
 * @param src   the field, which may lie in the block; NULL only if `width` is 0
 * @param width the field's bytes; the text ends earlier at a NUL
 * @param block the block's pointer; reallocated to `width` + 1 bytes when `size` is NULL or less than that,
 *              or the pointer is NULL. The caller frees it.
 * @param size  the block's size in bytes, or NULL
 * @param trim  whether to leave out white space at the text's two ends
 * @return 0; -7000 (::WIQ_ERR_INVALID_ARG) if `block` or a needed `src` is NULL; -5000
 *         (::WIQ_ERR_NO_MEMORY): `*block` is then NULL, the old block not released, `*size` as it was
 */
KE_API i32 wiq_struct_str(const void* src, u64 width, char** block, u64* size, bool trim);

/** Removes white space at both ends of a string by moving the rest to its front. NULL: nothing happens. */
KE_API void trim_in_place(char* str);

/** Turns every ASCII letter of a string into upper case. NULL is allowed. @return `str` */
KE_API char* wiq_upper_all(char* str);

/**
 * Turns the first character of a string, and every one that follows a blank (a tab or line feed starts no
 * word), into upper case if it is an ASCII letter. Nothing is turned into lower case. NULL is allowed.
 * @return `str`
 */
KE_API char* wiq_upper_first(char* str);

/**
 * Replaces every byte `from` of a string by `to`. Its terminating NUL is not replaced. NULL is allowed.
 * @return `str`
 */
KE_API char* wiq_strchr_replace(char* str, char from, char to);

/**
 * The length of a string that may end without a NUL.
 * @param str the bytes; NULL counts as empty
 * @param max bytes to look at, at most
 * @return the number of bytes before the first NUL, at most `max`
 */
KE_API u64 wiq_strnlen(const char* str, u64 max);

/**
 * The length of the UTF-8 sequence that a byte begins (RFC 3629).
 * @return 1 for 0x00-0x7F, 2 for 0xC2-0xDF, 3 for 0xE0-0xEF, 4 for 0xF0-0xF4; 0 for a byte that begins no
 *         valid sequence
 */
KE_API u32 wiq_utf8_char_sz(u8 lead);

/**
 * Compares two strings as if their ASCII letters were lower case, byte by byte, bytes unsigned.
 * @return negative, 0 or positive as `a` is before, equal to or after `b`; NULL equals NULL and is before
 *         every string
 */
KE_API i32 wiq_strcasecmp(const char* a, const char* b);

/** @} */

/** @defgroup uint128 128-bit unsigned integers
 *  Arithmetic wraps modulo 2^128; nothing reports an overflow.
 *  @{ */

/** An unsigned 128-bit value; in memory a little-endian 128-bit integer. */
typedef struct wiq_uint128 {
    u64 lo; /**< bits 0 to 63 */
    u64 hi; /**< bits 64 to 127 */
} wiq_uint128;

/** An unsigned 24-bit value as fixed-layout records hold it: three bytes, least significant first. */
typedef struct wiq_uint24 {
    u8 bytes[3]; /**< bits 0 to 23 */
} wiq_uint24;

/** An unsigned 48-bit value: six bytes, least significant first. */
typedef struct wiq_uint48 {
    u8 bytes[6]; /**< bits 0 to 47 */
} wiq_uint48;

/** @return a + b modulo 2^128 */
KE_API wiq_uint128 wiq_uint128_add(wiq_uint128 a, wiq_uint128 b);

/** @return a - b modulo 2^128 */
KE_API wiq_uint128 wiq_uint128_sub(wiq_uint128 a, wiq_uint128 b);

/** @return the two's complement of a: 2^128 - a, and 0 of 0 */
KE_API wiq_uint128 wiq_uint128_neg(wiq_uint128 a);

/** @return a times b modulo 2^128 */
KE_API wiq_uint128 wiq_uint128_mul(wiq_uint128 a, wiq_uint128 b);

/**
 * Divides a by b.
 * @param a         the dividend
 * @param b         the divisor
 * @param quotient  receives the quotient, rounded down; may be NULL
 * @param remainder receives the remainder; may be NULL
 * @return 0; -7000 (::WIQ_ERR_INVALID_ARG) if b is 0
 */
KE_API i32 wiq_uint128_div(wiq_uint128 a, wiq_uint128 b, wiq_uint128* quotient,
                           wiq_uint128* remainder);

/** @return a shifted left by `count` bits; 0 from 128 bits on */
KE_API wiq_uint128 wiq_uint128_lshift(wiq_uint128 a, u64 count);

/** @return a shifted right by `count` bits, zeros moving in; 0 from 128 bits on */
KE_API wiq_uint128 wiq_uint128_rshift(wiq_uint128 a, u64 count);

/** @return whether a is less than b */
KE_API bool wiq_uint128_lt(wiq_uint128 a, wiq_uint128 b);

/** @return whether a is less than b or equal to it */
KE_API bool wiq_uint128_le(wiq_uint128 a, wiq_uint128 b);

/**
 * Reads a number: blanks and tabs, an optional "-" (the value is then negated modulo 2^128; there is no
 * "+"), then "0x" or "0X" and hexadecimal digits, "0" and octal digits, or decimal digits. A text with
 * none of the digits ("0x", "-", blanks) is 0. A number too long wraps modulo 2^128.
 * @param text the text; the number must reach to its end
 * @param out  receives the value; with -7003 for a character that is no digit of the base, the value of the
 *             digits before it
 * @return 0; -7000 (::WIQ_ERR_INVALID_ARG) if an argument is NULL; -7003 (::WIQ_ERR_BAD_FORMAT) if the
 *         text is empty (nothing is stored) or holds a character that is no digit of the base, be it a
 *         blank at its end
 */
KE_API i32 wiq_uint128_from_str(const char* text, wiq_uint128* out);

/**
 * Writes a number as text without sign or prefix, letters in upper case.
 * @param a    the number
 * @param base 2 to 37; in base 37 a digit of value 36 is written as a NUL byte
 * @param buf  receives the digits and a NUL
 * @param size bytes at `buf`; 40 are enough for base 10, 129 for every base
 * @return the number of bytes written, the NUL included; -7000 (::WIQ_ERR_INVALID_ARG) if `buf` is NULL or
 *         `size` 0; -7005 (::WIQ_ERR_BAD_RADIX); -7006 (::WIQ_ERR_BUFFER_TOO_SMALL), nothing being
 *         written
 */
KE_API i32 wiq_uint128_to_str(wiq_uint128 a, i32 base, char* buf, u64 size);

/** @return the low 24 bits of `value`; higher bits are dropped */
KE_API wiq_uint24 wiq_uint24_init(u32 value);

/** @return the low 48 bits of `value`; higher bits are dropped */
KE_API wiq_uint48 wiq_uint48_init(u64 value);

/** @} */

/** @defgroup binary Base64 and memory dumps
 *  @{ */

/** @return the bytes that the base64 text of `n` bytes needs, its NUL included */
KE_API size_t wiq_base64_encode_len(size_t n);

/**
 * Encodes bytes as base64 text in the standard alphabet with "=" padding (RFC 4648, section 4), without
 * line ends.
 * @param in      the bytes
 * @param n       their number; 0 gives an empty text
 * @param out     receives the text and a NUL; must not overlap `in`
 * @param out_len on entry the bytes at `out`, at least wiq_base64_encode_len(); on success the length of
 *                the text without its NUL
 * @return 0; -7000 (::WIQ_ERR_INVALID_ARG) if a pointer is NULL; -7006 (::WIQ_ERR_BUFFER_TOO_SMALL), the
 *         buffer then holding an empty text if it has room for one
 */
KE_API i32 wiq_base64_encode(const u8* in, size_t n, char* out, size_t* out_len);

/**
 * The bytes that a base64 text decodes to.
 * @param in the text; NULL counts as empty
 * @param n  its bytes; it need not be terminated
 * @return 3/4 of the alphabet's characters, rounded down, that stand before the first byte that is neither
 *         one of them nor a line feed
 */
KE_API size_t wiq_base64_decode_len(const char* in, size_t n);

/**
 * Decodes base64 text of the standard alphabet. Line feeds are skipped, and they alone: a carriage return
 * or blank is invalid. The first "=" ends the text, whatever follows it. Padding may be missing; a single
 * character left over at the end is dropped.
 * @param in      the text
 * @param n       its bytes; it need not be terminated
 * @param out     receives the bytes, no terminator; may be `in` itself
 * @param out_len on entry the bytes at `out`, at least 1, wiq_base64_decode_len() being enough
 *                otherwise; on success the number of bytes written
 * @return 0; -7000 (::WIQ_ERR_INVALID_ARG) if a pointer is NULL; -7006 (::WIQ_ERR_BUFFER_TOO_SMALL) if
 *         the bytes do not fit, or the capacity is 0, also with an empty text; -1011
 *         (::WIQ_ERR_INVALID_VALUE) for an invalid character. What was decoded before a failure stays
 *         in `out`.
 */
KE_API i32 wiq_base64_decode(const char* in, size_t n, u8* out, size_t* out_len);

/**
 * The exponent of a power of two.
 * @param x   the power: 1, 2, 4, ... 2^31
 * @param out receives the exponent, 0 to 31
 * @return 0; -7000 (::WIQ_ERR_INVALID_ARG) if `out` is NULL or `x` is no power of two
 */
KE_API i32 wiq_log2_whole(u32 x, u32* out);

/**
 * Receives one line of a dump.
 * @param user   the pointer given to wiq_memdump_ex()
 * @param offset offset in the data of the line's first byte
 * @param hex    the line's hexadecimal text, NUL-terminated, valid during the call
 * @param ascii  the line's character column, NUL-terminated, valid during the call; NULL without one
 * @return 0 to go on; any other status stops the dump and is returned by it
 */
typedef i32 (*WiqMemdumpFn)(void* user, u64 offset, const char* hex, const char* ascii);

/**
 * Formats memory as lines of lowercase hexadecimal text and hands them to a callback one by one, e.g. with
 * 16 bytes a line, groups of 4, blocks of 8 and a gap of 1:
 * @code
 * 00010203 04050607  08090a0b 0c0d0e0f
 * @endcode
 * A blank follows each full group, and `block_gap` more follow each full block; nothing follows the last
 * byte of a line.
 * Groups and blocks are counted from the start of the data: where they do not divide the line, the
 * separators of different lines stand in different places.
 * @param data        the bytes
 * @param len         their number, not 0
 * @param line_bytes  bytes in a line; below 1: as many as there are data
 * @param group_bytes bytes in a group; below 1: as many as there are data
 * @param block_bytes bytes in a block; below 1: as many as there are data
 * @param block_gap   blanks after a block, 0 or more
 * @param ascii       whether to give the callback a column of characters too: each byte from 0x20 to 0x7E
 *                    as it is, "." for the others
 * @param pad_last    whether to fill a short last line with blanks up to the full width
 * @param cb          receives the lines
 * @param user        passed on to `cb`
 * @return 0; the first status other than 0 of `cb`, which ends the dump; -7000 (::WIQ_ERR_INVALID_ARG) if
 *         `data` or `cb` is NULL, `len` is 0 or `block_gap` negative; -5000 (::WIQ_ERR_NO_MEMORY)
 */
KE_API i32 wiq_memdump_ex(const u8* data, size_t len, int line_bytes, int group_bytes,
                          int block_bytes, int block_gap, bool ascii, bool pad_last,
                          WiqMemdumpFn cb, void* user);

/** @} */

/** @defgroup capacity Disk capacity
 *  Advertised capacities and LBA counts by the IDEMA rule (IDEMA document LBA1-03), with N in decimal
 *  gigabytes:
 *  - sectors below 4096 bytes: 97696368 + 1953504 (N - 50) blocks;
 *  - sectors of 4096 bytes and more: 12212046 + 244188 (N - 50) blocks.
 *
 *  All arithmetic is unsigned 64-bit and wraps; no argument is refused.
 *  @{ */

/**
 * @param gb          capacity in decimal gigabytes
 * @param sector_size bytes in a logical sector; selects the rule
 * @return the number of logical blocks
 */
KE_API u64 wiq_get_lba_count_idema(u64 gb, int sector_size);

/**
 * @param gb          capacity in decimal gigabytes
 * @param sector_size bytes in a logical sector; selects the rule and multiplies as it is: 520 gives 520
 *                    times the count for 512
 * @return the number of bytes
 */
KE_API u64 wiq_gb_to_bytes_idema(u64 gb, int sector_size);

/**
 * The inverse of wiq_get_lba_count_idema(), rounded down.
 * @param lba_count   number of logical blocks; below the rule's count for 50 GB the result wraps to a
 *                    huge number
 * @param sector_size bytes in a logical sector; selects the rule
 * @return the capacity in decimal gigabytes
 */
KE_API u64 wiq_get_cap_idema(u64 lba_count, int sector_size);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
