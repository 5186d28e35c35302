/**
 * @file json_edit.hpp
 * How ke::json_ref changes documents: storing, taking out, removing, sorting. Tests and comparisons of the
 * caller run before anything changes, never inside a call of the C interface, so they may throw. Included
 * by json.hpp.
 */
#ifndef KE_JSON_HPP
#include "ke/json.hpp"  // which includes this one where it is due
#elif !defined(KE_JSON_EDIT_HPP)
#define KE_JSON_EDIT_HPP

#include <string>
#include <vector>

namespace ke {

/** @addtogroup cpp
 *  @{ */

template <class V>
status json_ref::set(const text_arg& key, V&& value) {
    if (node_ == nullptr)
        return err_empty;
    if (key.status() != 0)
        return key.status();
    if (key.is_literal_path())
        return WIQ_ERR_PTR_SYNTAX;
    return detail::store(detail::member_place{node_, key.c_str()}, std::forward<V>(value));
}
template <class V>
status json_ref::set(pointer where, V&& value) {
    if (node_ == nullptr)
        return err_empty;
    return detail::store(detail::pointer_place{node_, where.text}, std::forward<V>(value));
}
template <class V, class I, std::enable_if_t<std::is_integral_v<I>, int>>
status json_ref::set(I index, V&& value) {
    i32 place = 0;
    if (node_ == nullptr)
        return err_empty;
    if (!detail::index_of(index, place))
        return WIQ_ERR_INDEX_OUT_OF_RANGE;
    return detail::store(detail::index_place{node_, place}, std::forward<V>(value));
}
template <class V>
status json_ref::push_back(V&& value) {
    if (node_ == nullptr)
        return err_empty;
    return detail::store(detail::back_place{node_}, std::forward<V>(value));
}
template <class V>
status json_ref::insert(i32 index, V&& value) {
    if (node_ == nullptr)
        return err_empty;
    if (!is_array())
        return WIQ_ERR_INVALID_ARG;
    const i32 size = this->size();
    if (index < 0 || index > size)
        return WIQ_ERR_INDEX_OUT_OF_RANGE;
    std::vector<json> behind(static_cast<std::size_t>(size - index));
    KE_TRY(push_back(std::forward<V>(value)));
    // From here on the array has room for all, so nothing fails: the elements behind the place are taken
    // off, and come back behind the new one.
    const json added = json(json_view(wiq_json_array_pop_elem(node_)));
    for (auto last = behind.rbegin(); last != behind.rend(); ++last)
        *last = json(json_view(wiq_json_array_pop_elem(node_)));
    i32 status = wiq_json_array_push_ext(node_, added.node(), nullptr);
    for (const json& element : behind) {
        const i32 pushed = wiq_json_array_push_ext(node_, element.node(), nullptr);
        status = status != 0 ? status : pushed;
    }
    return status;
}

inline status json_ref::remove_at(const text_arg& key) const noexcept {
    return wiq_json_obj_remove(node_, key.c_str());
}
// Gives an array other contents that it holds already: taken off, the elements come back in their new order,
// for which the array has room.
inline status json_ref::refill(const std::vector<json>& elements) const noexcept {
    while (wiq_json_array_pop_elem(node_) != nullptr) {
    }
    i32 status = 0;
    for (const json& element : elements) {
        const i32 pushed = wiq_json_array_push_ext(node_, element.node(), nullptr);
        status = status != 0 ? status : pushed;
    }
    return status;
}
template <class I, std::enable_if_t<std::is_integral_v<I>, int>>
status json_ref::remove_at(I index) const {
    const i32 size = this->size();
    i32 place = 0;
    (void)detail::index_of(index, place);
    place = place < 0 ? place + size : place;
    if (place == size - 1)
        return wiq_json_array_pop(node_, 1);
    if (is_weak()) {  // whose order filtering does not keep
        const auto range = json_view::elements();
        std::vector<json> kept(range.begin(), range.end());
        kept.erase(kept.begin() + place);
        return refill(kept);
    }
    return wiq_json_array_filter(
        node_, [](wiq_json_t*, void* left) { return (*static_cast<i32*>(left))-- != 0; }, &place);
}
inline status json_ref::remove_at(pointer where) const {
    // The container is what the pointer names without its last step.
    const std::string_view text = where.text;
    const std::size_t last = text.rfind('/');
    if (last == std::string_view::npos)
        return WIQ_ERR_INVALID_ARG;
    const json_ref container = at({std::string(text.substr(0, last)).c_str()});
    const wiq_json_t* const gone = at(where).node();
    if (container.is_object()) {
        std::string key;
        for (std::size_t i = last + 1; i < text.size(); ++i) {
            const bool escape = text[i] == '~';
            i += escape;
            key += !escape ? text[i] : text[i] == '0' ? '~' : '/';
        }
        return container.remove_at(key);
    }
    i32 index = 0;
    for (const json_view element : container.json_view::elements()) {
        if (element.node() == gone)
            return container.remove_at(index);
        ++index;
    }
    return WIQ_ERR_INDEX_OUT_OF_RANGE;
}
template <class Where>
result<json> json_ref::take(const Where& where) const {
    const result<json_view> found = json_view::get<json_view>(where);
    if (!found)
        return found.status();
    json taken(*found);
    KE_TRY(remove_at(where));
    return taken;
}
inline result<json> json_ref::take_back() const {
    if (node_ == nullptr)
        return result<json>::failure(err_empty);
    wiq_json_t* const last = wiq_json_array_pop_elem(node_);
    if (last != nullptr)
        return json(json_view(last));
    return result<json>::failure(is_array() ? WIQ_ERR_INDEX_OUT_OF_RANGE : WIQ_ERR_INVALID_ARG);
}
template <class Where>
status json_ref::erase(const Where& where) const {
    KE_TRY(json_view::get<json_view>(where));
    return remove_at(where);
}

template <class Test>
result<i32> json_ref::erase_if(Test&& test) const {
    if (node_ == nullptr)
        return result<i32>::failure(err_empty);
    if (is_object()) {
        std::vector<std::string> doomed;
        for (const auto [key, value] : json_view::members()) {
            if (test(value))
                doomed.emplace_back(key);
        }
        for (const std::string& key : doomed)
            KE_TRY(remove_at(key));
        return static_cast<i32>(doomed.size());
    }
    if (!is_array())
        return result<i32>::failure(WIQ_ERR_INVALID_ARG);
    std::vector<json> kept;
    std::vector<char> keeps;
    for (const json_view element : json_view::elements()) {
        const bool goes = test(element);
        keeps.push_back(goes ? 0 : 1);
        if (!goes && is_weak())
            kept.emplace_back(element);
    }
    i32 gone = 0;
    for (const char keep : keeps)
        gone += keep == 0;
    if (is_weak()) {  // whose order filtering does not keep
        KE_TRY(refill(kept));
        return gone;
    }
    const char* answer = keeps.data();
    KE_TRY(status(wiq_json_array_filter(
        node_, [](wiq_json_t*, void* user) { return *(*static_cast<const char**>(user))++ != 0; },
        &answer)));
    return gone;
}

namespace detail {
// A stable sort of its own: <algorithm> costs every file that includes this a tenth of a second.
template <class Less>
void merge_sort(std::vector<json_view>& list, Less& less) {
    std::vector<json_view> other(list.size());
    for (std::size_t run = 1; run < list.size(); run *= 2) {
        for (std::size_t from = 0; from < list.size(); from += 2 * run) {
            const std::size_t middle = from + run < list.size() ? from + run : list.size();
            const std::size_t end = middle + run < list.size() ? middle + run : list.size();
            std::size_t left = from;
            std::size_t right = middle;
            for (std::size_t to = from; to < end; ++to) {
                const bool take_right =
                    left == middle || (right < end && less(list[right], list[left]));
                other[to] = take_right ? list[right++] : list[left++];
            }
        }
        list.swap(other);
    }
}
}  // namespace detail

template <class Less>
status json_ref::sort(Less&& less) const {
    if (node_ == nullptr)
        return err_empty;
    if (!is_array())
        return WIQ_ERR_INVALID_ARG;
    const std::size_t size = static_cast<std::size_t>(this->size());
    std::vector<json_view> order;
    order.reserve(size);
    for (const json_view element : json_view::elements())
        order.push_back(element);
    detail::merge_sort(order, less);
    return refill(std::vector<json>(order.begin(), order.end()));
}

template <class V>
result<json> json_ref::replace(V&& value) const {
    struct place {
        wiq_json_t* old;
        i32 node(wiq_json_t* value) const noexcept {
            return detail::parent_of(old) == nullptr ? static_cast<i32>(WIQ_ERR_INVALID_ARG)
                                                     : wiq_json_swap_child(old, value);
        }
    };
    if (node_ == nullptr)
        return result<json>::failure(err_empty);
    json old{json_view(node_)};
    KE_TRY(detail::store(place{node_}, std::forward<V>(value)));
    return old;
}

/** @} */

}  // namespace ke

#endif
