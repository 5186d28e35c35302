/**
 * @file text.h
 * Formatted strings, number parsing and other string utilities, 128-bit unsigned integers, base64, memory
 * dumps and disk capacity arithmetic. The growable string buffer is in containers.h.
 */
#ifndef KE_UTILS_TEXT_H
#define KE_UTILS_TEXT_H

#include "ke_utils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup format Formatted strings
 *  @{ */

KE_API i32 wiq_snprintf(char* buf, u64 size, const char* format, ...) KE_PRINTF(3, 4);
KE_API i32 wiq_vscprintf(const char* format, va_list args) KE_PRINTF(1, 0);
KE_API i32 wiq_vsprintf(char* buf, u64 size, const char* format, va_list args) KE_PRINTF(3, 0);
KE_API i32 wiq_asprintf(char** out, const char* format, ...) KE_PRINTF(2, 3);
KE_API i32 wiq_vasprintf(char** out, const char* format, va_list args) KE_PRINTF(2, 0);
KE_API i32 wiq_rasprintf(char** block, u64* size, const char* format, ...) KE_PRINTF(3, 4);
KE_API i32 wiq_vrasprintf(char** block, u64* size, const char* format, va_list args)
    KE_PRINTF(3, 0);
KE_API i32 wiq_rapsprintf(char** block, u64* size, const char* format, ...) KE_PRINTF(3, 4);
KE_API i32 wiq_rastrcat(char** block, u64* size, const char* str);

/** @} */

/** @defgroup strings String utilities and number parsing
 *  @{ */

KE_API i32 wiq_strtoint32(const char* text, i32* out);
KE_API i32 wiq_strtoint64(const char* text, i64* out);
KE_API i32 wiq_strtouint16(const char* text, u16* out);
KE_API i32 wiq_strtouint32(const char* text, u32* out);
KE_API i32 wiq_strtouint64(const char* text, u64* out);
KE_API i32 wiq_strtodouble(const char* text, double* out);
KE_API i32 wiq_struct_str(const void* src, u64 width, char** block, u64* size, bool trim);
KE_API void trim_in_place(char* str);
KE_API char* wiq_upper_all(char* str);
KE_API char* wiq_upper_first(char* str);
KE_API char* wiq_strchr_replace(char* str, char from, char to);
KE_API u64 wiq_strnlen(const char* str, u64 max);
KE_API u32 wiq_utf8_char_sz(u8 lead);
KE_API i32 wiq_strcasecmp(const char* a, const char* b);

/** @} */

/** @defgroup uint128 128-bit unsigned integers
 *  @{ */

/** An unsigned 128-bit value; in memory a little-endian 128-bit integer. */
typedef struct wiq_uint128 {
    u64 lo; /**< bits 0 to 63 */
    u64 hi; /**< bits 64 to 127 */
} wiq_uint128;

/** An unsigned 24-bit value as fixed-layout records hold it: three bytes, least significant first. */
typedef struct wiq_uint24 {
    u8 bytes[3];
} wiq_uint24;

/** An unsigned 48-bit value: six bytes, least significant first. */
typedef struct wiq_uint48 {
    u8 bytes[6];
} wiq_uint48;

KE_API wiq_uint128 wiq_uint128_add(wiq_uint128 a, wiq_uint128 b);
KE_API wiq_uint128 wiq_uint128_sub(wiq_uint128 a, wiq_uint128 b);
KE_API wiq_uint128 wiq_uint128_neg(wiq_uint128 a);
KE_API wiq_uint128 wiq_uint128_mul(wiq_uint128 a, wiq_uint128 b);
KE_API i32 wiq_uint128_div(wiq_uint128 a, wiq_uint128 b, wiq_uint128* quotient,
                           wiq_uint128* remainder);
KE_API wiq_uint128 wiq_uint128_lshift(wiq_uint128 a, u64 count);
KE_API wiq_uint128 wiq_uint128_rshift(wiq_uint128 a, u64 count);
KE_API bool wiq_uint128_lt(wiq_uint128 a, wiq_uint128 b);
KE_API bool wiq_uint128_le(wiq_uint128 a, wiq_uint128 b);
KE_API i32 wiq_uint128_from_str(const char* text, wiq_uint128* out);
KE_API i32 wiq_uint128_to_str(wiq_uint128 a, i32 base, char* buf, u64 size);
KE_API wiq_uint24 wiq_uint24_init(u32 value);
KE_API wiq_uint48 wiq_uint48_init(u64 value);

/** @} */

/** @defgroup binary Base64 and memory dumps
 *  @{ */

KE_API size_t wiq_base64_encode_len(size_t n);
KE_API i32 wiq_base64_encode(const u8* in, size_t n, char* out, size_t* out_len);
KE_API size_t wiq_base64_decode_len(const char* in, size_t n);
KE_API i32 wiq_base64_decode(const char* in, size_t n, u8* out, size_t* out_len);
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

KE_API i32 wiq_memdump_ex(const u8* data, size_t len, int line_bytes, int group_bytes,
                          int block_bytes, int block_gap, bool ascii, bool pad_last,
                          WiqMemdumpFn cb, void* user);

/** @} */

/** @defgroup capacity Disk capacity
 *  @{ */

KE_API u64 wiq_get_lba_count_idema(u64 gb, int sector_size);
KE_API u64 wiq_gb_to_bytes_idema(u64 gb, int sector_size);
KE_API u64 wiq_get_cap_idema(u64 lba_count, int sector_size);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
