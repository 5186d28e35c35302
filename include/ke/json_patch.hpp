/**
 * @file json_patch.hpp
 * Applies changes that a second document describes: JSON merge patch (RFC 7396) and JSON patch (RFC
 * 6902).
 */
#ifndef KE_JSON_PATCH_HPP
#define KE_JSON_PATCH_HPP

#include <utility>
#include <vector>

#include "ke/json.hpp"

namespace ke {

/** @addtogroup cpp
 *  @{ */

namespace detail {
// Replaces the handle's value with another one, also in its container if it is in one.
inline status become(json& target, json value) {
    if (parent_of(target.node()) != nullptr) {
        const json_view next = value;
        json keep(next);
        KE_TRY(target.ref().replace(std::move(value)));
        target = std::move(keep);
    } else {
        target = std::move(value);
    }
    return {};
}
}  // namespace detail

/**
 * Merges a patch into a document (RFC 7396): a member that is null in the patch is removed, an
 * object in the patch is merged member by member, and any other value replaces the one that is
 * there. Patches of any depth can be merged.
 * @return 0; ke::err_empty if a handle is empty; WIQ_ERR_NO_MEMORY (-5000) when out of memory, in
 *         which case a part of the patch may have been merged
 */
inline status merge_patch(json& target, json_view patch) {
    if (!target || !patch)
        return err_empty;
    if (!patch.is_object()) {
        auto copy = patch.clone();
        if (!copy)
            return copy.status();
        return detail::become(target, *std::move(copy));
    }
    if (!target.is_object()) {
        json fresh = json::object();
        if (!fresh)
            return WIQ_ERR_NO_MEMORY;
        KE_TRY(detail::become(target, std::move(fresh)));
    }
    // If the patch is in the same document as the target, it is read from a copy.
    json own_patch;
    if (patch.root() == target.view().root() &&
        patch.root().node() == target.view().root().node()) {
        auto copy = patch.clone();
        if (!copy)
            return copy.status();
        own_patch = *std::move(copy);
        patch = own_patch;
    }
    std::vector<std::pair<json_ref, json_view>> waiting{{target.ref(), patch}};
    while (!waiting.empty()) {
        const auto [into, from] = waiting.back();
        json_ref object = into;
        waiting.pop_back();
        for (const auto [name, value] : from.members()) {
            const std::string key_text(name);
            if (value.is_null()) {
                if (object.contains(key_text))
                    KE_TRY(object.erase(key_text));
            } else if (value.is_object()) {
                if (!object[key_text].is_object()) {
                    json fresh = json::object();
                    if (!fresh)
                        return WIQ_ERR_NO_MEMORY;
                    KE_TRY(object.set(key_text, std::move(fresh)));
                }
                waiting.emplace_back(object[key_text], value);
            } else {
                KE_TRY(object.set(key_text, value));
            }
        }
    }
    return {};
}

namespace detail {

// Splits a JSON pointer into the pointer without its last step, and that step with its escapes
// resolved. Returns false if there is no step.
inline bool split(std::string_view text, std::string& above, std::string& last) {
    const std::size_t slash = text.rfind('/');
    if (slash == std::string_view::npos)
        return false;
    above = text.substr(0, slash);
    last.clear();
    for (std::size_t i = slash + 1; i < text.size(); ++i) {
        const bool escape = text[i] == '~' && i + 1 < text.size();
        i += escape;
        last += !escape ? text[i] : text[i] == '0' ? '~' : '/';
    }
    return true;
}
// Returns the index that a step names, in the form of RFC 6901 and with at most nine digits; -1 for
// anything else.
inline i32 index_of_step(const std::string& step) {
    if (step.empty() || step.size() > 9 || (step.size() > 1 && step[0] == '0') ||
        step.find_first_not_of("0123456789") != std::string::npos)
        return -1;
    i32 index = 0;
    for (const char c : step)
        index = index * 10 + (c - '0');
    return index;
}

inline status patch_add(json& target, const std::string& where, json value) {
    if (where.empty()) {
        target = std::move(value);
        return {};
    }
    std::string above;
    std::string step;
    if (!split(where, above, step) || where[0] != '/')
        return WIQ_ERR_PTR_SYNTAX;
    json_ref container = target.at({above.c_str()});
    if (container.is_object())
        return container.set(step, std::move(value));
    if (!container.is_array())
        return container ? static_cast<i32>(WIQ_ERR_WRONG_TYPE)
                         : static_cast<i32>(WIQ_ERR_KEY_NOT_FOUND);
    const i32 index = step == "-" ? container.size() : index_of_step(step);
    if (index < 0 || index > container.size())
        return WIQ_ERR_INDEX_OUT_OF_RANGE;
    return container.insert(index, std::move(value));
}
inline result<json> patch_take(json& target, const std::string& where) {
    if (where.empty())
        return std::exchange(target, json());
    return target.take(pointer{where.c_str()});
}

inline bool is_patch_operation(std::string_view what) {
    for (const char* known : {"add", "remove", "replace", "move", "copy", "test"}) {
        if (what == known)
            return true;
    }
    return false;
}

inline status patch_one(json& target, json_view step) {
    const auto what = step.get<std::string_view>("op");
    if (!what)
        return what.status();
    if (!is_patch_operation(*what))
        return WIQ_ERR_INVALID_ARG;
    const auto where = step.get<std::string>("path");
    if (!where)
        return where.status();
    if (*what == "remove")
        return patch_take(target, *where).status();
    if (*what == "move" || *what == "copy") {
        const auto from = step.get<std::string>("from");
        if (!from)
            return from.status();
        if (*what == "move" && where->size() > from->size() &&
            where->compare(0, from->size(), *from) == 0 && (*where)[from->size()] == '/')
            return WIQ_ERR_INVALID_ARG;  // a value cannot be moved into itself
        const auto source = target.view().get<json_view>(pointer{from->c_str()});
        if (!source)
            return source.status();
        auto value = *what == "move" ? patch_take(target, *from) : source->clone();
        return value ? patch_add(target, *where, *std::move(value)) : value.status();
    }
    const json_view value = step["value"];
    if (!value)
        return WIQ_ERR_KEY_NOT_FOUND;
    if (*what == "test") {
        const auto there = target.view().get<json_view>(pointer{where->c_str()});
        if (!there)
            return there.status();
        return *there == value ? 0 : static_cast<i32>(WIQ_ERR_INVALID_VALUE);
    }
    auto copy = value.clone();
    if (!copy)
        return copy.status();
    if (*what == "add")
        return patch_add(target, *where, *std::move(copy));
    if (where->empty())
        return patch_add(target, *where, *std::move(copy));
    const auto there = target.view().get<json_view>(pointer{where->c_str()});
    if (!there)
        return there.status();
    return target.at({where->c_str()}).replace(*std::move(copy)).status();
}

}  // namespace detail

/**
 * Applies the operations of a JSON patch (RFC 6902): add, remove, replace, move, copy and test.
 * Either all of them take effect or none: they are applied to a copy, which replaces the document
 * when all have succeeded.
 * @return 0; ke::err_empty if a handle is empty; WIQ_ERR_WRONG_TYPE (-7018) if the patch is not an
 *         array; WIQ_ERR_INVALID_VALUE (-1011) if a test fails; WIQ_ERR_INVALID_ARG (-7000) for an
 *         unknown operation, or for moving a value into itself; a status of a look-up or of set();
 *         WIQ_ERR_NO_MEMORY when out of memory
 */
inline status apply_patch(json& target, json_view patch) {
    if (!target || !patch)
        return err_empty;
    if (!patch.is_array())
        return WIQ_ERR_WRONG_TYPE;
    auto work = target.clone();
    if (!work)
        return work.status();
    for (const json_view step : patch.elements()) {
        KE_TRY(detail::patch_one(*work, step));
        if (!*work)  // the whole document was removed
            *work = json::null();
        if (!*work)
            return WIQ_ERR_NO_MEMORY;
    }
    return detail::become(target, *std::move(work));
}

/** @} */

}  // namespace ke

#endif
