// Operations on JSON documents for the target `starved`: a call that succeeds has the right result, and one that
// fails changes nothing.
#pragma once

#include "starved.h"
#include "support/colliding_keys.h"

namespace starved {

inline std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

// Returns a document of the given shape and size.
inline std::string document_of(u8 shape, size_t n) {
    const auto repeated = [](size_t count, auto part, const char* between) {
        std::string text;
        for (size_t i = 0; i < count; ++i)
            text += (i == 0 ? "" : between) + part(i);
        return text;
    };
    const auto key = [](size_t i) { return quoted("key " + std::to_string(i)) + ":"; };
    const std::string long_text(8 * n + 500, 'x');
    switch (shape % 12) {
        case 0:
            return std::string(n + 1, '[') + std::string(n + 1, ']');
        case 1:
            return repeated(
                       n + 1, [](size_t) { return std::string("{\"\":"); }, "") +
                   "1" + std::string(n + 1, '}');
        case 2:
            return "[" +
                   repeated(
                       n, [](size_t i) { return std::to_string(i * i); }, ",") +
                   "]";
        case 3:
            return "{" +
                   repeated(
                       n, [&](size_t i) { return key(i) + quoted("text"); }, ",") +
                   "}";
        case 4:  // keys that come twice, with values that are containers
            return "[{" +
                   repeated(
                       n, [&](size_t i) { return key(i % 5) + "[{\"a\":1}]"; }, ",") +
                   "}]";
        case 5:
            return "{\"to\":[1,{\"k\":\"v\"}],\"refs\":[" +
                   repeated(
                       n % 64,
                       [](size_t i) {
                           return "{\"$ref\":\"#/refs/" + std::to_string(i + 1) + "\"}";
                       },
                       ",") +
                   (n % 64 == 0 ? "" : ",") + "{\"$ref\":\"#/to\"}]}";
        case 6:  // long texts and keys
            return "{" + quoted(long_text) + ":[" + quoted(long_text) + ",{" + quoted(long_text) +
                   ":{\"$ref\":" + quoted("#/" + long_text) + "}}]," + key(1) + "{\"$ref\":\"#/" +
                   long_text + "/0\"}}";
        case 7: {  // keys with the same hash
            static const auto* const names = new std::vector<std::string>(colliding::keys(255));
            return "[{" +
                   repeated(
                       n, [](size_t i) { return quoted((*names)[i]) + ":0"; }, ",") +
                   "}]";
        }
        case 8:  // objects that become references when they close, if a key comes twice
            return "[" +
                   repeated(
                       n % 32 + 1,
                       [](size_t) { return std::string("{\"$ref\":[1],\"$ref\":\"#/0\"}"); }, ",") +
                   "]";
        case 9:
            return "[" +
                   repeated(
                       n,
                       [&](size_t i) {
                           return "{" + key(i) + "[" + std::to_string(i) + ".5,null,true]}";
                       },
                       ",") +
                   "]";
        case 10:  // texts with escapes, and numbers of 128 bits
            return "[" +
                   repeated(
                       n,
                       [](size_t) {
                           return std::string("\"\\u00e9\\n\\\"\",18446744073709551616");
                       },
                       ",") +
                   "]";
        default:  // members in containers on each level
            return repeated(
                       n % 48 + 1, [&](size_t i) { return "{" + key(i) + "[0,"; }, "") +
                   "{}" +
                   repeated(
                       n % 48 + 1, [](size_t) { return std::string("]}"); }, "");
    }
}

// Reads a document while allocations fail.
inline void load(const Op& op) {
    std::string text = document_of(op.c, op.d);
    const i32 flags = op.e % 2 != 0 ? i32{WIQ_JSON_REJECT_DUPLICATES} : 0;
    const bool from_stream = op.e % 4 / 2 != 0;
    wiq_json_load_error expected;
    wiq_json_t* right = wiq_json_loads(text.c_str(), flags, &expected);
    wiq_json_load_error err;
    wiq_json_t* root = nullptr;
    if (from_stream) {
        FILE* fp = fmemopen(text.data(), text.size(), "r");
        CHECK(fp != nullptr);
        root = starving([&] { return wiq_json_loadf(fp, flags, &err); });
        fclose(fp);
    } else {
        root = starving([&] { return wiq_json_loads(text.c_str(), flags, &err); });
    }
    CHECK((root == nullptr) == (err.status != 0));
    CHECK(err.status == expected.status || (err.status == WIQ_ERR_NO_MEMORY && g_fired));
    CHECK(root == nullptr || (wiq_json_equal(root, right) && dump(root, 0) == dump(right, 0)));
    wiq_json_unref(root);
    wiq_json_unref(right);
}

// A document to work on, and its original text.
struct Document {
    explicit Document(const Op& op)
        : root(wiq_json_loads(document_of(op.c, op.d).c_str(), 0, nullptr)), before(text()) {
        wiq_json_ref(root);
        CHECK(root != nullptr);
    }
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;
    ~Document() { wiq_json_unref(root); }

