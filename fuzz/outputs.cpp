// Checks that every byte that the library returns has been written: documents, buffers and records made from
// hostile input. The target uses blocks from malloc() and not the C++ library, which is not instrumented for
// MemorySanitizer. It is the only target under MemorySanitizer, and one of many under AddressSanitizer.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <initializer_list>

#include "ke_utils.h"
#include "ke_utils/utf8.h"

#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
#include <sanitizer/msan_interface.h>
#define CHECK_WRITTEN(bytes, count) __msan_check_mem_is_initialized(bytes, count)

#include <charconv>

// The C++ library writes and reads doubles, and MemorySanitizer does not see its stores. So the linker
// redirects its two functions to these, which report what has been stored.
extern "C" std::to_chars_result ke_real_to_chars(
    char* first, char* last, double value, std::chars_format format,
    int precision) __asm__("__real__ZSt8to_charsPcS_dSt12chars_formati");
extern "C" std::to_chars_result ke_wrap_to_chars(
    char* first, char* last, double value, std::chars_format format,
    int precision) __asm__("__wrap__ZSt8to_charsPcS_dSt12chars_formati");
std::to_chars_result ke_wrap_to_chars(char* first, char* last, double value,
                                      std::chars_format format, int precision) {
    __msan_check_mem_is_initialized(&value, sizeof(value));
    std::to_chars_result result = ke_real_to_chars(first, last, value, format, precision);
    __msan_unpoison(&result, sizeof(result));
    __msan_unpoison(first, static_cast<size_t>(result.ptr - first));
    return result;
}
extern "C" std::from_chars_result ke_real_from_chars(
    const char* first, const char* last, double& value,
    std::chars_format format) __asm__("__real__ZSt10from_charsPKcS0_RdSt12chars_format");
extern "C" std::from_chars_result ke_wrap_from_chars(
    const char* first, const char* last, double& value,
    std::chars_format format) __asm__("__wrap__ZSt10from_charsPKcS0_RdSt12chars_format");
std::from_chars_result ke_wrap_from_chars(const char* first, const char* last, double& value,
                                          std::chars_format format) {
    __msan_check_mem_is_initialized(first, static_cast<size_t>(last - first));
    std::from_chars_result result = ke_real_from_chars(first, last, value, format);
    __msan_unpoison(&result, sizeof(result));
    if (result.ec == std::errc())
        __msan_unpoison(&value, sizeof(value));
    return result;
}
#endif
#endif
#ifndef CHECK_WRITTEN
#define CHECK_WRITTEN(bytes, count) ((void)(bytes), (void)(count))
#endif

