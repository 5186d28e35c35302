// The calls of the target `arguments` that store their status: those on JSON documents, and those that open files.
#pragma once

#include "arguments.h"

namespace chaining {

inline constexpr wiq_uint128 kWide = {1, 2};

inline const ChainingCall kCalls[] = {
    {[](Args&, u32* err) { return released(wiq_json_null_new(err)); }},
    {[](Args& a, u32* err) { return released(wiq_json_bool_new(a.number % 2 == 0, err)); }},
    {[](Args& a, u32* err) { return released(wiq_json_i64_new(a.number, err)); }},
    {[](Args& a, u32* err) { return released(wiq_json_u64_new(a.number, err)); }},
    {[](Args& a, u32* err) { return released(wiq_json_u128_new(a.some(&kWide), err)); }},
    {[](Args& a, u32* err) { return released(wiq_json_double_new(a.number, err)); }},
    {[](Args& a, u32* err) { return released(wiq_json_str_new(a.some("x"), err)); }},
    {[](Args& a, u32* err) { return released(wiq_json_jref_new(a.some("#/a"), err)); }},
    {[](Args& a, u32* err) {
        return released(wiq_json_obj_new(a.either(i32{a.number}, -1), err));
    }},
    {[](Args& a, u32* err) {
        return released(wiq_json_obj_weak_new(a.either(i32{a.number}, -1), err));
    }},
    {[](Args& a, u32* err) {
        return released(wiq_json_array_new(a.either(i32{a.number}, -1), err));
    }},
    {[](Args& a, u32* err) {
        return released(wiq_json_array_weak_new(a.either(i32{a.number}, -1), err));
    }},
    {[](Args& a, u32* err) { return released(wiq_json_copy(a.some(a.root), err)); }},
    // Members.
    {[](Args& a, u32* err) {
        return wiq_json_obj_put_ext(a.object(), a.some("n"), a.free_node(), err) == 0;
    }},
    {[](Args& a, u32* err) {
        return wiq_json_obj_put_null(a.object(), a.some("n"), err) != nullptr;
    }},
    {[](Args& a, u32* err) {
        return wiq_json_obj_put_bool(a.object(), a.some("n"), true, err) != nullptr;
    }},
    {[](Args& a, u32* err) {
        return wiq_json_obj_put_i64(a.object(), a.some("n"), 1, err) != nullptr;
    }},
    {[](Args& a, u32* err) {
        return wiq_json_obj_put_u64(a.object(), a.some("n"), 1, err) != nullptr;
    }},
    {[](Args& a, u32* err) {
        return wiq_json_obj_put_u128(a.object(), a.some("n"), a.some(&kWide), err) != nullptr;
    }},
    {[](Args& a, u32* err) {
        return wiq_json_obj_put_double(a.object(), a.some("n"), 0.5, err) != nullptr;
    }},
    {[](Args& a, u32* err) {
        return wiq_json_obj_put_str(a.object(), a.some("n"), a.some("x"), err) != nullptr;
    }},
    {[](Args& a, u32* err) {
        return wiq_json_obj_put_jref(a.object(), a.some("n"), a.some("#"), err) != nullptr;
    }},
    {[](Args& a, u32* err) {
        return wiq_json_obj_put_obj(a.object(), a.some("n"), err) != nullptr;
    }},
    {[](Args& a, u32* err) {
        return wiq_json_obj_put_array(a.object(), a.some("n"), err) != nullptr;
    }},
    {[](Args& a, u32* err) {
        return wiq_json_obj_getd_obj(a.object(), a.some("n"), err) != nullptr;
    }},
    {[](Args& a, u32* err) {
        return wiq_json_obj_getd_array(a.object(), a.some("n"), err) != nullptr;
    }},
    {[](Args& a, u32* err) {
         return wiq_json_obj_getd_array(a.root, a.either("r", "o"), err) != nullptr;
     },
     true, WIQ_ERR_WRONG_TYPE},
    {[](Args& a, u32* err) {
         return wiq_json_obj_getd_obj(a.root, a.either("o", "a"), err) != nullptr;
     },
     true, WIQ_ERR_WRONG_TYPE},
    {[](Args& a, u32* err) {
        return wiq_json_obj_get_ext(a.object(), a.some("a"), 0, err) != nullptr;
    }},
    {[](Args& a, u32* err) {
         return wiq_json_obj_get_ext(a.root, a.either("r", "?"), WIQ_JSON_FOLLOW_REFS, err) !=
                nullptr;
     },
     true, WIQ_ERR_KEY_NOT_FOUND},
    {[](Args& a, u32* err) {
        return wiq_json_obj_get_obj(a.object(), a.some("o"), err) != nullptr;
    }},
    {[](Args& a, u32* err) {
         return wiq_json_obj_get_obj(a.root, a.either("o", "r"), err) != nullptr;
     },
     true, WIQ_ERR_WRONG_TYPE},
    {[](Args& a, u32* err) {
        return wiq_json_obj_get_array(a.object(), a.some("r"), err) != nullptr;
    }},
    {[](Args& a, u32* err) {
        return wiq_json_obj_get_jref(a.object(), a.some("r"), err) != nullptr;
    }},
    {[](Args& a, u32* err) {
         return wiq_json_obj_get_jref(a.root, a.either("r", "a"), err) != nullptr;
     },
     true, WIQ_ERR_WRONG_TYPE},
    {[](Args& a, u32* err) {
         wiq_json_t* inner = wiq_json_obj_get_obj(a.root, "o", nullptr);
         const char* key = a.either("i", "b");
         if (a.number % 4 == 0)
             return wiq_json_obj_get_i64(inner, key, err) == 7;
         if (a.number % 4 == 1)
             return wiq_json_obj_get_u64(inner, key, err) == 7;
         wiq_uint128 wide;
         return a.number % 4 == 2 ? wiq_json_obj_get_double(inner, key, err) > 6
                                  : wiq_json_obj_get_u128(&wide, inner, key, err)->lo == 7;
     },
     true, WIQ_ERR_WRONG_TYPE},
    {[](Args& a, u32* err) {
         return wiq_json_obj_get_bool(wiq_json_obj_get_obj(a.root, "o", nullptr),
                                      a.either("b", "i"), err);
     },
     true, WIQ_ERR_WRONG_TYPE},
    {[](Args& a, u32* err) {
         return wiq_json_obj_get_str(wiq_json_obj_get_obj(a.root, "o", nullptr), a.either("s", "i"),
                                     err) != nullptr;
     },
     true, WIQ_ERR_WRONG_TYPE},
    // Elements.
    {[](Args& a, u32* err) { return wiq_json_array_push_ext(a.list(), a.free_node(), err) == 0; }},
    {[](Args& a, u32* err) { return wiq_json_array_push_bool(a.list(), true, err) != nullptr; }},
    {[](Args& a, u32* err) { return wiq_json_array_push_i64(a.list(), 1, err) != nullptr; }},
    {[](Args& a, u32* err) { return wiq_json_array_push_u64(a.list(), 1, err) != nullptr; }},
    {[](Args& a, u32* err) {
        return wiq_json_array_push_u128(a.list(), a.some(&kWide), err) != nullptr;
    }},
    {[](Args& a, u32* err) { return wiq_json_array_push_double(a.list(), 0.5, err) != nullptr; }},
    {[](Args& a, u32* err) {
        return wiq_json_array_push_str(a.list(), a.some("x"), err) != nullptr;
    }},
    {[](Args& a, u32* err) { return wiq_json_array_push_obj(a.list(), err) != nullptr; }},
    {[](Args& a, u32* err) { return wiq_json_array_push_array(a.list(), err) != nullptr; }},
    {[](Args& a, u32* err) { return wiq_json_array_get_ext(a.list(), -3, 0, err) != nullptr; }},
    {[](Args& a, u32* err) {
         return wiq_json_array_get_ext(a.array, a.either(2, a.number % 2 == 0 ? 3 : -4), 0, err) !=
                nullptr;
     },
     true, WIQ_ERR_INDEX_OUT_OF_RANGE},
    {[](Args& a, u32* err) {
        return released(wiq_json_array_swap(a.list(), 1, a.free_node(), err));
    }},
    {[](Args& a, u32* err) {
         return released(wiq_json_array_swap(a.array, a.either(-3, -4), a.child, err));
     },
     true, WIQ_ERR_INDEX_OUT_OF_RANGE},
    // References and pointers.
    {[](Args& a, u32* err) {
        wiq_json_t* node = a.some(a.child);
        return wiq_json_make_orphan_ex(node, err) == 0;
    }},
    {[](Args& a, u32* err) { return wiq_json_jref_resolve(a.reference(), err) == a.array; }},
    {[](Args& a, u32* err) { return wiq_json_jref_deref(a.reference(), err) == a.array; }},
    {[](Args& a, u32* err) {
        return wiq_json_ptr_get(a.some(a.root), a.some("/a"), err, nullptr) == a.array;
    }},
    {[](Args& a, u32* err) {
         char* prefix = nullptr;
         const bool found =
             wiq_json_ptr_get(a.root, a.either("/a/0", "/a/3/x"), err, &prefix) != nullptr;
         CHECK(prefix == nullptr || strcmp(prefix, "/a/3") == 0);
         free(prefix);
         return found;
     },
     true, WIQ_ERR_INDEX_OUT_OF_RANGE},
    {[](Args& a, u32* err) {
         return wiq_json_ptr_get(a.root, a.either("#/o/i", a.number % 2 == 0 ? "o" : "o/i"), err,
                                 nullptr) != nullptr;
     },
     true, WIQ_ERR_PTR_SYNTAX},
    {[](Args& a, u32* err) {
         return wiq_json_ptr_get(a.root, a.either("/o", "/~2"), err, nullptr) != nullptr;
     },
     true, WIQ_ERR_PTR_BAD_ESCAPE},
    {[](Args& a, u32* err) {
         return wiq_json_ptr_get(a.root, a.either("/o", "/o/i/x"), err, nullptr) != nullptr;
     },
     true, WIQ_ERR_WRONG_TYPE},
    {[](Args& a, u32* err) {
         return wiq_json_ptr_put_obj(a.some(a.root), a.some("/n"), err) != nullptr;
     },
     false},
    {[](Args& a, u32* err) {
         return wiq_json_ptr_put_array(a.some(a.root), a.some("/n/-"), err) != nullptr;
     },
     false},
    {[](Args& a, u32* err) {
         return wiq_json_ptr_put_bool(a.some(a.root), a.some("/n"), true, err) != nullptr;
     },
     false},
    {[](Args& a, u32* err) {
         return wiq_json_ptr_put_double(a.some(a.root), a.some("/n"), 0.5, err) != nullptr;
     },
     false},
    {[](Args& a, u32* err) {
         return wiq_json_ptr_put_i64(a.some(a.root), a.some("/a/3"), 1, err) != nullptr;
     },
     false},
    {[](Args& a, u32* err) {
         return wiq_json_ptr_put_u64(a.some(a.root), a.some("/a/-"), 1, err) != nullptr;
     },
     false},
    {[](Args& a, u32* err) {
         return wiq_json_ptr_put_u128(a.some(a.root), a.some("/n"), a.some(&kWide), err) != nullptr;
     },
     false},
    {[](Args& a, u32* err) {
         return wiq_json_ptr_put_str(a.some(a.root), a.some("/n"), a.some("x"), err) != nullptr;
     },
     false},
    {[](Args& a, u32* err) {
         return wiq_json_ptr_put_jref(a.some(a.root), a.some("/n"), a.some("#"), err) != nullptr;
     },
     false},
    {[](Args& a, u32* err) {
         return wiq_json_ptr_put_i64(a.root, a.either("/a/0", "/a/9"), 1, err) != nullptr;
     },
     false, WIQ_ERR_INDEX_OUT_OF_RANGE},
    // Files, whose status does not chain.
    {[](Args& a, u32* err) {
         FILE* fp = wiq_fopen(a.some("/dev/null"), a.some("r"), err);
         return fp != nullptr && fclose(fp) == 0;
     },
     false},
    {[](Args& a, u32* err) {
         FILE* fp = wiq_fopen("/dev/null", a.either("r", a.number % 2 == 0 ? "" : "?"), err);
         return fp != nullptr && fclose(fp) == 0;
     },
     false, WIQ_ERR_IO},
    {[](Args& a, u32* err) {
         char tmpl[] = "/tmp/ke-fuzz-XXXXXX";
         char wrong[] = "XXXXX";
         char* given = a.next_is_bad() ? a.some(wrong) : tmpl;
         FILE* fp = wiq_mkstemp(given, err, a.some("w"));
         return fp != nullptr && wiq_unlink(tmpl) == 0 && fclose(fp) == 0;
     },
     false},
    {[](Args& a, u32* err) {
         char tmpl[] = "/tmp/ke-fuzz-XXXXXX";
         FILE* fp = wiq_mkstemp(tmpl, err, a.either("a+", "r"));
         return fp != nullptr && wiq_unlink(tmpl) == 0 && fclose(fp) == 0;
     },
     false, WIQ_ERR_NOT_FOUND},
};

}  // namespace chaining
