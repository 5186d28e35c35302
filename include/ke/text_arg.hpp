/**
 * @file text_arg.hpp
 * How the layer takes texts: ke::text_arg hands a NUL-terminated one to the C interface, without a copy
 * where there is one already. Users never name it; they pass literals, std::string, std::string_view.
 */
#ifndef KE_TEXT_ARG_HPP
#define KE_TEXT_ARG_HPP

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

#include "ke/owned.hpp"
#include "ke/status.hpp"

namespace ke {

/** @addtogroup cpp
 *  @{ */

/**
 * A text on its way into a call. `const char*`, literals and `std::string` are passed as they are; a
 * `std::string_view`, which need not end in a NUL, is copied: on the stack up to 255 bytes, else on the
 * heap. A text of known length with a NUL inside is refused (-7000), since no string here can hold it.
 */
class text_arg {
  public:
    /** A literal, or another constant array; ends at its NUL. */
    template <std::size_t N>
    text_arg(const char (&text)[N]) noexcept : text_(text), literal_(true) {}
    /** A buffer; ends at its NUL. */
    template <std::size_t N>
    text_arg(char (&text)[N]) noexcept : text_(text) {}
    /** A pointer to a NUL-terminated text; NULL is what the function called says of it. */
    template <class T,
              std::enable_if_t<std::is_same_v<T, const char*> || std::is_same_v<T, char*>, int> = 0>
    text_arg(const T& text) noexcept : text_(text) {}
    /** A string. */
    text_arg(const std::string& text) noexcept : text_(text.c_str()) { refuse_nul(text); }
    /** A string from the library. */
    text_arg(const c_text& text) noexcept : text_(text.get()) {}
    /** A view, and what becomes one by itself; copied. */
    template <class T, std::enable_if_t<std::is_convertible_v<const T&, std::string_view> &&
                                            !std::is_convertible_v<const T&, const char*> &&
                                            !std::is_same_v<T, std::string>,
                                        int> = 0>
    text_arg(const T& text) noexcept {
        copy(static_cast<std::string_view>(text));
    }
    /** No text. */
    text_arg(std::nullptr_t) = delete;
    text_arg(const text_arg&) = delete;
    text_arg& operator=(const text_arg&) = delete;
    ~text_arg() {
        if (on_heap_)
            std::free(const_cast<char*>(text_));
    }

    /** The text; NULL where status() is a failure. */
    const char* c_str() const noexcept { return text_; }
    /** 0; -7000 for a text with a NUL inside; -5000 if there was no memory to copy it. */
    i32 status() const noexcept { return status_; }
    /** Whether it was written as a constant array and begins with "/". */
    bool is_literal_path() const noexcept { return literal_ && text_[0] == '/'; }

  private:
    void refuse_nul(std::string_view text) noexcept {
        if (!text.empty() && std::memchr(text.data(), '\0', text.size()) != nullptr) {
            text_ = nullptr;
            status_ = WIQ_ERR_INVALID_ARG;
        }
    }
    void copy(std::string_view text) noexcept {
        char* to = room_;
        if (text.size() >= sizeof room_) {
            to = static_cast<char*>(std::malloc(text.size() + 1));
            if (to == nullptr) {
                status_ = WIQ_ERR_NO_MEMORY;
                return;
            }
            on_heap_ = true;
        }
        if (!text.empty())
            std::memcpy(to, text.data(), text.size());
        to[text.size()] = '\0';
        text_ = to;
        if (!text.empty() && std::memchr(to, '\0', text.size()) != nullptr) {
            if (on_heap_)
                std::free(to);
            on_heap_ = false;
            text_ = nullptr;
            status_ = WIQ_ERR_INVALID_ARG;
        }
    }

    const char* text_ = nullptr;
    i32 status_ = 0;
    bool literal_ = false;
    bool on_heap_ = false;
    char room_[256];
};

/** The key of a member, where a literal that begins with "/" would be taken for a mistaken pointer. */
inline std::string_view key(std::string_view text) noexcept {
    return text;
}

/** @} */

}  // namespace ke

#endif
