/**
 * @file json_convert.hpp
 * Converts C++ values to JSON values and back: numbers, texts, the containers of the standard
 * library, optionals, and the user's own types. A type can be converted if these two functions are
 * declared in its namespace:
 * @code
 * ke::status to_json(ke::json& out, const drive& from);
 * ke::status from_json(ke::json_view in, drive& to);
 * @endcode
 * KE_JSON_MEMBERS inside a struct defines both of them:
 * @code
 * struct drive {
 *     std::string name;
 *     int celsius = 0;
 *     std::optional<int> hours;
 *     KE_JSON_MEMBERS(drive, name, celsius, hours)
 * };
 * @endcode
 * Included by json.hpp.
 */
#ifndef KE_JSON_HPP
#include "ke/json.hpp"  // which includes this header in the right place
#elif !defined(KE_JSON_CONVERT_HPP)
#define KE_JSON_CONVERT_HPP

#include <initializer_list>
#include <limits>
#include <optional>
#include <utility>

namespace ke {

/** @addtogroup cpp
 *  @{ */

namespace detail {

// A node that nobody owns yet (its count is 0), or NULL and the status that says why.
struct made {
    wiq_json_t* node;
    i32 status;
};
inline made made_of(wiq_json_t* node, u32 err) noexcept {
    return {node, node != nullptr ? 0 : static_cast<i32>(err)};
}

// Owns a container that is being filled, so that it is released if a user's to_json() throws.
struct drop_node {
    void operator()(wiq_json_t* node) const noexcept { wiq_json_unref(node); }
};
using filling = owned<wiq_json_t, drop_node>;
inline made filled(filling& container, i32 status) noexcept {
    return status == 0 ? made{container.release(), 0} : made{nullptr, status};
}

// Tell whether a type has a to_json() or from_json() of its own. Argument-dependent look-up finds
// them at the point of use.
template <class T, class = void>
inline constexpr bool has_to_json = false;
template <class T>
inline constexpr bool has_to_json<
    T, std::void_t<decltype(to_json(std::declval<json&>(), std::declval<const T&>()))>> = true;
template <class T, class = void>
inline constexpr bool has_from_json = false;
template <class T>
inline constexpr bool has_from_json<
    T, std::void_t<decltype(from_json(std::declval<json_view>(), std::declval<T&>()))>> = true;

template <class T, class = void>
inline constexpr bool is_range = false;
template <class T>
inline constexpr bool
    is_range<T, std::void_t<typename T::value_type, decltype(std::declval<const T&>().begin()),
                            decltype(std::declval<const T&>().end())>> = true;
template <class T, class = void>
inline constexpr bool is_map = false;
template <class T>
inline constexpr bool is_map<T, std::void_t<typename T::key_type, typename T::mapped_type>> =
    std::is_convertible_v<const typename T::key_type&, std::string_view>;
template <class T>
inline constexpr bool is_optional = false;
template <class T>
inline constexpr bool is_optional<std::optional<T>> = true;
template <class T, class = void>
inline constexpr bool is_tuple = false;
template <class T>
inline constexpr bool is_tuple<T, std::void_t<decltype(std::tuple_size<T>::value)>> = !is_range<T>;
template <class T, class = void>
inline constexpr bool is_fixed_array = false;  // std::array, without its header
template <class T>
inline constexpr bool is_fixed_array<T, std::void_t<decltype(std::tuple_size<T>::value)>> =
    is_range<T>;
template <class T>
inline constexpr bool is_result = false;
template <class T>
inline constexpr bool is_result<result<T>> = true;
template <class T>
inline constexpr bool is_handle = std::is_base_of_v<json_view, T>;

// NOLINTBEGIN(misc-no-recursion): the depth is that of a type or braced list, not of a document
template <class T>
made make_node(const T& value);

inline made make_text(const text_arg& text) {
    if (text.status() != 0)
        return {nullptr, text.status()};
    u32 err = 0;
    wiq_json_t* const node = wiq_json_str_new(text.c_str(), &err);
    if (node != nullptr && wiq_json_str_get(node) == nullptr) {
        wiq_json_unref(node);
        return {nullptr, WIQ_ERR_NO_MEMORY};
    }
    return made_of(node, err);
}

// The places where a value can be stored. node() attaches a value that is in no container; scalar()
// makes a value in the place.
struct member_place {
    wiq_json_t* object;
    const char* key;
    i32 node(wiq_json_t* value) const noexcept {
        return wiq_json_obj_put_ext(object, key, value, nullptr);
    }
    template <class T>
    i32 scalar(T value) const noexcept {
        u32 err = 0;
        if constexpr (std::is_same_v<T, bool>)
            wiq_json_obj_put_bool(object, key, value, &err);
        else if constexpr (std::is_floating_point_v<T>)
            wiq_json_obj_put_double(object, key, static_cast<double>(value), &err);
        else if constexpr (std::is_signed_v<T>)
            wiq_json_obj_put_i64(object, key, value, &err);
        else
            wiq_json_obj_put_u64(object, key, value, &err);
        return static_cast<i32>(err);
    }
};
struct back_place {
    wiq_json_t* array;
    i32 node(wiq_json_t* value) const noexcept {
        return wiq_json_array_push_ext(array, value, nullptr);
    }
    template <class T>
    i32 scalar(T value) const noexcept {
        u32 err = 0;
        if constexpr (std::is_same_v<T, bool>)
            wiq_json_array_push_bool(array, value, &err);
        else if constexpr (std::is_floating_point_v<T>)
            wiq_json_array_push_double(array, static_cast<double>(value), &err);
        else if constexpr (std::is_signed_v<T>)
            wiq_json_array_push_i64(array, value, &err);
        else
            wiq_json_array_push_u64(array, value, &err);
        return static_cast<i32>(err);
    }
};
struct index_place {
    wiq_json_t* array;
    i32 index;
    // wiq_json_array_put() would record a negative index as the element's position, and
    // wiq_json_array_filter() would then move the element to the front.
    i32 node(wiq_json_t* value) const noexcept {
        const i32 size = wiq_json_array_size(array);  // negative if it is not an array
        return wiq_json_array_put(array, index < 0 && index >= -size ? index + size : index, value);
    }
};
struct pointer_place {
    wiq_json_t* root;
    const char* text;
    i32 node(wiq_json_t* value) const noexcept { return wiq_json_ptr_put(root, text, value); }
};
template <class Place>
inline constexpr bool makes_scalars =
    std::is_same_v<Place, member_place> || std::is_same_v<Place, back_place>;

// Stores a node that nobody owns yet. On failure the node is released.
template <class Place>
status put_made(const Place& place, made value) noexcept {
    if (value.node == nullptr)
        return value.status;
    const i32 status = place.node(value.node);
    if (status != 0)
        wiq_json_unref(value.node);
    return status;
}

template <class Place, class V>
status store(const Place& place, V&& value) {
    using T = plain<V>;
    if constexpr (std::is_same_v<T, json> && !std::is_lvalue_reference_v<V> &&
                  !std::is_const_v<V>) {
        if (value && parent_of(value.node()) == nullptr) {
            const i32 status = place.node(value.node());
            if (status == 0)
                value = json();
            return status;
        }
    }
    if constexpr (is_scalar<T> && makes_scalars<Place>)
        return place.scalar(value);
    else if constexpr (is_result<T>) {
        if (!value)
            return value.status();
        return store(place, *std::forward<V>(value));
    } else if constexpr (is_optional<T>) {
        return value ? store(place, *value) : store(place, nullptr);
    } else if constexpr (has_to_json<T> && !is_handle<T>) {
        json out;
        KE_TRY(to_json(out, value));
        return store(place, std::move(out));
    } else {
        return put_made(place, make_node(value));
    }
}

template <class Element, class T>
made make_list(const T& list) {
    u32 err = 0;
    filling array(wiq_json_array_new(0, &err));
    if (!array)
        return made_of(nullptr, err);
    for (const auto& element : list) {
        const status stored = store(back_place{array.get()}, static_cast<const Element&>(element));
        if (stored.failed())
            return filled(array, stored.code());
    }
    return filled(array, 0);
}
template <class T>
made make_map(const T& map) {
    u32 err = 0;
    filling object(wiq_json_obj_new(0, &err));
    if (!object)
        return made_of(nullptr, err);
    for (const auto& [name, value] : map) {
        const text_arg key(name);
        const status stored = key.status() != 0
                                  ? status(key.status())
                                  : store(member_place{object.get(), key.c_str()}, value);
        if (stored.failed())
            return filled(object, stored.code());
    }
    return filled(object, 0);
}
template <class T, std::size_t... I>
made make_tuple_list(const T& tuple, std::index_sequence<I...>) {
    u32 err = 0;
    filling array(wiq_json_array_new(static_cast<i32>(sizeof...(I)), &err));
    if (!array)
        return made_of(nullptr, err);
    using std::get;  // a tuple of another namespace may bring its own get()
    i32 failed = 0;
    ((failed = failed != 0 ? failed : store(back_place{array.get()}, get<I>(tuple)).code()), ...);
    return filled(array, failed);
}

template <class T>
made make_node(const T& value) {
    u32 err = 0;
    if constexpr (is_handle<T>) {
        if (!value)
            return {nullptr, err_empty};
        wiq_json_t* const copy = wiq_json_copy(value.node(), &err);
        return made_of(copy, err);
    } else if constexpr (std::is_same_v<T, std::nullptr_t>) {
        wiq_json_t* const node = wiq_json_null_new(&err);
        return made_of(node, err);
    } else if constexpr (std::is_same_v<T, bool>) {
        wiq_json_t* const node = wiq_json_bool_new(value, &err);
        return made_of(node, err);
    } else if constexpr (is_uint128<T>) {
        const wiq_uint128 number = value;
        wiq_json_t* const node = wiq_json_u128_new(&number, &err);
        return made_of(node, err);
    } else if constexpr (is_integer<T> && std::is_signed_v<T>) {
        wiq_json_t* const node = wiq_json_i64_new(value, &err);
        return made_of(node, err);
    } else if constexpr (is_integer<T>) {
        wiq_json_t* const node = wiq_json_u64_new(value, &err);
        return made_of(node, err);
    } else if constexpr (std::is_floating_point_v<T>) {
        wiq_json_t* const node = wiq_json_double_new(static_cast<double>(value), &err);
        return made_of(node, err);
    } else if constexpr (std::is_same_v<T, init>) {
        return value.make();
    } else if constexpr (has_to_json<T>) {
        json out;
        const status stored = to_json(out, value);
        if (stored.failed())
            return {nullptr, stored.code()};
        if (!out)
            return {nullptr, err_empty};
        // If nobody else owns the value, it is handed over with a count of 0: an array takes it,
        // and popping it gives up the array's reference without destroying it. Otherwise it is
        // copied.
        if (parent_of(out.node()) == nullptr && header_of(out.node()).count == 1) {
            json holder = json::array();
            if (!holder)
                return {nullptr, WIQ_ERR_NO_MEMORY};
            const i32 pushed = wiq_json_array_push_ext(holder.node(), out.node(), &err);
            if (pushed != 0)
                return {nullptr, pushed};
            out = json();
            return {wiq_json_array_pop_elem(holder.node()), 0};
        }
        wiq_json_t* const copy = wiq_json_copy(out.node(), &err);
        return made_of(copy, err);
    } else if constexpr (is_text<T>) {
        return make_text(text_arg(value));
    } else if constexpr (is_optional<T>) {
        return value ? make_node(*value) : make_node(nullptr);
    } else if constexpr (is_map<T>) {
        return make_map(value);
    } else if constexpr (std::is_array_v<T>) {
        return make_list<std::remove_extent_t<T>>(value);
    } else if constexpr (is_range<T>) {
        return make_list<typename T::value_type>(value);
    } else if constexpr (is_tuple<T>) {
        return make_tuple_list(value, std::make_index_sequence<std::tuple_size<T>::value>());
    } else {
        static_assert(!is_character<T>,
                      "a single character is neither a number nor a text: say int(c) or "
                      "std::string(1, c)");
        static_assert(is_character<T> || always_false<T>,
                      "no JSON value is made of this type: give it a to_json() or KE_JSON_MEMBERS");
        return {nullptr, WIQ_ERR_INVALID_ARG};
    }
}

// One item of a braced list. It refers to the item until make() makes a node from it.
class init {
  public:
    init() noexcept : init(nullptr) {}
    template <class T, std::enable_if_t<!std::is_same_v<plain<T>, init>, int> = 0>
    init(const T& value) noexcept
        : value_(&value),
          make_([](const void* of) { return make_node(*static_cast<const T*>(of)); }) {
        if constexpr (is_handle<T>)
            node_ = value.node();
        if constexpr (is_text<T> && !is_handle<T>)
            text_ = [](const void* of) { return std::string_view(*static_cast<const T*>(of)); };
    }
    init(std::nullptr_t) noexcept : make_([](const void*) { return make_node(nullptr); }) {}
    init(std::initializer_list<init> list) noexcept : list_(list), is_list_(true) {}

