/**
 * @file json_members.hpp
 * Defines KE_JSON_MEMBERS, which makes a struct convertible to and from JSON by the names of its
 * members: it defines the to_json() and from_json() that json_convert.hpp looks for. Most of this
 * header is a preprocessor loop. Included by json_convert.hpp.
 */
#ifndef KE_JSON_HPP
#include "ke/json.hpp"  // which includes this header in the right place
#elif !defined(KE_JSON_MEMBERS_HPP)
#define KE_JSON_MEMBERS_HPP

/** @cond */
// One macro for each number of members, since the preprocessor of C++17 has neither loops nor
// recursion.
// clang-format off
#define KE_EXPAND_(...) __VA_ARGS__
#define KE_EACH_1_(do_, a) do_(a)
#define KE_EACH_2_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_1_(do_, __VA_ARGS__))
#define KE_EACH_3_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_2_(do_, __VA_ARGS__))
#define KE_EACH_4_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_3_(do_, __VA_ARGS__))
#define KE_EACH_5_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_4_(do_, __VA_ARGS__))
#define KE_EACH_6_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_5_(do_, __VA_ARGS__))
#define KE_EACH_7_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_6_(do_, __VA_ARGS__))
#define KE_EACH_8_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_7_(do_, __VA_ARGS__))
#define KE_EACH_9_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_8_(do_, __VA_ARGS__))
#define KE_EACH_10_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_9_(do_, __VA_ARGS__))
#define KE_EACH_11_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_10_(do_, __VA_ARGS__))
#define KE_EACH_12_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_11_(do_, __VA_ARGS__))
#define KE_EACH_13_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_12_(do_, __VA_ARGS__))
#define KE_EACH_14_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_13_(do_, __VA_ARGS__))
#define KE_EACH_15_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_14_(do_, __VA_ARGS__))
#define KE_EACH_16_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_15_(do_, __VA_ARGS__))
#define KE_EACH_17_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_16_(do_, __VA_ARGS__))
#define KE_EACH_18_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_17_(do_, __VA_ARGS__))
#define KE_EACH_19_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_18_(do_, __VA_ARGS__))
#define KE_EACH_20_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_19_(do_, __VA_ARGS__))
#define KE_EACH_21_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_20_(do_, __VA_ARGS__))
#define KE_EACH_22_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_21_(do_, __VA_ARGS__))
#define KE_EACH_23_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_22_(do_, __VA_ARGS__))
#define KE_EACH_24_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_23_(do_, __VA_ARGS__))
#define KE_EACH_25_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_24_(do_, __VA_ARGS__))
#define KE_EACH_26_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_25_(do_, __VA_ARGS__))
#define KE_EACH_27_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_26_(do_, __VA_ARGS__))
#define KE_EACH_28_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_27_(do_, __VA_ARGS__))
#define KE_EACH_29_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_28_(do_, __VA_ARGS__))
#define KE_EACH_30_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_29_(do_, __VA_ARGS__))
#define KE_EACH_31_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_30_(do_, __VA_ARGS__))
#define KE_EACH_32_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_31_(do_, __VA_ARGS__))
#define KE_EACH_33_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_32_(do_, __VA_ARGS__))
#define KE_EACH_34_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_33_(do_, __VA_ARGS__))
#define KE_EACH_35_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_34_(do_, __VA_ARGS__))
#define KE_EACH_36_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_35_(do_, __VA_ARGS__))
#define KE_EACH_37_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_36_(do_, __VA_ARGS__))
#define KE_EACH_38_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_37_(do_, __VA_ARGS__))
#define KE_EACH_39_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_38_(do_, __VA_ARGS__))
#define KE_EACH_40_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_39_(do_, __VA_ARGS__))
#define KE_EACH_41_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_40_(do_, __VA_ARGS__))
#define KE_EACH_42_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_41_(do_, __VA_ARGS__))
#define KE_EACH_43_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_42_(do_, __VA_ARGS__))
#define KE_EACH_44_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_43_(do_, __VA_ARGS__))
#define KE_EACH_45_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_44_(do_, __VA_ARGS__))
#define KE_EACH_46_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_45_(do_, __VA_ARGS__))
#define KE_EACH_47_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_46_(do_, __VA_ARGS__))
#define KE_EACH_48_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_47_(do_, __VA_ARGS__))
#define KE_EACH_49_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_48_(do_, __VA_ARGS__))
#define KE_EACH_50_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_49_(do_, __VA_ARGS__))
#define KE_EACH_51_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_50_(do_, __VA_ARGS__))
#define KE_EACH_52_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_51_(do_, __VA_ARGS__))
#define KE_EACH_53_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_52_(do_, __VA_ARGS__))
#define KE_EACH_54_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_53_(do_, __VA_ARGS__))
#define KE_EACH_55_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_54_(do_, __VA_ARGS__))
#define KE_EACH_56_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_55_(do_, __VA_ARGS__))
#define KE_EACH_57_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_56_(do_, __VA_ARGS__))
#define KE_EACH_58_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_57_(do_, __VA_ARGS__))
#define KE_EACH_59_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_58_(do_, __VA_ARGS__))
#define KE_EACH_60_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_59_(do_, __VA_ARGS__))
#define KE_EACH_61_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_60_(do_, __VA_ARGS__))
#define KE_EACH_62_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_61_(do_, __VA_ARGS__))
#define KE_EACH_63_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_62_(do_, __VA_ARGS__))
#define KE_EACH_64_(do_, a, ...) do_(a) KE_EXPAND_(KE_EACH_63_(do_, __VA_ARGS__))
#define KE_PICK_( \
    a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12, a13, a14, a15, a16, a17, a18, a19, a20, \
    a21, a22, a23, a24, a25, a26, a27, a28, a29, a30, a31, a32, a33, a34, a35, a36, a37, a38, \
    a39, a40, a41, a42, a43, a44, a45, a46, a47, a48, a49, a50, a51, a52, a53, a54, a55, a56, \
    a57, a58, a59, a60, a61, a62, a63, a64, \
    name, ...) name
