// Operations on texts, containers, tagged values and types for the target `starved`. Each releases everything that it
// was given.
#pragma once

#include "starved.h"

namespace starved {

// A reusable block for formatted text. If the block cannot grow, the caller still owns it.
struct Block {
    Block() = default;
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() { free(text); }

    // Makes a call that may replace the block. If it is out of memory, it stores NULL and the size that it needed.
    template <class Call>
    bool change(Call call) {
        char* before = text;
        const i32 status = starving(call);
        if (!is_starved(status))
            return true;
        CHECK(text == nullptr && size > 0);
        text = nullptr;
        size = 0;
        free(before);
        return false;
    }

    char* text = nullptr;
    u64 size = 0;
};

inline void use_texts(const Op& op) {
    const std::string part(size_t{op.c} * 3, 'p');
    char* made = nullptr;
    if (!is_starved(starving([&] { return wiq_asprintf(&made, "%2$s-%1$d", 17, part.c_str()); })))
        CHECK(part + "-17" == made);
    else
        CHECK(made == nullptr);
    free(made);
    Block block;
    std::string expected;
    for (int i = 0; i < 4; ++i) {
        bool good = false;
        switch ((op.d >> 2 * i) % 4) {
            case 0:
                expected = part;
                good = block.change(
                    [&] { return wiq_rasprintf(&block.text, &block.size, "%s", part.c_str()); });
                break;
            case 1:
                expected += part + "!";
                good = block.change(
                    [&] { return wiq_rapsprintf(&block.text, &block.size, "%s!", part.c_str()); });
                break;
            case 2:
                expected += part;
                good = block.change(
                    [&] { return wiq_rastrcat(&block.text, &block.size, part.c_str()); });
                break;
            default: {
                // This function leaves the size unchanged when out of memory.
                char* before = block.text;
                const u64 room = block.size;
                expected = "x";
                good = !is_starved(starving(
                    [&] { return wiq_struct_str(" x  ", 4, &block.text, &block.size, true); }));
                if (good)
                    break;
                CHECK(block.text == nullptr && block.size == room);
                free(before);
                block.size = 0;
            }
        }
        if (!good)
            expected.clear();
        CHECK(block.text == nullptr ? expected.empty() : expected == block.text);
    }
    std::string hex;
    const i32 status = starving([&] {
        return wiq_memdump_ex(
            reinterpret_cast<const u8*>("some bytes"), 10, op.e % 12, 1, 1, op.e % 3, true, true,
            [](void* user, u64, const char* line, const char*) {
                static_cast<std::string*>(user)->append(line);
                return i32{0};
            },
            &hex);
    });
    CHECK(is_starved(status) ? hex.empty() : !hex.empty());
}

// A string buffer, and what each append adds to it.
inline void use_buffer(const Op& op) {
    wiq_strbuf buf;
    if (is_starved(starving([&] { return wiq_strbuf_init(&buf, op.c); }))) {
        CHECK(buf.data == nullptr);
        return;
    }
    std::string expected;
    const std::string part(op.d, 'x');
    const auto check = [&](i32 status, const std::string& text) {
        if (!is_starved(status))
            expected = text;
        CHECK(buf.len == expected.size() && buf.len < buf.capacity && expected == buf.data);
    };
    for (int i = 0; i < 3; ++i) {
        check(starving([&] { return wiq_strbuf_write(&buf, part.data(), part.size()); }),
              expected + part);
        check(starving([&] { return wiq_strbuf_putc(&buf, 'c'); }), expected + "c");
        check(starving([&] { return wiq_strbuf_printf(&buf, "%2$s%1$d", i, part.c_str()); }),
              expected + part + std::to_string(i));
        check(starving([&] { return wiq_strbuf_printhex(&buf, "\x1f\xf0", 2); }),
              expected + "1FF0");
        check(starving([&] { return wiq_strbuf_extra_capacity(&buf, op.e); }), expected);
        // Append bytes that lie in the block after the text.
        if (buf.capacity - buf.len > 4) {
            memcpy(buf.data + buf.len + 2, "\xab\xcd", 2);
            check(starving([&] { return wiq_strbuf_printhex(&buf, buf.data + buf.len + 2, 2); }),
                  expected + "ABCD");
        }
        check(starving([&] { return wiq_append_path(&buf, "dir"); }),
              expected + (expected.empty() ? "dir" : "\\dir"));
    }
    // This function empties the buffer first.
    if (is_starved(
            starving([&] { return wiq_strbuf_struct_str(&buf, "  field  ", 9, op.e % 2 == 0); })))
        expected.clear();
    else
        expected = op.e % 2 == 0 ? "field" : "  field  ";
    CHECK(expected == buf.data);
    char* text = starving([&] { return wiq_strbuf_release(&buf); });
    CHECK(text == nullptr ? g_fired && expected == buf.data
                          : expected == text && buf.data == nullptr);
    free(text);
    wiq_strbuf_finalize(&buf);
}

inline void use_strings(const Op& op) {
    wiq_strv strv;
    CHECK(wiq_strv_init(&strv) == 0);
    for (int i = 0; i < op.c % 32; ++i) {
        // If only the copy could not be made, the slot stays and holds NULL.
        const i32 before = wiq_vector_size(&strv);
        const bool starved = is_starved(starving([&] {
            return i % 2 == 0 ? wiq_strv_push(&strv, "text")
                              : wiq_strv_pushf(&strv, "%2$s%1$d", i, "n");
        }));
        const i32 after = wiq_vector_size(&strv);
        CHECK(after == before + 1 || (starved && after == before));
        CHECK(after == before ||
              (wiq_strv_get(&strv, static_cast<u32>(before)) == nullptr) == starved);
    }
    wiq_strv_sort(&strv);
    CHECK(wiq_strv_finalize(&strv) == 0);
}

// A vector. A callback may change, once, the vector for which it is called.
inline wiq_vector* g_meddled;
inline int g_until;

inline void meddle(void*) {
    if (g_meddled != nullptr && --g_until == 0) {
        wiq_vector* vec = g_meddled;
        g_meddled = nullptr;
        CHECK(wiq_vector_resize(vec, 5) <= 0);
    }
}

inline void use_vector(const Op& op) {
    const bool meddles = op.d % 2 != 0;
    g_meddled = nullptr;
    g_until = 1 + op.d / 2 % 32;
    wiq_vector vec = {};
    const auto fits = [&](i32 status) {
        CHECK(status == 0 || (status == WIQ_ERR_NO_MEMORY && g_fired) ||
              (status == WIQ_ERR_FAILED && meddles));
        return status == 0;
    };
    const wiq_vector_elem_fn callback = meddles ? meddle : nullptr;
    fits(starving(
        [&] { return wiq_vector_init(&vec, 3 + op.e % 5, op.c % 7, callback, callback); }));
    g_meddled = meddles ? &vec : nullptr;
    for (int i = 0; i < 6; ++i) {
        const i32 before = vec.size;
        const void* elem = starving([&] { return wiq_vector_push(&vec); });
        CHECK(elem != nullptr ? vec.size == before + 1 && elem == wiq_vector_get(&vec, -1)
                              : g_fired || meddles);
    }
    i32 before = vec.size;
    CHECK(fits(starving([&] { return wiq_vector_resize(&vec, op.c); }))
              ? vec.size == op.c
              : meddles || vec.size == before);
    before = vec.size;
    if (fits(starving([&] { return wiq_vector_extra_capacity(&vec, op.e); })))
        CHECK(vec.capacity == vec.size + op.e);
    if (vec.size > 2)
        fits(wiq_vector_pop(&vec, 2));
    fits(wiq_vector_resize(&vec, 0));
    g_meddled = nullptr;
    CHECK(wiq_vector_resize(&vec, 0) == 0);
    CHECK(!fits(starving([&] { return wiq_vector_extra_capacity(&vec, 0); })) ||
          vec.data == nullptr);
    CHECK(wiq_vector_finalize(&vec) == 0);
    wiq_vector* made = starving([&] { return wiq_vector_new(8, op.c % 4, nullptr, nullptr); });
    CHECK(made != nullptr || g_fired);
    wiq_vector_delete(made);
}

inline void use_map(const Op& op) {
    static u64 cells[512];
    const bool by_cell = op.d % 2 == 0;
    const auto key_of = [&](size_t i) {
        cells[i % 512] = i;
        return by_cell ? static_cast<void*>(&cells[i % 512]) : reinterpret_cast<void*>(i);
    };
    const wiq_hash_fn hash = by_cell ? wiq_hash_ptr : wiq_hash_int;
    const wiq_cmp_fn cmp = by_cell ? wiq_cmp_ptr : wiq_cmp_int;
    wiq_map* map = starving([&] { return wiq_map_new(op.c, hash, cmp, nullptr, nullptr); });
    CHECK(map != nullptr || g_fired);
    for (size_t i = 1; map != nullptr && i <= 2 * (op.e % 128U); ++i) {
        const u64 before = wiq_map_size(map);
        void* old = nullptr;
        i32 status = 0;
        if (i % 3 != 0) {
            status = starving([&] { return wiq_map_replace(map, key_of(i), key_of(i), &old); });
        } else {
            const void* value = starving([&] {
                return wiq_map_memoize(
                    map, key_of(i),
                    [](const void* key, void*, i32*) { return const_cast<void*>(key); }, nullptr,
                    &status);
            });
            CHECK(value == key_of(i));
        }
        // After a failure the entry may still be stored, if only the table could not grow.
        const u64 after = wiq_map_size(map);
        CHECK(is_starved(status) ? after - before <= 1 : after - before == 1);
        CHECK(wiq_map_test_key(map, key_of(i)) == (after != before) && old == nullptr);
    }
    if (map != nullptr) {
        size_t seen = 0;
        wiq_map_foreach(
            map,
            [](void*, void*, void* user) {
                ++*static_cast<size_t*>(user);
                return true;
            },
            &seen);
        CHECK(seen == wiq_map_size(map));
        wiq_map_delete(map);
    }
    // The locked map also needs a mutex.
    wiq_safe_map safe;
    const i32 status = starving([&] {
        return wiq_safe_map_init(&safe, op.c, wiq_hash_str, wiq_cmp_str, nullptr, nullptr);
    });
    CHECK(g_no_locks ? status == WIQ_ERR_LOCK_INIT : status == 0 || is_starved(status));
    if (status == 0) {
        char key[] = "key";
        const bool stored =
            !is_starved(starving([&] { return wiq_safe_map_put(&safe, key, key); }));
        CHECK(wiq_safe_map_size(&safe) == (stored ? 1 : 0));
        CHECK(wiq_safe_map_finalize(&safe) == 0);
    }
    wiq_safe_map* made =
        starving([&] { return wiq_safe_map_new(op.c, hash, cmp, nullptr, nullptr); });
    CHECK(made != nullptr ? !g_no_locks : g_no_locks || g_fired);
    if (made != nullptr)
        wiq_safe_map_delete(made);
}

// Tagged values. After a setter has run out of memory, the value may only be set again.
inline void use_values(const Op& op) {
    const std::string bytes(size_t{op.c} * 300, 'b');
    wiq_mtype value;
    wiq_mtype copy;
    wiq_mtype_init(&value);
    wiq_mtype_init(&copy);
    for (int kind = 0; kind < 4; ++kind) {
        const i32 status = starving([&] {
            return kind == 0   ? wiq_mtype_set_utf8(&value, bytes.c_str(), op.d % 2)
                   : kind == 1 ? wiq_mtype_set_uint128(&value, {op.c, 1})
                               : wiq_mtype_set_blob(&value, bytes.data(), bytes.size(), kind == 2,
                                                    kind == 2);
        });
        if (is_starved(status)) {
            CHECK(wiq_mtype_set_null(&value) == 0);
            continue;
        }
        if (is_starved(starving([&] { return wiq_mtype_copy(&value, &copy); })))
            CHECK(wiq_mtype_set_null(&copy) == 0);
        else
            CHECK(wiq_mtype_equal(&value, &copy));
        // The two values would share a 128-bit number, and both would release it.
        if (kind == 1)
            continue;
        if (is_starved(starving([&] { return wiq_mtype_copy_ref(&value, &copy); })))
            CHECK(wiq_mtype_set_null(&copy) == 0);
        else
            CHECK(wiq_mtype_equal(&value, &copy));
        CHECK(wiq_mtype_set_bool(&copy, 1) == 0);
    }
    CHECK(wiq_mtype_finalize(&copy) == 0 && wiq_mtype_finalize(&value) == 0);
}

// A type of its own. The class of a type lives as long as the process and is no leak.
inline void use_type(const Op& op) {
    static WiqType types[64];
    static size_t used;
    static i32 class_status;
    static i32 object_status;
    if (used == std::size(types))
        return;
    WiqType* type = &types[used];
    *type = {};
    type->name = op.c % 4 == 1 ? nullptr : "Type";
    type->class_size = op.c % 4 == 2 ? 1 : 0;
    class_status = op.d % 4 == 1 ? -7 : 0;
    object_status = op.d % 4 == 2 ? -7 : 0;
    type->class_init = [](WiqClass*) { return class_status; };
    type->instance_init = [](WiqObject*) { return object_status; };
    const i32 status =
        starving([&] { return type_init(type, op.c % 4 == 3 ? nullptr : &WiqJsonVisitorType); });
    CHECK(g_no_locks ? status == WIQ_ERR_LOCK_INIT : status == 0 || is_starved(status));
    CHECK(type->initialised == (status == 0 ? 1 : 0));
    if (status != 0)
        return;
    ++used;
    const bool possible = op.c % 4 == 0 && class_status == 0 && object_status == 0;
    WiqObject* object = starving([&] { return object_new(type); });
    CHECK(object != nullptr ? possible && object->klass->type == type : !possible || g_fired);
    object_unref(object);
    g_blocks -= type->klass != nullptr;
    if (op.e % 2 == 0) {
        CHECK(type_uninit(type) == 0 && type->initialised == 0);
        CHECK(type->klass != nullptr || object_new(type) == nullptr);
    }
}

}  // namespace starved