    made make() const { return is_list_ ? make_braced(list_) : make_(value_); }
    // Returns the node if the item is a handle, otherwise NULL.
    wiq_json_t* handle() const noexcept { return node_; }

    static made make_braced(std::initializer_list<init> list) {
        bool pairs = list.size() > 0;
        for (const init& item : list)
            pairs = pairs && item.is_pair();
        return pairs ? make_object(list) : make_array(list);
    }
    static made make_array(std::initializer_list<init> list) {
        return make_list<init>(list_of{list});
    }
    static made make_object(std::initializer_list<init> list) {
        u32 err = 0;
        filling object(wiq_json_obj_new(static_cast<i32>(list.size()), &err));
        if (!object)
            return made_of(nullptr, err);
        for (const init& item : list) {
            i32 status = WIQ_ERR_INVALID_ARG;
            if (item.is_pair()) {
                const text_arg key(item.list_.begin()->text_(item.list_.begin()->value_));
                status = key.status() != 0
                             ? key.status()
                             : store(member_place{object.get(), key.c_str()}, item.list_.begin()[1])
                                   .code();
            }
            if (status != 0)
                return filled(object, status);
        }
        return filled(object, 0);
    }

  private:
    struct list_of {
        std::initializer_list<init> list;
        const init* begin() const noexcept { return list.begin(); }
        const init* end() const noexcept { return list.end(); }
    };
    bool is_pair() const noexcept {
        return is_list_ && list_.size() == 2 && list_.begin()->text_ != nullptr;
    }