#define KE_EACH_(do_, ...) \
    KE_EXPAND_(KE_PICK_(__VA_ARGS__, \
        KE_EACH_64_, KE_EACH_63_, KE_EACH_62_, KE_EACH_61_, KE_EACH_60_, KE_EACH_59_, \
        KE_EACH_58_, KE_EACH_57_, KE_EACH_56_, KE_EACH_55_, KE_EACH_54_, KE_EACH_53_, \
        KE_EACH_52_, KE_EACH_51_, KE_EACH_50_, KE_EACH_49_, KE_EACH_48_, KE_EACH_47_, \
        KE_EACH_46_, KE_EACH_45_, KE_EACH_44_, KE_EACH_43_, KE_EACH_42_, KE_EACH_41_, \
        KE_EACH_40_, KE_EACH_39_, KE_EACH_38_, KE_EACH_37_, KE_EACH_36_, KE_EACH_35_, \
        KE_EACH_34_, KE_EACH_33_, KE_EACH_32_, KE_EACH_31_, KE_EACH_30_, KE_EACH_29_, \
        KE_EACH_28_, KE_EACH_27_, KE_EACH_26_, KE_EACH_25_, KE_EACH_24_, KE_EACH_23_, \
        KE_EACH_22_, KE_EACH_21_, KE_EACH_20_, KE_EACH_19_, KE_EACH_18_, KE_EACH_17_, \
        KE_EACH_16_, KE_EACH_15_, KE_EACH_14_, KE_EACH_13_, KE_EACH_12_, KE_EACH_11_, \
        KE_EACH_10_, KE_EACH_9_, KE_EACH_8_, KE_EACH_7_, KE_EACH_6_, KE_EACH_5_, KE_EACH_4_, \
        KE_EACH_3_, KE_EACH_2_, KE_EACH_1_, \
        none)(do_, __VA_ARGS__))
// clang-format on
#define KE_WRITE_MEMBER_(name) KE_TRY(::ke::detail::write_member(ke_out, #name, ke_value.name));
#define KE_READ_MEMBER_(name) KE_TRY(::ke::detail::read_member(ke_in, #name, ke_read.name));
/** @endcond */

/**
 * Makes a struct convertible to and from a JSON object. Write it inside the struct, with the name
 * of the struct and the names of at most 64 members: `KE_JSON_MEMBERS(drive, name, celsius)`.
 *
 * Each member is written to the object, and read from it, under its own name. An empty
 * std::optional is not written, and a std::optional whose key is absent is read as an empty one.
 * Every other member must be in the object: if its key is absent, reading fails with
 * WIQ_ERR_KEY_NOT_FOUND (-1037). Members of the object that are not listed are ignored. If reading
 * fails, the struct is unchanged.
 */
#define KE_JSON_MEMBERS(type, ...)                                          \
    friend ::ke::status to_json(::ke::json& ke_out, const type& ke_value) { \
        ke_out = ::ke::json::object();                                      \
        if (!ke_out)                                                        \
            return WIQ_ERR_NO_MEMORY;                                       \
        KE_EACH_(KE_WRITE_MEMBER_, __VA_ARGS__)                             \
        return {};                                                          \
    }                                                                       \
    friend ::ke::status from_json(::ke::json_view ke_in, type& ke_value) {  \
        type ke_read = ke_value;                                            \
        KE_EACH_(KE_READ_MEMBER_, __VA_ARGS__)                              \
        ke_value = ::std::move(ke_read);                                    \
        return {};                                                          \
    }

#endif
