/**
 * @file error_code.hpp
 * Converts statuses to std::error_code, for code that reports errors that way.
 */
#ifndef KE_ERROR_CODE_HPP
#define KE_ERROR_CODE_HPP

#include <system_error>

#include "ke/status.hpp"

namespace ke {

/** @addtogroup cpp
 *  @{ */

namespace detail {
class status_category final : public std::error_category {
  public:
    const char* name() const noexcept override { return "ke_utils"; }
    std::string message(int code) const override { return status_text(code); }
    std::error_condition default_error_condition(int code) const noexcept override {
        switch (code) {
            case WIQ_ERR_NO_MEMORY:
                return std::errc::not_enough_memory;
            case WIQ_ERR_NOT_FOUND:
            case WIQ_ERR_PATH_NOT_FOUND:
                return std::errc::no_such_file_or_directory;
            case WIQ_ERR_ACCESS_DENIED:
                return std::errc::permission_denied;
            case WIQ_ERR_ALREADY_EXISTS:
                return std::errc::file_exists;
            case WIQ_ERR_INVALID_ARG:
                return std::errc::invalid_argument;
            case WIQ_ERR_RANGE:
                return std::errc::result_out_of_range;
            case WIQ_ERR_IO:
                return std::errc::io_error;
            default:
                return std::error_condition(code, *this);
        }
    }
};
}  // namespace detail

/** Returns the error category of the statuses of the C interface and of ke::err_empty. */
inline const std::error_category& error_category() noexcept {
    static const detail::status_category category;
    return category;
}
/** Converts a status to an error code. */
inline std::error_code make_error_code(const status& status) noexcept {
    return std::error_code(status.code(), error_category());
}

/** @} */

}  // namespace ke

#endif
