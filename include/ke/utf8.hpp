/**
 * @file utf8.hpp
 * Parses JSON text in UTF-8 and writes documents in ASCII, with the helpers of ke_utils/utf8.h.
 */
#ifndef KE_UTF8_HPP
#define KE_UTF8_HPP

#include "ke/json.hpp"
#include "ke_utils/utf8.h"

namespace ke {

/** @addtogroup cpp
 *  @{ */

/** Parses a UTF-8 document, with or without a byte order mark. The location in the status of a
 *  failure is a location in `text`. */
inline result<json> parse_utf8(std::string_view text, load_flags flags = {}) {
    wiq_json_load_error error;
    wiq_json_t* const node =
        ke_json_loads_utf8(text.data(), text.size(), flags.bits<i32>(), &error);
    return node != nullptr ? result<json>(json::share(node)) : result<json>(status(error));
}

/** Returns the document as ASCII text, which json::parse() can read back, or ke::err_empty for an
 *  empty view. */
inline result<std::string> dump_ascii(json_view value, dump_flags flags = {}) {
    if (!value)
        return result<std::string>::failure(err_empty);
    char* text = nullptr;
    const i32 length = ke_json_sdump_ascii(value.node(), &text, flags.bits());
    if (length < 0)
        return result<std::string>::failure(length);
    const c_text owner(text);
    return std::string(text, static_cast<std::size_t>(length));
}

/** @} */

}  // namespace ke

#endif