    const void* value_ = nullptr;
    made (*make_)(const void*) = nullptr;
    std::string_view (*text_)(const void*) = nullptr;
    wiq_json_t* node_ = nullptr;
    std::initializer_list<init> list_;
    bool is_list_ = false;
};
// NOLINTEND(misc-no-recursion)

}  // namespace detail

inline json::json(std::initializer_list<detail::init> list) {
    wiq_json_t* node = list.size() == 1 ? list.begin()->handle() : nullptr;
    node_ = node != nullptr ? node : detail::init::make_braced(list).node;
    wiq_json_ref(node_);
}
inline json json::object(std::initializer_list<detail::init> members) {
    return share(detail::init::make_object(members).node);
}
inline json json::array(std::initializer_list<detail::init> elements) {
    return share(detail::init::make_array(elements).node);
}
template <class T>
result<json> json::make(const T& value) {
    if constexpr (std::is_same_v<T, json>) {
        return value ? result<json>(value) : result<json>::failure(err_empty);
    } else if constexpr (detail::has_to_json<T>) {
        json out;
        KE_TRY(to_json(out, value));
        return out ? result<json>(std::move(out)) : result<json>::failure(err_empty);
    } else {
        const detail::made made = detail::make_node(value);
        return made.node != nullptr ? result<json>(share(made.node))
                                    : result<json>::failure(made.status);
    }
}

namespace detail {

template <class T>
status read(json_view from, T& to);

// Reads an integer of any width from any kind of number, and fails rather than lose anything.
template <class T>
status read_integer(json_view from, T& to) noexcept {
    const wiq_json_t* const node = from.node();
    u64 magnitude = 0;
    bool negative = false;
    switch (from.kind()) {
        case kind::signed_64: {
            const i64 value = wiq_json_i64_get(node);
            negative = value < 0;
            magnitude = negative ? u64{0} - static_cast<u64>(value) : static_cast<u64>(value);
            break;
        }
        case kind::unsigned_64:
            magnitude = wiq_json_u64_get(node);
            break;
        case kind::unsigned_128: {
            wiq_uint128 value;
            wiq_json_u128_get(&value, node);
            if (value.hi != 0)
                return WIQ_ERR_RANGE;
            magnitude = value.lo;
            break;
        }
        case kind::real: {
            const double value = wiq_json_double_get(node);
            if (!(value > -18446744073709551616.0 && value < 18446744073709551616.0))
                return WIQ_ERR_RANGE;
            negative = value < 0;
            magnitude = static_cast<u64>(negative ? -value : value);
            if (static_cast<double>(magnitude) != (negative ? -value : value))
                return WIQ_ERR_NOT_INTEGRAL;
            break;
        }
        default:
            return from ? static_cast<i32>(WIQ_ERR_WRONG_TYPE) : err_empty;
    }
    using limits = std::numeric_limits<T>;
    const u64 largest = static_cast<u64>((limits::max)());
    if (magnitude > largest + static_cast<u64>(negative && std::is_signed_v<T>))
        return WIQ_ERR_RANGE;
    if (negative && magnitude != 0) {
        if (!std::is_signed_v<T>)
            return WIQ_ERR_RANGE;
        // In two steps, since the smallest number has no positive counterpart.
        to = static_cast<T>(-static_cast<i64>(magnitude - 1) - 1);
    } else {
        to = static_cast<T>(magnitude);
    }
    return 0;
}

inline status read_wide(json_view from, uint128& to) noexcept {
    if (from.kind() == kind::unsigned_128) {
        wiq_uint128 value;
        to = *wiq_json_u128_get(&value, from.node());
        return 0;
    }
    u64 low = 0;
    const status status = read_integer(from, low);
    if (status.ok())
        to = low;
    return status;
}

template <class T>
status read_real(json_view from, T& to) noexcept {
    double value = 0;
    switch (from.kind()) {
        case kind::real:
            value = wiq_json_double_get(from.node());
            break;
        case kind::signed_64:
        case kind::unsigned_64:
        case kind::unsigned_128: {
            uint128 magnitude;
            const bool negative =
                from.kind() == kind::signed_64 && wiq_json_i64_get(from.node()) < 0;
            if (negative)
                magnitude = u64{0} - static_cast<u64>(wiq_json_i64_get(from.node()));
            else if (const status wide = read_wide(from, magnitude); wide.failed())
                return wide;
            value = static_cast<double>(magnitude.high()) * 18446744073709551616.0 +
                    static_cast<double>(magnitude.low());
            // A T can represent every integer up to 2^digits, and larger ones that end in enough
            // zero bits: after the trailing zeros are shifted out, the rest must fit into `digits`
            // bits.
            constexpr int digits = std::is_same_v<T, float> ? std::numeric_limits<float>::digits
                                                            : std::numeric_limits<double>::digits;
            u64 high = magnitude.high();
            u64 low = magnitude.low();
            while ((high != 0 || low >> digits != 0) && (low & 1) == 0) {
                low = low >> 1 | high << 63;
                high >>= 1;
            }
            if (high != 0 || low >> digits != 0)
                return WIQ_ERR_RANGE;
            value = negative ? -value : value;
            break;
        }
        default:
            return from ? static_cast<i32>(WIQ_ERR_WRONG_TYPE) : err_empty;
    }
    if constexpr (std::is_same_v<T, float>) {
        constexpr double largest = static_cast<double>((std::numeric_limits<float>::max)());
        if ((value > largest || value < -largest) && value - value == 0)  // infinities pass
            return WIQ_ERR_RANGE;
    }
    to = static_cast<T>(value);
    return 0;
}

inline status read_text(json_view from, std::string_view& to) noexcept {
    if (!from.is_string())
        return from ? static_cast<i32>(WIQ_ERR_WRONG_TYPE) : err_empty;
    const char* const text = wiq_json_str_get(from.node());
    if (text == nullptr)
        return WIQ_ERR_NO_MEMORY;
    to = text;
    return 0;
}

template <class T, std::size_t... I>
status read_tuple(json_view from, T& to, std::index_sequence<I...>) {
    if (from.size() != static_cast<i32>(sizeof...(I)))
        return WIQ_ERR_WRONG_TYPE;
    using std::get;
    i32 failed = 0;
    ((failed = failed != 0 ? failed : read(from[static_cast<i32>(I)], get<I>(to)).code()), ...);
    return failed;
}

template <class T>
status read_list(json_view from, T& to) {
    T list{};
    if constexpr (is_fixed_array<T>) {
        if (from.size() != static_cast<i32>(list.size()))
            return WIQ_ERR_WRONG_TYPE;
        i32 at = 0;
        for (auto& element : list)
            KE_TRY(read(from[at++], element));
    } else {
        for (const json_view item : from.elements()) {
            typename T::value_type element{};
            KE_TRY(read(item, element));
            list.insert(list.end(), std::move(element));
        }
    }
    to = std::move(list);
    return 0;
}
template <class T>
status read_map(json_view from, T& to) {
    T map{};
    for (const auto [name, item] : from.members()) {
        typename T::mapped_type value{};
        KE_TRY(read(item, value));
        map.emplace(typename T::key_type(name), std::move(value));
    }
    to = std::move(map);
    return 0;
}

template <class T>
status read(json_view from, T& to) {
    if constexpr (std::is_same_v<T, bool>) {
        if (!from.is_bool())
            return from ? static_cast<i32>(WIQ_ERR_WRONG_TYPE) : err_empty;
        to = wiq_json_is_true(from.node());
        return 0;
    } else if constexpr (is_integer<T>) {
        return read_integer(from, to);
    } else if constexpr (std::is_floating_point_v<T>) {
        return read_real(from, to);
    } else if constexpr (is_uint128<T>) {
        uint128 value;
        KE_TRY(read_wide(from, value));
        to = value;
        return 0;
    } else if constexpr (std::is_same_v<T, std::string_view>) {
        return read_text(from, to);
    } else if constexpr (std::is_same_v<T, std::string>) {
        std::string_view text;
        KE_TRY(read_text(from, text));
        to = text;
        return 0;
    } else if constexpr (std::is_same_v<T, json> || std::is_same_v<T, json_view>) {
        to = from;
        return from ? 0 : err_empty;
    } else if constexpr (is_optional<T>) {
        if (!from || from.is_null()) {
            to.reset();
            return 0;
        }
        typename T::value_type value{};
        KE_TRY(read(from, value));
        to = std::move(value);
        return 0;
    } else if constexpr (has_from_json<T>) {
        return from ? from_json(from, to) : status(err_empty);
    } else if constexpr (is_map<T>) {
        return from.is_object() ? read_map(from, to)
                                : status(from ? static_cast<i32>(WIQ_ERR_WRONG_TYPE) : err_empty);
    } else if constexpr (is_range<T> || is_tuple<T>) {
        if (!from.is_array())
            return from ? static_cast<i32>(WIQ_ERR_WRONG_TYPE) : err_empty;
        if constexpr (is_range<T>)
            return read_list(from, to);
        else
            return read_tuple(from, to, std::make_index_sequence<std::tuple_size<T>::value>());
    } else {
        static_assert(!is_character<T>, "a JSON value is not read as a single character");
        static_assert(!std::is_same_v<T, const char*>, "read std::string_view or std::string");
        static_assert(is_character<T> || std::is_same_v<T, const char*> || always_false<T>,
                      "a JSON value is not read as this type: give it a from_json() or "
                      "KE_JSON_MEMBERS");
        return WIQ_ERR_WRONG_TYPE;
    }
}

// Reads a member of a struct. An absent key is a failure, unless the member is a std::optional.
template <class T>
status read_member(json_view from, const char* key, T& to) {
    u32 err = 0;
    wiq_json_t* const node = wiq_json_obj_get_ext(from.node(), key, 0, &err);
    if (node == nullptr && !(is_optional<T> && static_cast<i32>(err) == WIQ_ERR_KEY_NOT_FOUND))
        return static_cast<i32>(err);
    return read(json_view(node), to);
}
template <class T>
status write_member(json& to, const char* key, const T& value) {
    if constexpr (is_optional<T>) {
        if (!value)
            return 0;
    }
    return store(member_place{to.node(), key}, value);
}

}  // namespace detail

template <class T>
result<T> json_view::to() const {
    static_assert(!std::is_reference_v<T> && !std::is_const_v<T>, "ask for the plain type");
    T value{};
    const status read = detail::read(*this, value);
    return read.ok() ? result<T>(std::move(value)) : result<T>(read);
}

/** @} */

}  // namespace ke

#include "ke/json_members.hpp"

#endif