    std::string text() const { return dump(root, 0); }
    // Follows the last element of each array and the first member of each object to the innermost node.
    wiq_json_t* innermost() const {
        wiq_json_t* node = root;
        for (wiq_json_t* next = root; next != nullptr;
             next = wiq_json_array_get_ext(node, -1, 0, nullptr)) {
            node = next;
            wiq_json_obj_foreach(
                node,
                [](const char*, wiq_json_t* child, void* user) {
                    *static_cast<wiq_json_t**>(user) = child;
                    return false;
                },
                &node);
        }
        return node;
    }

    wiq_json_t* root;
    std::string before;
};

// Makes everything that can be made from a document without changing it.
inline void make_of(const Op& op) {
    const Document document(op);
    wiq_json_t* root = document.root;
    const u32 flags = op.e;
    const std::string expected = dump(root, flags);
    u32 err = 0;
    wiq_json_t* copy = starving([&] { return wiq_json_copy(root, &err); });
    CHECK((copy == nullptr) == is_starved(static_cast<i32>(err)));
    CHECK(copy == nullptr || wiq_json_equal(copy, root));
    // The answer for a copy is yes, unless memory runs out.
    CHECK(copy == nullptr || starving([&] { return wiq_json_subset(root, copy, op.e); }) ||
          g_fired);
    wiq_json_unref(copy);
    char* text = nullptr;
    if (!is_starved(starving([&] { return wiq_json_sdump(root, &text, flags); })))
        CHECK(expected == text);
    else
        CHECK(text == nullptr);
    free(text);
    wiq_strbuf buf;
    CHECK(wiq_strbuf_init(&buf, 1) == 0);
    if (!is_starved(starving([&] { return wiq_json_sdump_ext(root, &buf, flags, 0); })))
        CHECK(expected == buf.data);
    else
        CHECK(expected.compare(0, buf.len, buf.data) == 0);
    CHECK(wiq_strbuf_reset(&buf) == 0);
    FILE* fp = fopen(op.b % 16 / 8 == 0 ? "/dev/null" : "/dev/full", "w");
    CHECK(fp != nullptr);
    const i32 written = starving([&] { return wiq_json_fdump(root, fp, flags, 0); });
    CHECK(written == static_cast<i32>(expected.size()) ||
          (written == WIQ_ERR_NO_MEMORY && g_fired) || (written == -1 && op.b % 16 / 8 != 0));
    fclose(fp);
    const wiq_json_t* inner = document.innermost();
    text = nullptr;
    std::string pointer;
    if (!is_starved(starving([&] { return wiq_json_ptr(inner, &text); })))
        pointer = text;
    CHECK(text != nullptr || g_fired);
    free(text);
    is_starved(starving([&] { return wiq_json_ptr_ext(inner, &buf); }));
    CHECK(buf.len == 0 || pointer.empty() || pointer == buf.data);
    char* prefix = nullptr;
    err = 0;
    const wiq_json_t* found = starving(
        [&] { return wiq_json_ptr_get(root, (pointer + "/none").c_str(), &err, &prefix); });
    CHECK(found == nullptr && err != 0);
    CHECK(static_cast<i32>(err) == WIQ_ERR_NO_MEMORY ? prefix == nullptr && g_fired
                                                     : prefix != nullptr);
    free(prefix);
    wiq_strv keys;
    CHECK(wiq_strv_init(&keys) == 0 && wiq_strv_push(&keys, "before") == 0);
    const i32 count = starving([&] { return wiq_json_obj_keys(root, &keys); });
    CHECK(wiq_json_is_obj(root) ? is_starved(count) || count == wiq_json_obj_size(root)
                                : count == WIQ_ERR_INVALID_ARG);
    CHECK(wiq_vector_size(&keys) == 1 + (count > 0 ? count : 0));
    CHECK(wiq_strv_finalize(&keys) == 0);
    wiq_strbuf_finalize(&buf);
    const std::string raw = std::string(op.d, 'r') + "\n\"";
    char* escaped = starving([&] { return wiq_json_escape_str(raw.c_str()); });
    CHECK(escaped != nullptr || g_fired);
    free(escaped);
    CHECK(document.text() == document.before);
}

// Changes a document. After a change that fails, the document is as it was before.
inline void change(const Op& op) {
    const Document document(op);
    wiq_json_t* root = document.root;
    std::string before = document.before;
    u32 err = 0;
    const auto done = [&](bool made) {
        CHECK(made == !is_starved(static_cast<i32>(err)));
        err = 0;
        const std::string now = document.text();
        CHECK(made || now == before);
        before = now;
    };
    const wiq_uint128 wide = {op.d, op.e};
    const std::string long_text(size_t{op.e} * 8, 'y');
    wiq_json_t* child = wiq_json_array_new(0, nullptr);
    wiq_json_ref(child);
    for (int i = 0; i < 7; ++i) {
        if (wiq_json_is_array(root)) {
            done(starving([&] { return wiq_json_array_push_i64(root, i, &err); }) != nullptr);
            done(starving([&] { return wiq_json_array_push_u128(root, &wide, &err); }) != nullptr);
            done(starving([&] { return wiq_json_array_push_array(root, &err); }) != nullptr);
            if (i == op.e % 8)
                done(starving([&] { return wiq_json_array_push_ext(root, child, &err); }) == 0);
        } else if (wiq_json_is_obj(root)) {
            const std::string key = "new " + std::to_string(i);
            done(starving([&] { return wiq_json_obj_put_u64(root, key.c_str(), 1, &err); }) !=
                 nullptr);
            done(starving([&] {
                     return wiq_json_obj_put_double(root, (key + long_text).c_str(), 0.5, &err);
                 }) != nullptr);
            done(starving([&] { return wiq_json_obj_getd_obj(root, (key + "d").c_str(), &err); }) !=
                 nullptr);
            if (i == op.e % 8)
                done(starving([&] {
                         return wiq_json_obj_put_ext(root, ("c" + key).c_str(), child, &err);
                     }) == 0);
        }
    }
    // If the removed element is not the last one, a null takes its place.
    wiq_json_t* first = wiq_json_array_get_ext(root, 0, 0, nullptr);
    if (first != nullptr) {
        wiq_json_ref(first);
        err = 0;
        const i32 status = starving([&] { return wiq_json_make_orphan_ex(first, &err); });
        CHECK(static_cast<i32>(err) == status);
        if (status == 0)
            before = document.text();
        done(status == 0);
        wiq_json_unref(first);
    }
    wiq_json_unref(child);
    // Containers that were made on the way remain, even after a failure.
    const std::string path = (wiq_json_is_array(root) ? "/-/x/-/y/" : "/w/x/-/y/") + long_text;
    err = 0;
    const bool put =
        starving([&] { return wiq_json_ptr_put_i64(root, path.c_str(), 1, &err); }) != nullptr;
    CHECK(put == !is_starved(static_cast<i32>(err)));
    CHECK(put ? document.text() != before : !document.text().empty());
}

// If only the text could not be copied, there is a node without a text.
inline void make_text(const Op& op) {
    const std::string text(size_t{op.c} * 8, 't');
    u32 err = 0;
    wiq_json_t* node = starving([&] { return wiq_json_str_new(text.c_str(), &err); });
    CHECK((node == nullptr) == is_starved(static_cast<i32>(err)));
    if (node == nullptr)
        return;
    const char* kept = wiq_json_str_get(node);
    CHECK(kept == nullptr ? g_fired : text == kept);
    char* written = nullptr;
    const i32 length = wiq_json_sdump(node, &written, 0);
    CHECK(length == (kept == nullptr ? WIQ_ERR_INVALID_ARG : static_cast<i32>(text.size()) + 2));
    free(written);
    wiq_json_t* copy = wiq_json_copy(node, nullptr);
    CHECK(copy != nullptr && wiq_json_equal(node, copy));
    wiq_json_t* other = wiq_json_str_new(text.c_str(), nullptr);
    CHECK(wiq_json_equal(node, other) == (kept != nullptr) &&
          wiq_json_equal(other, node) == (kept != nullptr));
    wiq_json_unref(other);
    wiq_json_unref(copy);
    wiq_json_unref(node);
}

// Expands references while allocations fail.
inline void expand(const Op& op) {
    const std::string text = document_of(op.c, op.d);
    wiq_json_t* root = wiq_json_loads(text.c_str(), 0, nullptr);
    wiq_json_t* other = wiq_json_loads(text.c_str(), 0, nullptr);
    const i32 expected = wiq_json_jref_expand(other);
    const i32 status = starving([&] { return wiq_json_jref_expand(root); });
    CHECK(status == expected || is_starved(status));
    CHECK(status != expected || dump(root, 0) == dump(other, 0));
    CHECK(!dump(root, 0).empty());
    wiq_json_unref(other);
    // If memory ran out before the walk began, the root has an extra reference.
    if (status == WIQ_ERR_NO_MEMORY)
        wiq_json_delete_impl(root);
    else
        wiq_json_unref(root);
}

// Filters a weak array that lists some nodes twice, and nodes with different parents.
inline void filter(const Op& op) {
    const Document document(op);
    u32 err = 0;
    wiq_json_t* weak = starving([&] { return wiq_json_array_weak_new(op.e % 50, &err); });
    CHECK((weak == nullptr) == is_starved(static_cast<i32>(err)));
    if (weak == nullptr)
        return;
    wiq_json_ref(weak);
    for (wiq_json_t* node = document.root; node != nullptr && wiq_json_array_size(weak) < 40;) {
        for (i32 i = 0; i < wiq_json_array_size(node) && i < 9; ++i)
            wiq_json_array_push_ext(weak, wiq_json_array_get_ext(node, i * op.e % 9, 0, nullptr),
                                    nullptr);
        wiq_json_t* next = wiq_json_array_get_ext(node, -1, 0, nullptr);
        wiq_json_obj_foreach(
            node,
            [](const char*, wiq_json_t* child, void* user) {
                *static_cast<wiq_json_t**>(user) = child;
                return false;
            },
            &next);
        wiq_json_array_push_ext(weak, next, nullptr);
        node = next;
    }
    static int asked;
    static int dropped;
    asked = op.e;
    dropped = 0;
    const i32 before = wiq_json_array_size(weak);
    const i32 status = starving([&] {
        return wiq_json_array_filter(
            weak,
            [](wiq_json_t*, void*) {
                const bool drops = ++asked % 3 == 0;
                dropped += drops;
                return !drops;
            },
            nullptr);
    });
    CHECK(asked - op.e == (is_starved(status) ? 0 : before));
    CHECK(wiq_json_array_size(weak) == before - dropped);
    wiq_json_unref(weak);
    CHECK(document.text() == document.before);
}

}  // namespace starved
