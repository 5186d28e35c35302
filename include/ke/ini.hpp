/**
 * @file ini.hpp
 * INI files: a reader that gives a map with the place of each value, and a form with callbacks for files that
 * repeat sections or keys.
 */
#ifndef KE_INI_HPP
#define KE_INI_HPP

#include <map>
#include <string>

#include "ke/callback.hpp"
#include "ke/files.hpp"

namespace ke {

/** @addtogroup cpp
 *  @{ */

/** A value of an INI file. */
struct ini_value {
    std::string text;                 /**< without quotes */
    WiqIniLocation location = {};     /**< of the value */
    WiqIniLocation key_location = {}; /**< of its key */
};

/** A section: its keys, and what follows its name in the brackets. */
struct ini_section {
    std::map<std::string, ini_value, std::less<>> values; /**< of equal keys the last one */
    std::string argument;                                 /**< "" without one */
    WiqIniLocation location = {};                         /**< of its name */
};

namespace detail {
template <class Handler>
struct ini_state {
    Handler& handler;
    exception_keeper keeper;
    wiq_json_load_error mistake{0, 0, 0, 0};
};
}  // namespace detail

/**
 * Reads an INI file with a handler that has `status section(name, location, argument, argument_location)` and
 * `status key(key, location, value, value_location)`: texts are std::string_view, valid during the call. A
 * failure or exception of the handler ends the parse and is what the call gives.
 * @return 0; WIQ_ERR_INI_SYNTAX with the place of the mistake; the handler's status; -5000; -7000 for NULL
 */
template <class Handler>
status parse_ini(std::FILE* stream, Handler&& handler) {
    using state_type = detail::ini_state<std::remove_reference_t<Handler>>;
    state_type state{handler, {}};
    constexpr i32 stopped = WIQ_ERR_FAILED;
    const i32 status = wiq_ini_parse(
        stream,
        [](const char* name, const WiqIniLocation* at, const char* argument,
           const WiqIniLocation* argument_at, void* user) -> i32 {
            auto* const self = static_cast<state_type*>(user);
            return self->keeper.run(stopped, [&]() -> i32 {
                return ke::status(self->handler.section(
                                      std::string_view(name), *at,
                                      std::string_view(argument == nullptr ? "" : argument),
                                      *argument_at))
                    .code();
            });
        },
        [](const char* key, const WiqIniLocation* at, const char* value,
           const WiqIniLocation* value_at, void* user) -> i32 {
            auto* const self = static_cast<state_type*>(user);
            return self->keeper.run(stopped, [&]() -> i32 {
                return ke::status(self->handler.key(std::string_view(key), *at,
                                                    std::string_view(value), *value_at))
                    .code();
            });
        },
        [](const WiqIniLocation* at, void* user) {
            auto* const self = static_cast<state_type*>(user);
            self->mistake = {WIQ_ERR_INI_SYNTAX, static_cast<i32>(at->line),
                             static_cast<i32>(at->column), 0};
        },
        &state);
    state.keeper.rethrow();
    return status == WIQ_ERR_INI_SYNTAX ? ke::status(state.mistake) : ke::status(status);
}

class ini;
namespace detail {
template <>
inline constexpr bool lends<ini> = true;
}  // namespace detail

/** An INI file as a map of sections. A section that comes again goes on with the first one. */
class ini {
  public:
    /** Reads a stream to its end. */
    static result<ini> read(std::FILE* stream) {
        ini made;
        filler handler{made.sections_, nullptr};
        KE_TRY(parse_ini(stream, handler));
        return made;
    }
    /** Reads a file. */
    static result<ini> load(const text_arg& path) {
        auto stream = open_file(path, "rb");
        if (!stream)
            return stream.status();
        return read(stream->get());
    }

    /** The sections by name. */
    const std::map<std::string, ini_section, std::less<>>& sections() const& noexcept {
        return sections_;
    }
    /** Those of a temporary, handed over. */
    std::map<std::string, ini_section, std::less<>> sections() && { return std::move(sections_); }
    /** Returns a value with its place, or nullptr if the key is absent. */
    const ini_value* find(std::string_view section, std::string_view key) const& {
        const auto found = sections_.find(section);
        if (found == sections_.end())
            return nullptr;
        const auto value = found->second.values.find(key);
        return value == found->second.values.end() ? nullptr : &value->second;
    }
    const ini_value* find(std::string_view section, std::string_view key) && = delete;
    /** A value's text, or another one. */
    std::string value_or(std::string_view section, std::string_view key,
                         std::string_view otherwise) const {
        const ini_value* const value = find(section, key);
        return value != nullptr ? value->text : std::string(otherwise);
    }

  private:
    struct filler {
        std::map<std::string, ini_section, std::less<>>& sections;
        ini_section* open;

        status section(std::string_view name, const WiqIniLocation& location,
                       std::string_view argument, const WiqIniLocation&) {
            const auto [place, fresh] = sections.try_emplace(std::string(name));
            open = &place->second;
            if (fresh) {
                open->argument = argument;
                open->location = location;
            }
            return {};
        }
        status key(std::string_view key, const WiqIniLocation& location, std::string_view value,
                   const WiqIniLocation& value_location) {
            open->values.insert_or_assign(std::string(key),
                                          ini_value{std::string(value), value_location, location});
            return {};
        }
    };

    std::map<std::string, ini_section, std::less<>> sections_;
};

/** @} */

}  // namespace ke

#endif
