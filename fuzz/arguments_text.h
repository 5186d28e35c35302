// The calls of the target `arguments` on texts, tagged values and files.
#pragma once

#include "arguments.h"

namespace plain {

// Functions that take a va_list are called through these, which have variable arguments.
inline i32 print_list(char* buf, u64 size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 status = wiq_vsprintf(buf, size, format, args);
    va_end(args);
    return status;
}
inline i32 measure_list(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 status = wiq_vscprintf(format, args);
    va_end(args);
    return status;
}
inline i32 reuse_list(char** block, u64* size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 status = wiq_vrasprintf(block, size, format, args);
    va_end(args);
    return status;
}

// A stream of two lines, open as long as the object lives.
class Stream {
  public:
    Stream() : fp_(fmemopen(text_, strlen(text_), "r")) { CHECK(fp_ != nullptr); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream() { fclose(fp_); }
    FILE* get() const { return fp_; }

  private:
    char text_[12] = "[s]\nk = v\r\n";
    FILE* fp_;
};

// A reusable block, freed with the object.
struct Block {
    Block() = default;
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() { free(text); }
    char* text = nullptr;
    u64 size = 0;
};

inline const StatusCall kText[] = {
    {[](Args& a) {
         i32 out;
         return wiq_strtoint32(a.some("7"), a.some(&out));
     },
     0},
    {[](Args& a) {
         i64 out;
         return wiq_strtoint64(a.some("7"), a.some(&out));
     },
     0},
    {[](Args& a) {
         u16 out;
         return wiq_strtouint16(a.some("7"), a.some(&out));
     },
     0},
    {[](Args& a) {
         u32 out;
         return wiq_strtouint32(a.some("7"), a.some(&out));
     },
     0},
    {[](Args& a) {
         u64 out;
         return wiq_strtouint64(a.some("7"), a.some(&out));
     },
     0},
    {[](Args& a) {
         double out;
         return wiq_strtodouble(a.some("7"), a.some(&out));
     },
     0},
    {[](Args& a) {
         wiq_uint128 out;
         return wiq_uint128_from_str(a.some("7"), a.some(&out));
     },
     0},
    {[](Args& a) {
         char text[40];
         return wiq_uint128_to_str({a.number, 1}, 10, a.some(text), a.either(u64{40}, u64{0}));
     },
     21},
    {[](Args& a) {
         char text[40];
         return wiq_uint128_to_str({7, 0}, a.either(10, a.number % 2 == 0 ? 1 : 38), text, 40);
     },
     2, WIQ_ERR_BAD_RADIX},
    {[](Args& a) {
         char text[40];
         return wiq_uint128_to_str({77, 0}, 10, text, a.either(u64{3}, u64{1} + a.number % 2));
     },
     3, WIQ_ERR_BUFFER_TOO_SMALL},
    {[](Args& a) {
         wiq_uint128 quotient;
         return wiq_uint128_div({a.number, 1}, {a.either(u64{3}, u64{0}), 0}, &quotient, nullptr);
     },
     0},
    {[](Args& a) {
         const u32 number = 0x89ABCDEF;
         const wiq_uint24 narrow_value = wiq_uint24_init(number);
         const wiq_uint48 wide_value = wiq_uint48_init(u64{number} << 16 | a.number);
         CHECK(narrow_value.bytes[0] == 0xEF && narrow_value.bytes[2] == 0xAB);
         CHECK(wide_value.bytes[0] == a.number && wide_value.bytes[2] == 0xEF &&
               wide_value.bytes[5] == 0x89);
         return 0;
     },
     0},
    {[](Args& a) {
         const u64 gb = 50 + a.number;
         const int sector = a.number % 2 == 0 ? 512 : 4096;
         const u64 blocks = wiq_get_lba_count_idema(gb, sector);
         CHECK(wiq_gb_to_bytes_idema(gb, sector) == blocks * static_cast<u64>(sector));
         CHECK(wiq_get_cap_idema(blocks, sector) == gb);
         return 0;
     },
     0},
    {[](Args& a) {
         char out[9];
         size_t size = sizeof(out);
         const u8 bytes[] = {1, 2, 3};
         return wiq_base64_encode(a.some(bytes), sizeof(bytes), a.some(out), a.some(&size));
     },
     0},
    {[](Args& a) {
         u8 out[9];
         size_t size = sizeof(out);
         return wiq_base64_decode(a.some("AAAA"), 4, a.some(out), a.some(&size));
     },
     0},
    {[](Args& a) {
         return wiq_snprintf(a.number % 2 == 0 ? nullptr : a.buf.data, 3, a.some("%d"), 1234) < 0
                    ? -1
                    : 4;
     },
     4, -1},
    {[](Args& a) {
         char text[4] = "abc";
         CHECK((wiq_snprintf(text, 3, a.either("%d", "%n"), 1234) < 0) == a.bad);
         CHECK(strlen(text) == (a.bad ? 0 : 2));
         return a.bad ? -1 : 0;
     },
     0, -1},
    {[](Args& a) { return measure_list(a.some("%d"), 17) < 0 ? -1 : 2; }, 2, -1},
    {[](Args& a) {
         char text[3];
         return print_list(a.some(text), a.either(u64{3}, u64{2}), a.some("%d"), 17);
     },
     2, WIQ_ERR_FAILED},
    {[](Args& a) {
         Block block;
         return wiq_asprintf(a.some(&block.text), a.some("%d"), 17);
     },
     2},
    {[](Args& a) {
         Block block;
         return wiq_asprintf(&block.text, a.either("%2$d%1$s", "%2$d"), "x", 17);
     },
     3, WIQ_ERR_FAILED},
    {[](Args& a) {
         Block block;
         return reuse_list(a.some(&block.text), a.some(&block.size), a.some("%d"), 17);
     },
     2},
    {[](Args& a) {
         Block block;
         return wiq_rasprintf(&block.text, &block.size, a.either("%d", "%n"), 17);
     },
     2, WIQ_ERR_FAILED},
    {[](Args& a) {
         Block block;
         return wiq_rapsprintf(a.some(&block.text), a.some(&block.size), a.some("%d"), 17);
     },
     2},
    {[](Args& a) {
         Block block;
         return wiq_rapsprintf(&block.text, &block.size, a.either("%d", "%n"), 17);
     },
     2, WIQ_ERR_FAILED},
    // A block that failed to grow: it has a size but no pointer.
    {[](Args& a) {
         Block block;
         block.size = a.either(u64{0}, u64{9});
         return a.number % 3 == 0   ? wiq_rastrcat(&block.text, &block.size, "xx")
                : a.number % 3 == 1 ? wiq_rapsprintf(&block.text, &block.size, "xx")
                                    : wiq_rasprintf(&block.text, &block.size, "xx");
     },
     2, WIQ_ERR_NO_MEMORY},
    {[](Args& a) {
         Block block;
         return wiq_rastrcat(a.some(&block.text), a.some(&block.size), a.some("xx"));
     },
     2},
    {[](Args& a) {
         Block block;
         return wiq_struct_str(a.some(" x "), 3, a.some(&block.text), &block.size,
                               a.number % 2 == 0);
     },
     0},
    {[](Args& a) {
         u32 out;
         return wiq_log2_whole(a.either(u32{8}, u32{a.number % 2 == 0 ? 0U : 9U}), a.some(&out));
     },
     0},
    {[](Args& a) {
         const u8 bytes[] = {1, 2, 3};
         return wiq_memdump_ex(
             a.some(bytes), a.either(sizeof(bytes), size_t{0}), 2, 1, 1, a.either(0, -1), true,
             true, a.some(+[](void*, u64, const char*, const char*) { return i32{0}; }), nullptr);
     },
     0},
    {[](Args& a) { return wiq_strcasecmp(a.some("x"), "X"); }, 0, -1},
    {[](Args& a) { return wiq_strcasecmp("x", a.some("X")); }, 0, 1},
    {[](Args& a) {
         char text[] = " a b ";
         char* given = a.some(text);
         trim_in_place(given);
         CHECK(wiq_upper_all(given) == given && wiq_upper_first(given) == given &&
               wiq_strchr_replace(given, ' ', '_') == given);
         CHECK(wiq_strnlen(given, 9) == (given == nullptr ? 0 : 3));
         return made(given);
     },
     0},
};

inline const StatusCall kValues[] = {
    {[](Args& a) {
         wiq_mtype value;
         wiq_mtype_init(a.some(&value));
         return a.bad ? static_cast<i32>(WIQ_ERR_INVALID_ARG) : wiq_mtype_set_null(&value);
     },
     0},
    {[](Args& a) { return wiq_mtype_finalize(a.some(&a.value)); }, 0},
    {[](Args& a) { return wiq_mtype_set_null(a.some(&a.value)); }, 0},
    {[](Args& a) { return wiq_mtype_set_bool(a.some(&a.value), a.number); }, 0},
    {[](Args& a) { return wiq_mtype_set_int32(a.some(&a.value), a.number); }, 0},
    {[](Args& a) { return wiq_mtype_set_int64(a.some(&a.value), a.number); }, 0},
    {[](Args& a) { return wiq_mtype_set_uint32(a.some(&a.value), a.number); }, 0},
    {[](Args& a) { return wiq_mtype_set_uint64(a.some(&a.value), a.number); }, 0},
    {[](Args& a) { return wiq_mtype_set_float(a.some(&a.value), a.number); }, 0},
    {[](Args& a) { return wiq_mtype_set_double(a.some(&a.value), a.number); }, 0},
    {[](Args& a) { return wiq_mtype_set_status(a.some(&a.value), a.number); }, 0},
    {[](Args& a) {
         return wiq_mtype_set_uint128(a.some(&a.value), {a.number, 1});
     },
     0},
    {[](Args& a) {
         return wiq_mtype_set_utf8(a.some(&a.value), a.number % 2 == 0 ? nullptr : "x", 1);
     },
     0},
    {[](Args& a) {
         return wiq_mtype_set_blob(a.some(&a.value), a.number % 2 == 0 ? nullptr : "x", 1, 1, 1);
     },
     0},
    {[](Args& a) { return wiq_mtype_set_ptr(a.some(&a.value), nullptr, 0); }, 0},
    {[](Args& a) {
         wiq_mtype copy;
         wiq_mtype_init(&copy);
         const i32 status = wiq_mtype_copy(a.some(&a.value), a.some(&copy));
         CHECK(status != 0 || wiq_mtype_equal(&a.value, &copy));
         wiq_mtype_finalize(&copy);
         return status;
     },
     0},
    {[](Args& a) {
         wiq_mtype copy;
         wiq_mtype_init(&copy);
         const i32 status = wiq_mtype_copy_ref(a.some(&a.value), a.some(&copy));
         CHECK(status != 0 || wiq_mtype_equal_utf8(&a.value, &copy));
         return status;
     },
     0},
    {[](Args& a) {
         return wiq_mtype_copy(&a.value, &a.value) | wiq_mtype_copy_ref(&a.value, &a.value);
     },
     0},
    {[](Args& a) { return wiq_mtype_equal(a.some(&a.value), a.some(&a.value)) ? 1 : 0; }, 1, 0},
    {[](Args& a) {
         u32 out;
         return wiq_mtype_to_uint32(a.some(&a.value), a.some(&out));
     },
     0},
    {[](Args& a) {
         u64 out;
         return wiq_mtype_to_uint64(a.some(&a.value), a.some(&out));
     },
     0},
    {[](Args& a) {
         u32 out;
         return wiq_mtype_to_uint32_ext(&a.value, &out, 3, a.either(u32{17}, u32{16}));
     },
     0, WIQ_ERR_RANGE},
    {[](Args& a) {
         u64 out;
         return wiq_mtype_to_uint64_ext(&a.value, &out, a.either(u64{17}, u64{18}), 99);
     },
     0, WIQ_ERR_RANGE},
};

inline const StatusCall kFiles[] = {
    {[](Args& a) { return wiq_append_path(a.some(&a.buf), a.some("x")); }, 2},
    {[](Args& a) { return wiq_append_paths(a.some(&a.buf), 2, a.some("x"), "y"); }, 4},
    {[](Args& a) { return wiq_append_paths(a.some(&a.buf), a.number == 0 ? 0 : -1); }, 0, 0},
    {[](Args& a) { return made_block(wiq_build_path(a.some("x"), a.some("y"))); }, 0},
    {[](Args& a) {
         char path[] = "x\\y";
         char* given = a.some(path);
         wiq_trim_dirsep(given);
         CHECK(wiq_is_abs_path(given) == false && wiq_filename_only(given) == false);
         CHECK((wiq_basename(given) == nullptr) == a.bad && wiq_dirname(given) == given);
         return made(given);
     },
     0},
    {[](Args& a) { return wiq_access(a.some("/"), 0); }, 0, 0},
    {[](Args& a) { return wiq_mkdir(a.some("/dev")); }, WIQ_ERR_ALREADY_EXISTS},
    {[](Args& a) { return wiq_mkdir_parents(a.some("x")); }, 0},
    {[](Args& a) { return wiq_rmdir(a.some("/dev/null")); }, WIQ_ERR_IO},
    {[](Args& a) { return wiq_rename(a.some("/nonexistent/x"), a.some("/nonexistent/y")); },
     WIQ_ERR_NOT_FOUND},
    {[](Args& a) { return wiq_unlink(a.some("/nonexistent/x")); }, WIQ_ERR_NOT_FOUND},
    {[](Args& a) {
         void* block = nullptr;
         return wiq_load_file(a.some("/nonexistent/x"), a.some(&block), a.number);
     },
     WIQ_ERR_NOT_FOUND},
    {[](Args& a) {
         const Stream stream;
         char* line = nullptr;
         size_t size = 0;
         const i32 length = wiq_getline(a.some(&line), a.some(&size), a.some(stream.get()));
         free(line);
         return length;
     },
     4},
    {[](Args& a) {
         const Stream stream;
         return wiq_ini_parse(
             a.some(stream.get()),
             a.number % 2 == 0 ? nullptr
                               : +[](const char*, const WiqIniLocation*, const char*,
                                     const WiqIniLocation*, void*) { return i32{0}; },
             nullptr, nullptr, nullptr);
     },
     0},
    {[](Args& a) { return made_block(narrow(a.some(L"x"), nullptr)); }, 0},
    {[](Args& a) { return made_block(widen(a.some("x"), nullptr)); }, 0},
    {[](Args& a) {
         const wchar_t* items[] = {L"x", a.either(L"y", L"\xdc00"), a.some(L"z")};
         const bool whole = a.number % 2 == 0;
         u32 err = 7;
         char** texts = narrow_array(3, items, whole ? &err : nullptr);
         CHECK((texts == nullptr) == (whole && a.bad));
         free_narrow_array(3, texts, &err);
         CHECK(err == 0);
         return texts == nullptr ? -1 : a.bad ? -1 : 0;
     },
     0, -1},
    {[](Args& a) {
         const wchar_t* items[] = {L"x"};
         u32 err = 7;
         char** texts = narrow_array(a.either(1, 0), a.some(items), &err);
         CHECK(err == 0);
         free_narrow_array(1, texts, nullptr);
         return made(texts);
     },
     0},
    {[](Args& a) {
         u32 err = 7;
         const i32 status = made_block(wiq_schema_filename(a.some("a-b"), a.number % 2 == 0, &err));
         CHECK(err == 0);
         return status;
     },
     0},
    {[](Args& a) {
         u32 err = 7;
         CHECK(wiq_schema_open(a.some("no such schema.json"), &err) == nullptr);
         return static_cast<i32>(err);
     },
     WIQ_ERR_NOT_FOUND},
    {[](Args& a) {
         u32 err = 7;
         CHECK(wiq_load_schema(a.some("no such schema.json"), &err) == nullptr);
         return static_cast<i32>(err);
     },
     WIQ_ERR_IO},
};

}  // namespace plain
