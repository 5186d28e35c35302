/**
 * @file text.hpp
 * Text utilities: parses numbers, encodes base64, dumps memory and computes disk capacities.
 * Formatting is in strbuf.hpp, 128-bit integers are in uint128.hpp.
 */
#ifndef KE_TEXT_HPP
#define KE_TEXT_HPP

#include <vector>

#include "ke/callback.hpp"
#include "ke/status.hpp"
#include "ke/text_arg.hpp"
#include "ke_utils/text.h"

namespace ke {

/** @addtogroup cpp
 *  @{ */

/** Parses a whole text as a number of type i32, i64, u16, u32, u64 or double. What is accepted, and
 *  the statuses, are those of wiq_strtoint32() and its siblings. */
template <class T>
result<T> parse_number(const text_arg& text) noexcept {
    T value{};
    i32 status = text.status();
    if (status == 0) {
        if constexpr (std::is_same_v<T, i32>)
            status = wiq_strtoint32(text.c_str(), &value);
        else if constexpr (std::is_same_v<T, i64>)
            status = wiq_strtoint64(text.c_str(), &value);
        else if constexpr (std::is_same_v<T, u16>)
            status = wiq_strtouint16(text.c_str(), &value);
        else if constexpr (std::is_same_v<T, u32>)
            status = wiq_strtouint32(text.c_str(), &value);
        else if constexpr (std::is_same_v<T, u64>)
            status = wiq_strtouint64(text.c_str(), &value);
        else if constexpr (std::is_same_v<T, double>)
            status = wiq_strtodouble(text.c_str(), &value);
        else
            static_assert(detail::always_false<T>,
                          "numbers are read as i32, i64, u16, u32, u64, double");
    }
    return status == 0 ? result<T>(value) : result<T>::failure(status);
}

/** Compares two texts as if their ASCII letters were lower case. Returns a negative number, 0 or a
 *  positive number. */
inline i32 compare_ignoring_case(const text_arg& a, const text_arg& b) noexcept {
    return wiq_strcasecmp(a.c_str(), b.c_str());
}
/** Returns the text without white space at both ends. A NUL inside ends the text. */
inline std::string trimmed(std::string text) {
    trim_in_place(text.data());
    text.resize(std::strlen(text.c_str()));
    return text;
}
/** Returns the text with its ASCII letters in upper case. */
inline std::string upper(std::string text) {
    wiq_upper_all(text.data());
    return text;
}
/** Returns the text of a field of fixed width, which need not be NUL-terminated. With `trim`, white
 *  space at both ends is left out. */
inline std::string field_text(const void* field, std::size_t width, bool trim = true) {
    const auto* const bytes = static_cast<const char*>(field);
    std::string text(bytes, static_cast<std::size_t>(wiq_strnlen(bytes, width)));
    return trim ? trimmed(std::move(text)) : text;
}

/** Encodes bytes as base64 text. */
inline std::string base64_encode(const void* bytes, std::size_t size) {
    std::string text(wiq_base64_encode_len(size), '\0');
    std::size_t length = text.size();
    static const u8 none = 0;
    wiq_base64_encode(size == 0 ? &none : static_cast<const u8*>(bytes), size, text.data(),
                      &length);
    text.resize(length);
    return text;
}
/** Decodes base64 text. Returns the bytes, or WIQ_ERR_INVALID_VALUE (-1011) for an invalid
 *  character. */
inline result<std::vector<u8>> base64_decode(std::string_view text) {
    std::vector<u8> bytes(wiq_base64_decode_len(text.data(), text.size()) + 1);
    std::size_t size = bytes.size();
    const i32 status =
        wiq_base64_decode(text.empty() ? "" : text.data(), text.size(), bytes.data(), &size);
    if (status != 0)
        return result<std::vector<u8>>::failure(status);
    bytes.resize(size);
    return bytes;
}

/** The layout of a memory dump; see wiq_memdump_ex(). */
struct dump_layout {
    int line_bytes = 16;  /**< bytes in a line */
    int group_bytes = 4;  /**< bytes in a group */
    int block_bytes = 8;  /**< bytes in a block */
    int block_gap = 1;    /**< spaces after a block */
    bool ascii = true;    /**< true for a column of characters */
    bool pad_last = true; /**< true to fill a short last line with spaces */
};
/** Dumps memory line by line: calls `line(u64 offset, std::string_view hex, std::string_view
 *  ascii)`, which may throw, for each line. Returns 0; WIQ_ERR_INVALID_ARG (-7000) if `bytes` is
 *  NULL, `size` is 0 or the block gap is negative; WIQ_ERR_NO_MEMORY (-5000) when out of memory. */
template <class Line>
status dump_memory(const void* bytes, std::size_t size, Line&& line,
                   const dump_layout& layout = {}) {
    struct state {
        std::remove_reference_t<Line>& line;
        detail::exception_keeper keeper;
    } state{line, {}};
    const i32 status = wiq_memdump_ex(
        static_cast<const u8*>(bytes), size, layout.line_bytes, layout.group_bytes,
        layout.block_bytes, layout.block_gap, layout.ascii, layout.pad_last,
        [](void* user, u64 offset, const char* hex, const char* ascii) -> i32 {
            auto* const self = static_cast<struct state*>(user);
            return self->keeper.run(static_cast<i32>(WIQ_ERR_FAILED), [&]() -> i32 {
                self->line(offset, std::string_view(hex),
                           std::string_view(ascii == nullptr ? "" : ascii));
                return 0;
            });
        },
        &state);
    state.keeper.rethrow();
    return status;
}

/** Returns the number of logical blocks of a drive with a capacity in decimal gigabytes (IDEMA). */
inline u64 lba_count(u64 gigabytes, int sector_size) noexcept {
    return wiq_get_lba_count_idema(gigabytes, sector_size);
}
/** Returns the number of bytes of a drive with a capacity in decimal gigabytes (IDEMA). */
inline u64 capacity_bytes(u64 gigabytes, int sector_size) noexcept {
    return wiq_gb_to_bytes_idema(gigabytes, sector_size);
}
/** Returns the capacity in decimal gigabytes of a drive with this many logical blocks (IDEMA). */
inline u64 capacity_gigabytes(u64 blocks, int sector_size) noexcept {
    return wiq_get_cap_idema(blocks, sector_size);
}

/** @} */

}  // namespace ke

#endif
