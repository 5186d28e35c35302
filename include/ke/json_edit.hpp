/**
 * @file json_edit.hpp
 * Implements the functions of ke::json_ref that change documents: storing, taking out, removing and
 * sorting. The caller's tests and comparisons run before anything changes, and never inside a call
 * of the C interface, so they may throw. Included by json.hpp.
 */
#ifndef KE_JSON_HPP
#include "ke/json.hpp"  // which includes this header in the right place
#elif !defined(KE_JSON_EDIT_HPP)
#define KE_JSON_EDIT_HPP

#include <string>

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
    i32 position = 0;
    if (node_ == nullptr)
        return err_empty;
    if (!detail::index_of(index, position))
        return WIQ_ERR_INDEX_OUT_OF_RANGE;
    return detail::store(detail::index_place{node_, position}, std::forward<V>(value));
}
template <class V>
status json_ref::push_back(V&& value) {
    if (node_ == nullptr)
        return err_empty;
    return detail::store(detail::back_place{node_}, std::forward<V>(value));
}
template <class V, class I, std::enable_if_t<std::is_integral_v<I>, int>>
status json_ref::insert(I index, V&& value) {
    if (node_ == nullptr)
        return err_empty;
    if (!is_array())
        return WIQ_ERR_INVALID_ARG;
    const i32 size = this->size();
    i32 position = 0;
    if (!detail::index_of(index, position) || position < 0 || position > size)
        return WIQ_ERR_INDEX_OUT_OF_RANGE;
    detail::fixed_array<json> following(static_cast<std::size_t>(size - position));
    KE_TRY(push_back(std::forward<V>(value)));
    // The array's table now has space for all elements, and removing elements does not shrink it,
    // so nothing fails from here on. The elements that belong after the new one are taken off the
    // end and appended again after it.
    const json added = json(json_view(wiq_json_array_pop_elem(node_)));
    for (std::size_t left = following.size(); left > 0; --left)
        following[left - 1] = json(json_view(wiq_json_array_pop_elem(node_)));
    i32 status = wiq_json_array_push_ext(node_, added.node(), nullptr);
    for (const json& element : following) {
        const i32 pushed = wiq_json_array_push_ext(node_, element.node(), nullptr);
        status = status != 0 ? status : pushed;
    }
    return status;
}

inline status json_ref::remove_at(const text_arg& key) noexcept {
    return wiq_json_obj_remove(node_, key.c_str());
}
// Replaces the contents of an array with elements that it already contains. It takes all elements
// off and appends the given ones in their new order. This does not fail, since removing elements
// does not shrink the array's table. The other elements are released.
inline status json_ref::refill(const json* elements, std::size_t count) noexcept {
    i32 status = wiq_json_array_pop(node_, size());
    for (std::size_t i = 0; i < count; ++i) {
        const i32 pushed = wiq_json_array_push_ext(node_, elements[i].node(), nullptr);
        status = status != 0 ? status : pushed;
    }
    return status;
}
template <class I, std::enable_if_t<std::is_integral_v<I>, int>>
status json_ref::remove_at(I index) {
    const i32 size = this->size();
    i32 position = 0;
    (void)detail::index_of(index, position);
    position = position < 0 ? position + size : position;
    if (position == size - 1)
        return wiq_json_array_pop(node_, 1);
    if (is_weak()) {  // wiq_json_array_filter() may change its order
        detail::fixed_array<json> kept(static_cast<std::size_t>(size - 1));
        for (i32 i = 0; i < size - 1; ++i)
            kept[static_cast<std::size_t>(i)] = (*this)[i < position ? i : i + 1];
        return refill(kept.begin(), kept.size());
    }
    return wiq_json_array_filter(
        node_, [](wiq_json_t*, void* left) { return (*static_cast<i32*>(left))-- != 0; },
        &position);
}
inline status json_ref::remove_at(pointer where) {
    // Without its last step, the pointer names the container.
    const std::string_view text = where.text;
    const std::size_t last = text.rfind('/');
    if (last == std::string_view::npos)
        return WIQ_ERR_INVALID_ARG;
    json_ref container = at({std::string(text.substr(0, last)).c_str()});
    if (container.is_object()) {
        std::string key;
        for (std::size_t i = last + 1; i < text.size(); ++i) {
            const bool escape = text[i] == '~';
            i += escape;
            key += !escape ? text[i] : text[i] == '0' ? '~' : '/';
        }
        return container.remove_at(key);
    }
    // A weak array may hold the same value twice, so the element is found by its index.
    u64 index = 0;
    KE_TRY(status(wiq_strtouint64(std::string(text.substr(last + 1)).c_str(), &index)));
    return container.remove_at(static_cast<i32>(static_cast<u32>(index)));
}
template <class Where>
result<json> json_ref::take(const Where& where) {
    const result<json_view> found = json_view::get<json_view>(where);
    if (!found)
        return found.status();
    json taken(*found);
    KE_TRY(remove_at(where));
    return taken;
}
inline result<json> json_ref::take_back() {
    if (node_ == nullptr)
        return result<json>::failure(err_empty);
    wiq_json_t* const last = wiq_json_array_pop_elem(node_);
    if (last != nullptr)
        return json(json_view(last));
    return result<json>::failure(is_array() ? WIQ_ERR_INDEX_OUT_OF_RANGE : WIQ_ERR_INVALID_ARG);
}
template <class Where>
status json_ref::erase(const Where& where) {
    KE_TRY(json_view::get<json_view>(where));
    return remove_at(where);
}

