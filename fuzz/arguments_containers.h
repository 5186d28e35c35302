// The calls of the target `arguments` on containers, memory, times, modules and types.
#pragma once

#include <ctime>

#include "arguments.h"

namespace plain {

// A function that takes a va_list is called through one with variable arguments.
inline i32 append_list(wiq_strbuf* buf, bool empty_first, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 status = empty_first ? wiq_strbuf_rvprintf(buf, format, args)
                                   : wiq_strbuf_vprintf(buf, format, args);
    va_end(args);
    return status;
}

inline const StatusCall kContainers[] = {
    {[](Args& a) {
         wiq_map map;
         const i32 status = wiq_map_init(a.some(&map), a.number, a.some(wiq_hash_int),
                                         a.some(wiq_cmp_int), nullptr, nullptr);
         return status != 0 ? status : wiq_map_finalize(&map);
     },
     0},
    {[](Args& a) {
         wiq_map* map =
             wiq_map_new(a.number, a.some(wiq_hash_ptr), a.some(wiq_cmp_ptr), nullptr, nullptr);
         if (map != nullptr)
             wiq_map_delete(map);
         return made(map);
     },
     0},
    {[](Args& a) {
         wiq_safe_map map;
         const i32 status = wiq_safe_map_init(a.some(&map), a.number, a.some(wiq_hash_int),
                                              a.some(wiq_cmp_int), nullptr, nullptr);
         return status != 0 ? status : wiq_safe_map_finalize(&map);
     },
     0},
    {[](Args& a) {
         wiq_safe_map* map = wiq_safe_map_new(a.number, a.some(wiq_hash_int), a.some(wiq_cmp_int),
                                              nullptr, nullptr);
         if (map != nullptr)
             wiq_safe_map_delete(map);
         return made(map);
     },
     0},
    {[](Args& a) {
         wiq_vector vec;
         const i32 status = wiq_vector_init(a.some(&vec), a.either(u64{3}, u64{0}),
                                            a.either(i32{a.number}, -1), nullptr, nullptr);
         return status != 0 ? status : wiq_vector_finalize(&vec);
     },
     0},
    {[](Args& a) {
         wiq_vector* vec = wiq_vector_new(a.either(u64{3}, u64{0}), a.either(i32{a.number}, -1),
                                          nullptr, nullptr);
         wiq_vector_delete(vec);
         return made(vec);
     },
     0},
    {[](Args& a) { return wiq_vector_finalize(a.some(&a.vec)); }, 0},
    {[](Args& a) { return wiq_vector_resize(a.some(&a.vec), a.either(i32{a.number}, -1)); }, 0},
    {[](Args& a) { return made(wiq_vector_push(a.some(&a.vec))); }, 0},
    {[](Args& a) {
         return wiq_vector_pop(a.some(&a.vec), a.either(1, a.number % 2 == 0 ? -1 : 3));
     },
     0},
    {[](Args& a) {
         return made(wiq_vector_get(a.some(&a.vec), a.either(-2, a.number % 2 == 0 ? -3 : 2)));
     },
     0},
    {[](Args& a) { return made(wiq_vector_get_const(a.some(&a.vec), a.either(1, 2))); }, 0},
    {[](Args& a) { return wiq_vector_size(a.some(&a.vec)); }, 2},
    {[](Args& a) { return wiq_vector_extra_capacity(a.some(&a.vec), a.either(i32{a.number}, -1)); },
     0},
    {[](Args& a) { return wiq_vector_extra_capacity(&a.vec, a.either(1, INT32_MAX)); }, 0,
     WIQ_ERR_NO_MEMORY},
    {[](Args& a) {
         CHECK(wiq_vector_resize(&a.vec, 0) == 0);
         return wiq_vector_extra_capacity(&a.vec, a.either(0, -1));
     },
     0},
    {[](Args& a) {
         wiq_strbuf buf;
         const i32 status = wiq_strbuf_init(a.some(&buf), a.number);
         if (status == 0)
             wiq_strbuf_finalize(&buf);
         return status;
     },
     0},
    {[](Args& a) { return made_block(wiq_strbuf_release(a.some(&a.buf))); }, 0},
    {[](Args& a) { return wiq_strbuf_reset(a.some(&a.buf)); }, 0},
    {[](Args& a) { return wiq_strbuf_reset_pos(a.some(&a.buf), a.either(u64{4}, u64{5})); }, 0},
    {[](Args& a) {
         return i32{wiq_strbuf_getc(a.some(&a.buf), a.either(-1, a.number % 2 == 0 ? 4 : -5))};
     },
     't', 0},
    {[](Args& a) { return wiq_strbuf_putc(a.some(&a.buf), 'x'); }, 0},
    {[](Args& a) { return wiq_strbuf_write(a.some(&a.buf), a.some("abc"), 2); }, 2},
    {[](Args& a) { return wiq_strbuf_write(&a.buf, "abc", a.either(u64{9}, UINT64_MAX)); }, 3,
     WIQ_ERR_NO_MEMORY},
    {[](Args& a) { return wiq_strbuf_rwrite(a.some(&a.buf), a.some("abc"), 0); }, 0},
    {[](Args& a) { return wiq_strbuf_printf(a.some(&a.buf), a.some("%d"), 17); }, 2},
    {[](Args& a) { return wiq_strbuf_rprintf(a.some(&a.buf), a.some("%2$d%1$s"), "x", 17); }, 3},
    {[](Args& a) { return append_list(a.some(&a.buf), a.number % 2 == 0, a.some("%d"), 17); }, 2},
    {[](Args& a) { return wiq_strbuf_printf(&a.buf, a.either("%s", "%n"), "x"); }, 1,
     WIQ_ERR_FAILED},
    {[](Args& a) { return wiq_strbuf_printhex(a.some(&a.buf), a.some("x"), 1); }, 0},
    {[](Args& a) { return wiq_strbuf_printhex(&a.buf, "x", a.either(u64{1}, UINT64_MAX)); }, 0,
     WIQ_ERR_NO_MEMORY},
    {[](Args& a) { return wiq_strbuf_extra_capacity(a.some(&a.buf), a.number); }, 0},
    {[](Args& a) { return wiq_strbuf_extra_capacity(&a.buf, a.either(u64{1}, UINT64_MAX)); }, 0,
     WIQ_ERR_NO_MEMORY},
    {[](Args& a) {
         return wiq_strbuf_struct_str(a.some(&a.buf), a.some(" x "), 3, a.number % 2 == 0);
     },
     0},
    {[](Args& a) { return wiq_strbuf_struct_str(&a.buf, "x", a.either(u64{1}, UINT64_MAX), true); },
     0, WIQ_ERR_NO_MEMORY},
    {[](Args& a) {
         wiq_strv strv;
         const i32 status = wiq_strv_init(a.some(&strv));
         return status != 0 ? status : wiq_strv_finalize(&strv);
     },
     0},
    {[](Args& a) { return wiq_strv_finalize(a.some(&a.strv)); }, 0},
    {[](Args& a) { return wiq_strv_push(a.some(&a.strv), a.number % 2 == 0 ? nullptr : "x"); }, 0,
     WIQ_ERR_NO_MEMORY},
    {[](Args& a) { return wiq_strv_pushf(a.some(&a.strv), "%d", 17); }, 2, WIQ_ERR_NO_MEMORY},
    {[](Args& a) { return wiq_strv_pushf(&a.strv, a.some("%d"), 17); }, 2},
};

inline const StatusCall kCore[] = {
    {[](Args& a) {
         void* block = nullptr;
         const i32 status = wiq_real_aligned_alloc(a.some(&block), a.number, 16);
         wiq_real_aligned_free(block);
         return status;
     },
     0},
    {[](Args& a) {
         void* block = nullptr;
         const i32 status = wiq_real_aligned_alloc(&block, 9, a.either(size_t{0}, size_t{3}));
         wiq_real_aligned_free(block);
         return status;
     },
     0, WIQ_ERR_NO_MEMORY},
    // The hooks change the values that they are given. The failure hook is called for each failure.
    {[](Args& a) {
         static size_t failed;
         failed = 0;
         void* block = nullptr;
         const i32 status = wiq_wrap_aligned_alloc(
             a.some(&block), a.number, 8, [](size_t) { ++failed; },
             [](void***, size_t* size, size_t*) { ++*size; }, nullptr);
         CHECK((failed == 0) == (status == 0));
         wiq_wrap_aligned_free(block, nullptr);
         return status;
     },
     0},
    {[](Args& a) {
         static size_t failed;
         failed = 0;
         // A size of 0 allocates nothing. If a hook sets the result to NULL, that is a failure.
         static void* taken;
         taken = nullptr;
         void* block = wiq_wrap_malloc(
             a.number, a.number % 2 == 0, [](size_t size) { failed = size; },
             [](size_t* size) { *size /= 2; },
             a.either(
                 +[](void**, size_t*) {},
                 +[](void** result, size_t*) {
                     taken = *result;
                     *result = nullptr;
                 }));
         const bool is_null = block == nullptr;
         CHECK(!is_null || failed == a.number / 2U);
         free(taken);
         free(block);
         return is_null == (a.bad || a.number < 2) ? 0 : 1;
     },
     0, 0},
    {[](Args& a) {
         static size_t failed;
         failed = 0;
         void* block = wiq_wrap_realloc(
             malloc(3), a.either(size_t{9}, size_t{0}), [](size_t) { ++failed; },
             [](void**, size_t*) {}, nullptr);
         CHECK((block == nullptr) == (failed == 1));
         free(block);
         return made(block);
     },
     0},
    {[](Args& a) { return made_block(wiq_wrap_strdup(a.some("text"), nullptr, nullptr, nullptr)); },
     0},
    {[](Args& a) {
         struct tm tm;
         return wiq_get_tm(a.some(&tm));
     },
     0, WIQ_ERR_TIME_CONVERSION},
    {[](Args& a) {
         struct tm tm;
         const i64 seconds = a.either(i64{a.number}, i64{-1});
         return wiq_gmtime_real(a.some(&seconds), a.some(&tm));
     },
     0, WIQ_ERR_TIME_CONVERSION},
    {[](Args& a) {
         struct tm tm = {};
         return calc_tm_to_ms(a.some(&tm));
     },
     0},
    {[](Args& a) {
         char text[14];
         return time_ms_to_string(a.number, a.number, a.some(text));
     },
     13},
    {[](Args& a) {
         wiq_lib lib = {};
         const i32 status = wiq_dlopen_real(a.some("libm.so.6"), a.some(&lib));
         wiq_dlclose_real(&lib);
         return status;
     },
     0},
    {[](Args& a) {
         wiq_lib lib = {};
         CHECK(wiq_dlopen_real("libm.so.6", &lib) == 0);
         void* symbol = nullptr;
         const i32 status = wiq_dlsym_real(a.some(&lib), a.some("cos"), a.some(&symbol));
         wiq_dlclose_real(&lib);
         wiq_dlclose_real(nullptr);
         return status;
     },
     0},
    // NULL in place of a type, a class or an object.
    {[](Args&) { return type_init(nullptr, nullptr) | type_uninit(nullptr); }, 0},
    {[](Args& a) {
         WiqObject* object = object_new(&WiqJsonVisitorType);
         CHECK(object != nullptr);
         WiqObject* seen = a.some(object);
         const WiqType* type = a.some(&ObjectType);
         const bool is = type_is_child(type, a.bad ? nullptr : &WiqJsonVisitorType);
         CHECK((object_check(seen, type) != nullptr) == is &&
               (class_check(object_get_class(seen), type) != nullptr) == is);
         CHECK((object_get_super_class(seen, type) != nullptr) == is);
         CHECK((class_get_super_class(object_get_class(seen), type) != nullptr) == is);
         object_unref(object);
         object_unref(nullptr);
         return is ? 0 : static_cast<i32>(WIQ_ERR_INVALID_ARG);
     },
     0},
};

}  // namespace plain