namespace {

void check(bool good) {
    if (!good)
        abort();
}

// Checks a text that the library has returned, including its NUL, and releases it.
void take_text(char* text) {
    if (text != nullptr)
        CHECK_WRITTEN(text, strlen(text) + 1);
    free(text);
}

void use_document(wiq_json_t* root, const char* text) {
    for (const u32 flags : {0u, 2u, 4u, 8u, 14u}) {
        char* out = nullptr;
        const i32 length = wiq_json_sdump(root, &out, flags);
        check(length < 0 || strlen(out) == static_cast<size_t>(length));
        take_text(out);
    }
    char* stored = nullptr;
    size_t size = 0;
    FILE* stream = open_memstream(&stored, &size);
    const i32 written = wiq_json_fdump(root, stream, WIQ_JSON_DUMP_PRETTY, 3);
    fclose(stream);
    check(written < 0 || size == static_cast<size_t>(written));
    CHECK_WRITTEN(stored, size);
    free(stored);
    char* ascii = nullptr;
    if (ke_json_sdump_ascii(root, &ascii, 0) >= 0)
        take_text(ascii);

    wiq_json_t* copy = wiq_json_copy(root, nullptr);
    check(wiq_json_equal(root, copy));
    for (u32 flags = 0; flags < 16; ++flags)
        check(wiq_json_subset(root, copy, flags));
    u32 err = 0;
    char* prefix = nullptr;
    wiq_json_t* found = wiq_json_ptr_get(root, text, &err, &prefix);
    take_text(prefix);
    char* name = nullptr;
    if (found != nullptr && wiq_json_ptr(found, &name) >= 0)
        take_text(name);
    err = 0;
    wiq_json_ptr_put_str(copy, text, "value", &err);
    wiq_json_ptr_put_array(copy, "/a/0/-", &err);
    if (strlen(text) < 300)
        wiq_json_jref_expand(copy);
    wiq_json_unref(copy);
}

void parse(char* text) {
    wiq_json_load_error error;
    wiq_json_t* root = wiq_json_loads(text, 0, &error);
    CHECK_WRITTEN(&error, sizeof(error));
    if (root != nullptr)
        use_document(root, text);
    wiq_json_unref(root);
    if (*text == '\0')
        return;
    FILE* stream = fmemopen(text, strlen(text), "r");
    root = wiq_json_loadf(stream, WIQ_JSON_REJECT_DUPLICATES, &error);
    CHECK_WRITTEN(&error, sizeof(error));
    wiq_json_unref(root);
    rewind(stream);
    const i32 status = wiq_ini_parse(
        stream,
        [](const char* word, const WiqIniLocation* location, const char* argument,
           const WiqIniLocation* argument_place, void*) {
            CHECK_WRITTEN(word, strlen(word) + 1);
            CHECK_WRITTEN(location, sizeof(*location));
            CHECK_WRITTEN(argument_place, sizeof(*argument_place));
            if (argument != nullptr)
                CHECK_WRITTEN(argument, strlen(argument) + 1);
            return 0;
        },
        [](const char* key, const WiqIniLocation* location, const char* value,
           const WiqIniLocation* value_place, void*) {
            CHECK_WRITTEN(key, strlen(key) + 1);
            CHECK_WRITTEN(location, sizeof(*location));
            CHECK_WRITTEN(value, strlen(value) + 1);
            CHECK_WRITTEN(value_place, sizeof(*value_place));
            return 0;
        },
        [](const WiqIniLocation* location, void*) { CHECK_WRITTEN(location, sizeof(*location)); },
        nullptr);
    check(status == 0 || status == WIQ_ERR_INI_SYNTAX);
    rewind(stream);
    char* line = nullptr;
    size_t room = 0;
    for (i32 length = 0; (length = wiq_getline(&line, &room, stream)) >= 0;)
        CHECK_WRITTEN(line, static_cast<size_t>(length) + 1);
    free(line);
    fclose(stream);
    root = ke_json_loads_utf8(text, strlen(text), 0, &error);
    wiq_json_unref(root);
}

// Checks the status of a function that parses a number, and that it has stored a number.
template <class Number>
void parse_number(i32 (*read)(const char*, Number*), const char* text) {
    Number number;
    const i32 status = read(text, &number);
    if (status == 0 || status == WIQ_ERR_RANGE || status == WIQ_ERR_TRAILING_CHARS)
        CHECK_WRITTEN(&number, sizeof(number));
}

void read_numbers(const char* text) {
    parse_number(wiq_strtoint32, text);
    parse_number(wiq_strtoint64, text);
    parse_number(wiq_strtouint16, text);
    parse_number(wiq_strtouint32, text);
    parse_number(wiq_strtouint64, text);
    double real;
    if (wiq_strtodouble(text, &real) == 0)
        CHECK_WRITTEN(&real, sizeof(real));
    wiq_uint128 wide;
    if (wiq_uint128_from_str(text, &wide) == 0) {
        CHECK_WRITTEN(&wide, sizeof(wide));
        char digits[140];
        const i32 count =
            wiq_uint128_to_str(wide, 2 + static_cast<i32>(wide.lo % 35), digits, sizeof(digits));
        check(count > 0);
        CHECK_WRITTEN(digits, static_cast<size_t>(count));
    }
}

i32 take_line(void*, u64, const char* hex, const char* ascii) {
    CHECK_WRITTEN(hex, strlen(hex) + 1);
    CHECK_WRITTEN(ascii, strlen(ascii) + 1);
    return 0;
}

void encode(const u8* data, size_t size) {
    if (size == 0)
        return;
    size_t length = wiq_base64_encode_len(size);
    char* text = static_cast<char*>(malloc(length));
    check(wiq_base64_encode(data, size, text, &length) == 0);
    CHECK_WRITTEN(text, length + 1);
    size_t room = length;
    u8* bytes = static_cast<u8*>(malloc(length));
    check(wiq_base64_decode(text, length, bytes, &room) == 0 && room == size);
    CHECK_WRITTEN(bytes, room);
    free(bytes);
    free(text);
    check(wiq_memdump_ex(data, size, 16, 4, 8, 1, true, true, take_line, nullptr) == 0);
}

void fill_buffers(const u8* data, size_t size, const char* text) {
    wiq_strbuf buf;
    check(wiq_strbuf_init(&buf, size % 70) == 0);
    check(wiq_strbuf_printf(&buf, "%2$s %1$zu", size, text) > 0);
    check(wiq_strbuf_printhex(&buf, data, size) == 0);
    check(wiq_append_paths(&buf, 2, text, buf.data) >= 0);
    wiq_json_escape_str_ext(text, &buf);
    CHECK_WRITTEN(buf.data, buf.len + 1);
    take_text(wiq_strbuf_release(&buf));
    take_text(wiq_build_path(text, text));
    take_text(wiq_schema_filename(text, size % 2 == 0, nullptr));
    char* block = nullptr;
    u64 room = 0;
    check(wiq_rasprintf(&block, &room, "%s", text) >= 0 &&
          wiq_rapsprintf(&block, &room, "<%s>", block) >= 0);
    if (size != 0)
        check(wiq_struct_str(data, size, &block, &room, true) == 0);
    take_text(block);
    wchar_t* wide = widen(text, nullptr);
    CHECK_WRITTEN(wide, (wcslen(wide) + 1) * sizeof(wchar_t));
    take_text(narrow(wide, nullptr));
    free(wide);
}

void fill_containers(const u8* data, size_t size, const char* text) {
    wiq_map map;
    wiq_strv list;
    check(wiq_map_init(&map, size % 5, wiq_hash_str, wiq_cmp_str, free, nullptr) == 0);
    check(wiq_strv_init(&list) == 0);
    for (size_t i = 0; i < size && i < 100; ++i) {
        char* key = static_cast<char*>(malloc(40));
        snprintf(key, 40, "%d%.30s", data[i], text);
        check(wiq_map_put(&map, key, key) == 0);
        check(wiq_strv_push(&list, key) == 0);
    }
    wiq_strv_sort(&list);
    for (u32 i = 0; i < static_cast<u32>(list.size); ++i)
        check(wiq_map_test_key(&map, wiq_strv_get(&list, i)));
    check(wiq_strv_finalize(&list) == 0);
    check(wiq_map_finalize(&map) == 0);

    wiq_mtype value;
    wiq_mtype copy;
    wiq_mtype_init(&value);
    wiq_mtype_init(&copy);
    check(wiq_mtype_set_utf8(&value, text, 1) == 0 && wiq_mtype_copy(&value, &copy) == 0);
    check(wiq_mtype_equal(&value, &copy));
    u64 number;
    if (wiq_mtype_to_uint64(&value, &number) == 0)
        CHECK_WRITTEN(&number, sizeof(number));
    check(wiq_mtype_set_blob(&value, data, size, 1, 1) == 0 && wiq_mtype_copy(&value, &copy) == 0);
    u64 length = 0;
    const void* bytes = wiq_mtype_get_blob(&copy, &length);
    CHECK_WRITTEN(bytes, length);
    check(wiq_mtype_finalize(&value) == 0 && wiq_mtype_finalize(&copy) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    // Copy the bytes up to a NUL into a block of exactly that size.
    const size_t length = strnlen(reinterpret_cast<const char*>(data), size);
    char* text = static_cast<char*>(malloc(length + 1));
    memcpy(text, data, length);
    text[length] = '\0';
    parse(text);
    read_numbers(text);
    encode(data, size);
    fill_buffers(data, size, text);
    fill_containers(data, size, text);
    free(text);
    return 0;
}
