/**
 * @file text_arg.hpp
 * Defines ke::text_arg, the type of the text parameters that are passed on to the C interface, as
 * NUL-terminated text. It copies a text only if the original may not end in a NUL. Users never name
 * this type: they pass literals, std::string or std::string_view.
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
 * A text that is passed to a function. `const char*`, literals and `std::string` are passed without
 * a copy. A `std::string_view`, which need not end in a NUL, is copied: to the stack if it has 255
 * bytes or fewer, otherwise to the heap. A text of known length with a NUL inside is refused with
 * WIQ_ERR_INVALID_ARG (-7000), since the C interface would cut it at the NUL.
 */
class text_arg {
  public:
    /** Takes a literal or another constant array. The text ends at the first NUL. */
    template <std::size_t N>
    text_arg(const char (&text)[N]) noexcept : text_(text), literal_(true) {}
    /** Takes a buffer. The text ends at the first NUL. */
    template <std::size_t N>
    text_arg(char (&text)[N]) noexcept : text_(text) {}
    /** Takes a pointer to a NUL-terminated text. What NULL means depends on the function that is
     *  called. */
    template <class T,
              std::enable_if_t<std::is_same_v<T, const char*> || std::is_same_v<T, char*>, int> = 0>
    text_arg(const T& text) noexcept : text_(text) {}
    /** Takes a string. */
    text_arg(const std::string& text) noexcept : text_(text.c_str()) { refuse_nul(text); }
    /** Takes a string that the library allocated. */
    text_arg(const c_text& text) noexcept : text_(text.get()) {}
    /** Takes and copies a std::string_view, or anything that converts to one implicitly. */
    template <class T, std::enable_if_t<std::is_convertible_v<const T&, std::string_view> &&
                                            !std::is_convertible_v<const T&, const char*> &&
                                            !std::is_same_v<T, std::string>,
                                        int> = 0>
    text_arg(const T& text) noexcept {
        copy(static_cast<std::string_view>(text));
    }
    /** Deleted: nullptr is not a text. */
    text_arg(std::nullptr_t) = delete;
    text_arg(const text_arg&) = delete;
    text_arg& operator=(const text_arg&) = delete;
    ~text_arg() {
        if (on_heap_)
            std::free(const_cast<char*>(text_));
    }

    /** Returns the text; NULL if status() is a failure. */
    const char* c_str() const noexcept { return text_; }
    /** Returns 0; WIQ_ERR_INVALID_ARG for a text with a NUL inside; WIQ_ERR_NO_MEMORY (-5000) when
     *  out of memory to copy it. */
    i32 status() const noexcept { return status_; }
    /** Tells whether the text is a literal (or another constant array) that begins with "/". */
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

/** Marks a text as the key of a member. Use it for a key that begins with "/": a literal like that
 *  would be refused as a JSON pointer whose suffix was forgotten. */
inline std::string_view key(std::string_view text) noexcept {
    return text;
}

/** @} */

}  // namespace ke

#endif
