// Makes every call, valid and invalid, on the nodes of a document while one allocation fails, or all from some point
// on. The statuses are those in the reference, nothing leaks, and the document is valid afterwards.
#include "input.h"

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
}

namespace {

bool g_armed;
int g_left;  // allocations that succeed before one fails
bool g_all;  // all later ones fail, too

bool fails() {
    if (!g_armed)
        return false;
    --g_left;
    return g_all ? g_left < 0 : g_left == -1;
}

bool is_failure(i32 status) {
    return status < 0;
}

// Makes a call that may fail because memory runs out or because of the document.
template <class Call>
auto faulty(Call call) {
    g_armed = true;
    const auto result = call();
    g_armed = false;
    return result;
}

// Checks that a node has exactly one kind, and that its getters agree with it.
void ask(const wiq_json_t* node) {
    const int kinds = wiq_json_is_null(node) + wiq_json_is_obj(node) + wiq_json_is_array(node) +
                      wiq_json_is_str(node) + wiq_json_is_bool(node) + wiq_json_is_num(node) +
                      wiq_json_is_jref(node);
    CHECK(kinds == (node == nullptr ? 0 : 1));
    CHECK(wiq_json_is_bool(node) == (wiq_json_is_true(node) || wiq_json_is_false(node)));
    CHECK(!wiq_json_is_int(node) || wiq_json_is_num(node));
    CHECK(strlen(wiq_json_type_string(node)) > 0);
    CHECK(!wiq_json_has_weak_refs(node));
    for (const bool ext : {false, true}) {
        const bool integer = wiq_json_is_i64_ext(node, ext) || wiq_json_is_u64_ext(node, ext);
        CHECK(!integer || wiq_json_is_num(node));
        CHECK(!wiq_json_is_u128_ext(node, ext) || wiq_json_is_num(node));
        CHECK(!wiq_json_is_double_ext(node, ext) || wiq_json_is_num(node));
    }
    CHECK((wiq_json_jref_uri(node) != nullptr) == wiq_json_is_jref(node));
    CHECK(wiq_json_obj_size(node) >= 0 || !wiq_json_is_obj(node));
    CHECK(wiq_json_array_size(node) >= 0 || !wiq_json_is_array(node));
    if (node == nullptr)
        return;
    wiq_uint128 wide;
    CHECK(wiq_json_u128_get(&wide, node)->lo == wiq_json_u64_get(node));
    if (!wiq_json_is_num(node))
        CHECK(wiq_json_i64_get(node) == 0 && wide.lo == 0 && !(wiq_json_double_get(node) < 0));
    u32 err = 0;
    if (wiq_json_is_jref(node)) {
        wiq_json_jref_resolve(node, &err);
        err = 0;
        wiq_json_jref_deref(const_cast<wiq_json_t*>(node), &err);
    }
}

// A typed getter returns a value or one of its statuses; an earlier failure is kept.
template <class Get>
void get(Get getter, const wiq_json_t* obj, const char* key) {
    u32 err = 0;
    getter(obj, key, &err);
    const i32 status = static_cast<i32>(err);
    CHECK(status <= 0);
    CHECK(wiq_json_is_obj(obj) || status == WIQ_ERR_INVALID_ARG);
    err = static_cast<u32>(WIQ_ERR_FAILED);
    getter(obj, key, &err);
    CHECK(static_cast<i32>(err) == WIQ_ERR_FAILED);
}
void get_all(const wiq_json_t* obj, const char* key) {
    get(wiq_json_obj_get_obj, obj, key);
    get(wiq_json_obj_get_array, obj, key);
    get(wiq_json_obj_get_str, obj, key);
    get(wiq_json_obj_get_bool, obj, key);
    get(wiq_json_obj_get_i64, obj, key);
    get(wiq_json_obj_get_u64, obj, key);
    get(wiq_json_obj_get_double, obj, key);
    get(wiq_json_obj_get_jref, obj, key);
    get([](const wiq_json_t* o, const char* k, u32* e) { return wiq_json_obj_get_ext(o, k, 1, e); },
        obj, key);
    wiq_uint128 wide;
    get([&](const wiq_json_t* o, const char* k,
            u32* e) { return wiq_json_obj_get_u128(&wide, o, k, e); },
        obj, key);
}

// Calls builders on a node that may be of the wrong kind: each makes a new node, or returns a status and
// changes nothing.
void build(wiq_json_t* node) {
    const wiq_uint128 wide = {1, 2};
    u32 err = 0;
    const auto done = [&](const wiq_json_t* made) {
        CHECK((made == nullptr) == (err != 0));
        err = 0;
    };
    const i32 before = wiq_json_array_size(node);
    done(faulty([&] { return wiq_json_obj_put_null(node, "p0", &err); }));
    done(faulty([&] { return wiq_json_obj_put_bool(node, "p1", true, &err); }));
    done(faulty([&] { return wiq_json_obj_put_i64(node, "p2", 1, &err); }));
    done(faulty([&] { return wiq_json_obj_put_u64(node, "p3", 1, &err); }));
    done(faulty([&] { return wiq_json_obj_put_u128(node, "p4", &wide, &err); }));
    done(faulty([&] { return wiq_json_obj_put_double(node, "p5", 0.5, &err); }));
    done(faulty([&] { return wiq_json_obj_put_str(node, "p6", "text", &err); }));
    done(faulty([&] { return wiq_json_obj_put_jref(node, "p7", "#", &err); }));
    done(faulty([&] { return wiq_json_obj_getd_obj(node, "p8", &err); }));
    done(faulty([&] { return wiq_json_obj_getd_array(node, "p9", &err); }));
    done(faulty([&] { return wiq_json_obj_put_str(node, "p6", nullptr, &err); }));
    done(faulty([&] { return wiq_json_obj_put_u128(node, nullptr, nullptr, &err); }));
    done(faulty([&] { return wiq_json_array_push_bool(node, false, &err); }));
    done(faulty([&] { return wiq_json_array_push_i64(node, 1, &err); }));
    done(faulty([&] { return wiq_json_array_push_u64(node, 1, &err); }));
    done(faulty([&] { return wiq_json_array_push_u128(node, &wide, &err); }));
    done(faulty([&] { return wiq_json_array_push_double(node, 0.5, &err); }));
    done(faulty([&] { return wiq_json_array_push_str(node, "text", &err); }));
    done(faulty([&] { return wiq_json_array_push_obj(node, &err); }));
    done(faulty([&] { return wiq_json_array_push_array(node, &err); }));
    done(faulty([&] { return wiq_json_array_push_str(node, nullptr, &err); }));
    CHECK(before < 0 || wiq_json_array_size(node) - before <= 8);
    done(faulty([&] { return wiq_json_ptr_put_obj(node, "/q/0", &err); }));
    done(faulty([&] { return wiq_json_ptr_put_array(node, "/q/-", &err); }));
    done(faulty([&] { return wiq_json_ptr_put_bool(node, "/r", true, &err); }));
    done(faulty([&] { return wiq_json_ptr_put_double(node, "/0", 0.5, &err); }));
    done(faulty([&] { return wiq_json_ptr_put_i64(node, "/-/a", 1, &err); }));
    done(faulty([&] { return wiq_json_ptr_put_u64(node, "bad", 1, &err); }));
    done(faulty([&] { return wiq_json_ptr_put_u128(node, "/~2", &wide, &err); }));
    done(faulty([&] { return wiq_json_ptr_put_str(node, "/s/t/u", "text", &err); }));
    done(faulty([&] { return wiq_json_ptr_put_jref(node, "/s/v", "#/s", &err); }));
}

// Filters and sorts a weak array of some of the document's nodes.
void list(wiq_json_t* root) {
    u32 err = 0;
    wiq_json_t* weak = wiq_json_array_weak_new(0, &err);
    wiq_json_ref(weak);
    for (i32 i = 0; i < wiq_json_array_size(root); ++i)
        CHECK(wiq_json_array_push_ext(weak, wiq_json_array_get_ext(root, i, 0, &err), &err) == 0);
    struct Some {
        int count;
    } some = {0};
    const i32 before = wiq_json_array_size(weak);
    const i32 status = faulty([&] {
        return wiq_json_array_filter(
            weak,
            [](wiq_json_t*, void* user) { return static_cast<Some*>(user)->count++ % 2 == 0; },
            &some);
    });
    CHECK(wiq_json_array_size(weak) == (status == 0 ? before - before / 2 : before));
    wiq_json_unref(weak);
}

void outputs(wiq_json_t* root) {
    wiq_strbuf buf;
    if (faulty([&] { return wiq_strbuf_init(&buf, 1); }) == 0) {
        faulty([&] {
            return wiq_json_sdump_ext(root, &buf, WIQ_JSON_DUMP_PRETTY | WIQ_JSON_DUMP_SORT_KEYS,
                                      2);
        });
        faulty([&] { return wiq_json_ptr_ext(root, &buf); });
        faulty([&] { return wiq_json_ptr_build_obj_ext(root, "key", &buf); });
        faulty([&] { return wiq_json_ptr_build_array_ext(root, &buf); });
        faulty([&] { return wiq_json_escape_str_ext("a\n\"", &buf); });
        wiq_strbuf_finalize(&buf);
    }
    char* text = nullptr;
    if (!is_failure(
            faulty([&] { return wiq_json_sdump(root, &text, WIQ_JSON_DUMP_U128_AS_OBJECT); })))
        free(text);
    wiq_strv keys;
    CHECK(wiq_strv_init(&keys) == 0);
    const i32 count = faulty([&] { return wiq_json_obj_keys(root, &keys); });
    CHECK(count < 0 || count == wiq_json_obj_size(root));
    wiq_strv_finalize(&keys);
    u32 err = 0;
    wiq_json_t* copy = faulty([&] { return wiq_json_copy(root, &err); });
    CHECK((copy == nullptr) == (err != 0));
    if (copy != nullptr) {
        CHECK(faulty([&] { return wiq_json_subset(copy, copy, 0); }));
        CHECK(faulty([&] { return wiq_json_jref_expand(copy); }) <= 0);
        wiq_json_delete_impl(copy);  // after some failures it has an extra reference
    }
}

// Uses containers with failing allocations, and passes them invalid arguments.
void use_containers() {
    wiq_map* map =
        faulty([] { return wiq_map_new(3, wiq_hash_int, wiq_cmp_int, nullptr, nullptr); });
    if (map != nullptr) {
        wiq_map_ref(map);
        for (size_t i = 1; i < 9; ++i) {
            void* key = reinterpret_cast<void*>(i);
            void* old = nullptr;
            const i32 status = faulty([&] { return wiq_map_replace(map, key, key, &old); });
            CHECK(status == 0 || status == WIQ_ERR_NO_MEMORY);
        }
        wiq_map_unref(map);
        wiq_map_unref(map);
    }
    wiq_safe_map* locked =
        faulty([] { return wiq_safe_map_new(0, wiq_hash_int, wiq_cmp_int, nullptr, nullptr); });
    if (locked != nullptr) {
        void* old = nullptr;
        faulty([&] { return wiq_safe_map_replace(locked, nullptr, nullptr, &old); });
        wiq_safe_map_delete(locked);
    }
    CHECK(wiq_map_init(nullptr, 0, wiq_hash_int, wiq_cmp_int, nullptr, nullptr) ==
          WIQ_ERR_INVALID_ARG);

    wiq_vector* vec = faulty([] { return wiq_vector_new(4, 2, nullptr, nullptr); });
    if (vec != nullptr) {
        wiq_vector_ref(vec);
        for (int i = 0; i < 9; ++i)
            faulty([&] { return wiq_vector_push(vec); });
        faulty([&] { return wiq_vector_resize(vec, 40); });
        faulty([&] { return wiq_vector_extra_capacity(vec, 3); });
        wiq_vector_resize(vec, 1);
        CHECK(wiq_vector_pop(vec, 2) < 0 && wiq_vector_size(vec) == 1);
        wiq_vector_unref(vec);
        wiq_vector_unref(vec);
    }
    CHECK(wiq_vector_size(nullptr) == WIQ_ERR_INVALID_ARG);

    wiq_strbuf buf;
    if (faulty([&] { return wiq_strbuf_init(&buf, 2); }) == 0) {
        for (int i = 0; i < 5; ++i)
            faulty([&] { return wiq_strbuf_putc(&buf, 'x'); });
        faulty(
            [&] { return wiq_strbuf_printf(&buf, "%2$s%1$s", "some text, ", "of some length, "); });
        faulty([&] { return wiq_strbuf_printhex(&buf, "bytes", 5); });
        faulty([&] { return wiq_append_path(&buf, "part"); });
        CHECK(buf.len < buf.capacity && strlen(buf.data) == buf.len);
        free(faulty([&] { return wiq_strbuf_release(&buf); }));
        wiq_strbuf_finalize(&buf);
    }
    CHECK(wiq_strbuf_write(nullptr, "", 0) == WIQ_ERR_INVALID_ARG);
    char* text = nullptr;
    if (!is_failure(faulty([&] { return wiq_asprintf(&text, "%2$d %1$d", 1, 2); })))
        free(text);
    free(faulty([] { return wiq_build_path("a", "b"); }));
    free(faulty([] { return wiq_schema_filename("a-b", true, nullptr); }));
    free(faulty([] { return wiq_install_dir(); }));
    free(faulty([] { return wiq_home_dir(); }));
    wchar_t* wide = faulty([] { return widen("text", nullptr); });
    free(faulty([&] { return narrow(wide, nullptr); }));
    free(wide);
}

void walk(wiq_json_t* node, int depth) {
    ask(node);
    get_all(node, "a");
    if (depth > 4)
        return;
    wiq_json_obj_foreach(
        node,
        [](const char* key, wiq_json_t* child, void* user) {
            get_all(reinterpret_cast<wiq_json_t*>(user), key);
            walk(child, 3);
            return true;
        },
        node);
    for (i32 i = 0; i < wiq_json_array_size(node) && i < 20; ++i)
        walk(wiq_json_array_get_ext(node, i, 0, nullptr), depth + 1);
}

}  // namespace

extern "C" {
void* __wrap_malloc(size_t size) {
    return fails() ? nullptr : __real_malloc(size);
}
void* __wrap_calloc(size_t count, size_t size) {
    return fails() ? nullptr : __real_calloc(count, size);
}
void* __wrap_realloc(void* block, size_t size) {
    return size != 0 && fails() ? nullptr : __real_realloc(block, size);
}
}

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    if (size > 400)
        return 0;
    Input input(data, size);
    const u8 first = input.byte();
    g_all = first >= 128;
    g_left = first == 0 ? INT32_MAX : first % 128;
    const std::string text = input.rest().c_str();
    wiq_json_load_error error;
    wiq_json_t* root = faulty([&] { return wiq_json_loads(text.c_str(), 0, &error); });
    CHECK((root == nullptr) == (error.status != 0));
    ask(nullptr);
    use_containers();
    if (root == nullptr)
        return 0;
    walk(root, 0);
    outputs(root);
    list(root);
    build(root);
    walk(root, 0);
    wiq_json_unref(root);
    return 0;
}
