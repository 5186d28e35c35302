/**
 * @file ini.hpp
 * Reads INI files: ke::ini reads a file into a map that also holds the location of each value, and
 * ke::parse_ini() calls a handler for each section and key, for files that repeat them.
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
    std::string text;                 /**< the value, without quotes */
    WiqIniLocation location = {};     /**< location of the value */
    WiqIniLocation key_location = {}; /**< location of its key */
};

/** A section: its values by key, and the text that follows its name in the brackets. */
struct ini_section {
    std::map<std::string, ini_value, std::less<>> values; /**< the last one of equal keys */
    std::string argument;                                 /**< "" if the section has none */
    WiqIniLocation location = {};                         /**< location of its name */
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
 * Reads an INI file and calls a handler for each section and key. The handler has two functions:
 * `status section(name, location, argument, argument_location)` and
 * `status key(key, location, value, value_location)`. The texts are of type std::string_view and
 * valid during the call. If the handler returns a failure or throws, parsing ends, and this
 * function returns that failure or throws that exception.
 * @return 0; WIQ_ERR_INI_SYNTAX (-7010) with the location of the error; the handler's status;
 *         WIQ_ERR_NO_MEMORY (-5000) when out of memory; WIQ_ERR_INVALID_ARG (-7000) for a stream
 *         that is NULL; WIQ_ERR_IO (-3) for a line of 2^31 bytes or more
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

/** An INI file as a map of sections. If a section occurs again, its keys are added to those of the
 *  first one, which keeps its argument and location. */
class ini {
  public:
    /** Reads a stream to its end. Returns the statuses of parse_ini(). */
    static result<ini> read(std::FILE* stream) {
        ini made;
        filler handler{made.sections_, nullptr};
        KE_TRY(parse_ini(stream, handler));
        return made;
    }
    /** Reads a file. Returns the statuses of open_file() and parse_ini(). */
    static result<ini> load(const text_arg& path) {
        auto stream = open_file(path, "rb");
        if (!stream)
            return stream.status();
        return read(stream->get());
    }

    /** Returns the sections by name. */
    const std::map<std::string, ini_section, std::less<>>& sections() const& noexcept {
        return sections_;
    }
    /** Moves the sections out of a temporary and returns them. */
    std::map<std::string, ini_section, std::less<>> sections() && { return std::move(sections_); }
    /** Returns a value with its location, or nullptr if the section or the key is absent. */
    const ini_value* find(std::string_view section, std::string_view key) const& {
        const auto found = sections_.find(section);
        if (found == sections_.end())
            return nullptr;
        const auto value = found->second.values.find(key);
        return value == found->second.values.end() ? nullptr : &value->second;
    }
    const ini_value* find(std::string_view section, std::string_view key) && = delete;
    /** Returns the text of a value, or `otherwise` if the section or the key is absent. */
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
            const auto [entry, fresh] = sections.try_emplace(std::string(name));
            open = &entry->second;
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