template <class Test>
result<i32> json_ref::erase_if(Test&& test) {
    if (node_ == nullptr)
        return result<i32>::failure(err_empty);
    if (is_object()) {
        const auto range = json_view::members();
        detail::fixed_array<std::string> doomed(static_cast<std::size_t>(range.size()));
        std::size_t gone = 0;
        for (const auto [key, value] : range) {
            if (test(value))
                doomed[gone++] = key;
        }
        for (std::size_t i = 0; i < gone; ++i)
            KE_TRY(remove_at(doomed[i]));
        return static_cast<i32>(gone);
    }
    if (!is_array())
        return result<i32>::failure(WIQ_ERR_INVALID_ARG);
    const std::size_t size = static_cast<std::size_t>(this->size());
    detail::fixed_array<bool> keeps(size);
    std::size_t at = 0;
    std::size_t gone = 0;
    for (const json_view element : json_view::elements()) {
        keeps[at] = !test(element);
        gone += keeps[at++] ? 0 : 1;
    }
    // Elements that the test appended stay.
    if (is_weak()) {  // wiq_json_array_filter() may change its order
        const std::size_t now = static_cast<std::size_t>(this->size());
        detail::fixed_array<json> kept(now);
        std::size_t left = 0;
        for (std::size_t i = 0; i < now; ++i) {
            if (i >= size || keeps[i])
                kept[left++] = (*this)[i];
        }
        KE_TRY(refill(kept.begin(), left));
    } else {
        struct answers {
            const bool* next;
            const bool* end;
        } given{keeps.begin(), keeps.begin() + at};
        KE_TRY(status(wiq_json_array_filter(
            node_,
            [](wiq_json_t*, void* user) {
                auto* const from = static_cast<answers*>(user);
                return from->next == from->end || *from->next++;
            },
            &given)));
    }
    return static_cast<i32>(gone);
}

inline status json_ref::clear() {
    if (node_ == nullptr)
        return err_empty;
    if (is_array())
        return wiq_json_array_pop(node_, size());
    if (!is_object())
        return WIQ_ERR_INVALID_ARG;
    for (const auto [key, value] : json_view::members())
        KE_TRY(status(wiq_json_obj_remove(node_, key.data())));
    return {};
}

namespace detail {
// A stable merge sort. Including <algorithm> instead would cost every file that includes this
// header a tenth of a second of compile time.
template <class Less>
void merge_sort(fixed_array<json_view>& list, Less& less) {
    fixed_array<json_view> other(list.size());
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
status json_ref::sort(Less&& less) {
    if (node_ == nullptr)
        return err_empty;
    if (!is_array())
        return WIQ_ERR_INVALID_ARG;
    const std::size_t size = static_cast<std::size_t>(this->size());
    detail::fixed_array<json_view> order(size);
    std::size_t at = 0;
    for (const json_view element : json_view::elements())
        order[at++] = element;
    detail::merge_sort(order, less);
    detail::fixed_array<json> sorted(size);
    for (at = 0; at < size; ++at)
        sorted[at] = order[at];
    return refill(sorted.begin(), size);
}

template <class V>
result<json> json_ref::replace(V&& value) {
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
