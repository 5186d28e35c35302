// Performs operations of the library on inputs of size N, each between two marks, so that callgrind counts
// the instructions of each. growth.py runs this for N, 2N and 4N, and compares how the counts grow with
// docs/costs.md.
//   growth N
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ke_utils.h"
#include "support/colliding_keys.h"

namespace {

int g_size = 0;

[[noreturn]] void stop(const char* what) {
    fprintf(stderr, "growth: %s failed\n", what);
    exit(1);
}
void check(bool ok, const char* what) {
    if (!ok)
        stop(what);
}

// Counts the instructions between the two calls, under a name.
void begin() {
    CALLGRIND_ZERO_STATS;
    CALLGRIND_TOGGLE_COLLECT;
}
void end(const char* name) {
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(name);
}

wiq_json_t* parse(const std::string& text) {
    wiq_json_t* root = wiq_json_loads(text.c_str(), 0, nullptr);
    check(root != nullptr, "parsing");
    return root;
}
std::string repeated(const std::string& unit, int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += unit;
    return text;
}
std::string list_of(int count) {
    std::string text = "[0";
    for (int i = 1; i < count; ++i)
        text += "," + std::to_string(i);
    return text + "]";
}
std::string object_of(int count, int step = 1) {
    std::string text = "{";
    for (int i = 0; i < count; ++i)
        text += (i == 0 ? "\"k" : ",\"k") + std::to_string(i64{i} * step % count) + "\":1";
    return text + "}";
}
std::string nested(int depth) {
    return repeated("{\"a\":[", depth / 2) + "1" + repeated("]}", depth / 2);
}
wiq_json_t* deepest(wiq_json_t* node) {
    for (;;) {
        wiq_json_t* child = wiq_json_is_array(node) ? wiq_json_array_get_ext(node, 0, 0, nullptr)
                            : wiq_json_is_obj(node) ? wiq_json_obj_get_ext(node, "a", 0, nullptr)
                                                    : nullptr;
        if (child == nullptr || wiq_json_is_num(child))
            return node;
        node = child;
    }
}

// Whole documents of several shapes.
void documents(const char* shape, const std::string& text) {
    const std::string name(shape);
    begin();
    wiq_json_t* root = parse(text);
    end(("parse " + name).c_str());
    begin();
    wiq_json_t* copy = wiq_json_copy(root, nullptr);
    end(("copy " + name).c_str());
    check(copy != nullptr, "copying");
    begin();
    const bool equal = wiq_json_equal(root, copy);
    end(("equal " + name).c_str());
    check(equal, "comparing");
    begin();
    char* dumped = nullptr;
    const i32 length = wiq_json_sdump(root, &dumped, WIQ_JSON_DUMP_SORT_KEYS);
    end(("dump " + name).c_str());
    check(length > 0, "dumping");
    free(dumped);
    wiq_json_unref(copy);
    begin();
    wiq_json_unref(root);
    end(("release " + name).c_str());
}

void trees() {
    documents("array", list_of(g_size));
    documents("object", object_of(g_size));
    documents("nested", nested(g_size));
    documents("colliding", colliding::object_text(colliding::keys(static_cast<size_t>(g_size))));
    documents("text", "\"" + repeated("a\\n\\u00e9", g_size) + "\"");
}

void members() {
    wiq_json_t* obj = parse(object_of(g_size));
    const std::string key = "k" + std::to_string(g_size / 2);
    begin();
    for (int i = 0; i < 100; ++i)
        check(wiq_json_obj_has_key(obj, key.c_str()), "looking up");
    end("look-up of a member");
    begin();
    for (int i = 0; i < 100; ++i)
        check(wiq_json_obj_put_i64(obj, key.c_str(), i, nullptr) != nullptr, "replacing");
    end("replacing a member");
    begin();
    while (wiq_json_obj_size(obj) != 0) {
        std::string first;
        wiq_json_obj_foreach(
            obj,
            [](const char* name, wiq_json_t*, void* user) {
                *static_cast<std::string*>(user) = name;
                return false;
            },
            &first);
        check(wiq_json_obj_remove(obj, first.c_str()) == 0, "removing");
    }
    end("draining an object by its first key");
    begin();
    for (int i = 0; i < g_size; ++i)
        check(wiq_json_obj_put_i64(obj, ("k" + std::to_string(i)).c_str(), i, nullptr) != nullptr,
              "putting");
    end("building an object");
    wiq_json_unref(obj);
}

bool keep_odd(wiq_json_t* elem, void*) {
    return (wiq_json_i64_get(elem) & 1) != 0;
}
int by_value(const void* a, const void* b) {
    const i64 x = wiq_json_i64_get(*static_cast<wiq_json_t* const*>(a));
    const i64 y = wiq_json_i64_get(*static_cast<wiq_json_t* const*>(b));
    return (x > y) - (x < y);
}

void elements() {
    wiq_json_t* array = parse(list_of(g_size));
    begin();
    check(wiq_json_array_sort(array, by_value) == 0, "sorting");
    end("sorting an array");
    wiq_json_t* weak = wiq_json_array_weak_new(0, nullptr);
    for (int i = 0; i < g_size; ++i)
        wiq_json_array_push_ext(weak, wiq_json_array_get_ext(array, i, 0, nullptr), nullptr);
    begin();
    check(wiq_json_array_filter(weak, keep_odd, nullptr) >= 0, "filtering");
    end("filtering a weak array");
    wiq_json_unref(weak);
    begin();
    check(wiq_json_array_filter(array, keep_odd, nullptr) >= 0, "filtering");
    end("filtering an array");
    // Each new element records a negative index, which means another slot once the array is longer.
    wiq_json_t* swapped = parse(list_of(g_size));
    for (int i = 1; i <= g_size; ++i) {
        wiq_json_t* elem = wiq_json_i64_new(i, nullptr);
        wiq_json_unref(wiq_json_array_swap(swapped, -i, elem, nullptr));
    }
    check(wiq_json_array_push_i64(swapped, 0, nullptr) != nullptr, "pushing");
    begin();
    check(wiq_json_array_filter(swapped, keep_odd, nullptr) >= 0, "filtering");
    end("filtering an array after replacing its elements");
    wiq_json_unref(swapped);
    begin();
    while (wiq_json_array_size(array) != 0)
        wiq_json_array_pop(array, 1);
    end("draining an array from its end");
    begin();
    for (int i = 0; i < g_size; ++i)
        check(wiq_json_array_push_i64(array, i, nullptr) != nullptr, "pushing");
    end("building an array");
    wiq_json_unref(array);
    // A weak array that lists the members of one object.
    wiq_json_t* obj = parse(object_of(g_size));
    weak = wiq_json_array_weak_new(0, nullptr);
    for (int i = 0; i < g_size; ++i)
        wiq_json_array_push_ext(
            weak, wiq_json_obj_get_ext(obj, ("k" + std::to_string(i)).c_str(), 0, nullptr),
            nullptr);
    begin();
    check(wiq_json_array_filter(
              weak, [](wiq_json_t*, void*) { return false; }, nullptr) >= 0,
          "filtering");
    end("filtering a weak array of members");
    wiq_json_unref(weak);
    wiq_json_unref(obj);
}

void subsets() {
    wiq_json_t* some = parse(object_of(g_size));
    wiq_json_t* others = parse(object_of(g_size, 7));
    begin();
    check(wiq_json_equal(some, others), "comparing");
    end("equality of objects in another order");
    wiq_json_unref(some);
    wiq_json_unref(others);
    some = parse(list_of(g_size / 2));
    others = parse(list_of(g_size));
    begin();
    check(wiq_json_subset(some, others, 0), "comparing");
    end("subset with gaps");
    wiq_json_unref(some);
    wiq_json_unref(others);
    // A run that almost matches at every position.
    some = parse("[" + repeated("1,", g_size / 8) + "2]");
    others = parse("[" + repeated("1,", g_size / 4) + "3]");
    begin();
    check(!wiq_json_subset(some, others, WIQ_JSON_SUBSET_CONTIGUOUS), "comparing");
    end("subset as a run");
    wiq_json_unref(some);
    wiq_json_unref(others);
}

void depth() {
    wiq_json_t* root = parse(nested(g_size));
    wiq_json_t* bottom = deepest(root);
    begin();
    for (int i = 0; i < 100; ++i) {
        wiq_json_t* child = wiq_json_array_push_array(bottom, nullptr);
        check(child != nullptr && wiq_json_array_push_i64(child, 1, nullptr) != nullptr, "pushing");
        wiq_json_ref(child);
        check(wiq_json_make_orphan(child) == 0, "taking out");
        check(wiq_json_array_push_ext(bottom, child, nullptr) == 0, "attaching");
        wiq_json_unref(child);
    }
    end("attaching a container far below the root");
    begin();
    char* pointer = nullptr;
    check(wiq_json_ptr(bottom, &pointer) > 0, "printing a pointer");
    end("pointer to a deep node");
    begin();
    check(wiq_json_ptr_get(root, pointer, nullptr, nullptr) == bottom, "following");
    end("following a pointer");
    begin();
    check(wiq_json_ptr_put_i64(root, (std::string(pointer) + "/0").c_str(), 1, nullptr) != nullptr,
          "putting");
    end("putting by a pointer");
    free(pointer);
    wiq_json_unref(root);
}

void references() {
    std::string text = "[";
    for (int i = 0; i < g_size; ++i)
        text += "{\"$ref\":\"/" + std::to_string(i + 1) + "\"},";
    wiq_json_t* root = parse(text + "[1]]");
    begin();
    check(wiq_json_jref_resolve(wiq_json_array_get_ext(root, 0, 0, nullptr), nullptr) != nullptr,
          "resolving");
    end("resolving a reference");
    begin();
    check(wiq_json_jref_deref(wiq_json_array_get_ext(root, 0, 0, nullptr), nullptr) != nullptr,
          "following");
    end("following a chain of references");
    begin();
    check(wiq_json_jref_expand(root) == 0, "expanding");
    end("expanding a chain of references");
    wiq_json_unref(root);

    // Each list contains the one before it twice, so the last one has about as many nodes as the size says.
    text = "[[1]";
    int last = 0;
    for (int nodes = 1; nodes < g_size; nodes *= 2, ++last) {
        const std::string reference = "{\"$ref\":\"/" + std::to_string(last) + "\"}";
        text += ",[" + reference + "," + reference + "]";
    }
    root = parse(text + "]");
    begin();
    check(wiq_json_jref_expand(root) == 0, "expanding");
    end("expanding references that double");
    wiq_json_unref(root);
}

void containers() {
    wiq_strbuf buf;
    check(wiq_strbuf_init(&buf, 0) == 0, "a buffer");
    begin();
    for (int i = 0; i < g_size; ++i)
        wiq_strbuf_printf(&buf, "%d,", i % 10);
    end("printing to a string buffer");
    wiq_strbuf_finalize(&buf);

    wiq_strv strings;
    check(wiq_strv_init(&strings) == 0, "a string list");
    begin();
    for (int i = 0; i < g_size; ++i)
        wiq_strv_pushf(&strings, "%d", i);
    end("building a string list");
    begin();
    wiq_strv_sort(&strings);
    end("sorting a string list");
    wiq_strv_finalize(&strings);

    std::vector<std::string> keys;
    for (int i = 0; i < g_size; ++i)
        keys.push_back("key" + std::to_string(i));
    wiq_map map;
    check(wiq_map_init(&map, 0, wiq_hash_str, wiq_cmp_str, nullptr, nullptr) == 0, "a map");
    begin();
    for (std::string& key : keys)
        wiq_map_put(&map, key.data(), key.data());
    end("building a map");
    begin();
    for (int i = 0; i < 100; ++i)
        check(wiq_map_get(&map, keys[keys.size() / 2].c_str()) != nullptr, "looking up");
    end("look-up in a map");
    begin();
    for (const std::string& key : keys)
        wiq_map_remove(&map, key.c_str());
    end("emptying a map");
    wiq_map_finalize(&map);

    keys = colliding::keys(static_cast<size_t>(g_size) / 8);
    check(wiq_map_init(&map, 0, wiq_hash_str, wiq_cmp_str, nullptr, nullptr) == 0, "a map");
    begin();
    for (std::string& key : keys)
        wiq_map_put(&map, key.data(), key.data());
    end("building a map of colliding keys");
    begin();
    check(wiq_map_get(&map, keys.back().c_str()) != nullptr, "looking up");
    end("look-up in a map of colliding keys");
    begin();
    for (const std::string& key : keys)
        wiq_map_remove(&map, key.c_str());
    end("emptying a map of colliding keys");
    wiq_map_finalize(&map);

    wiq_vector* vec = wiq_vector_new(sizeof(int), 0, nullptr, nullptr);
    check(vec != nullptr, "a vector");
    begin();
    for (int i = 0; i < g_size; ++i)
        wiq_vector_push(vec);
    end("building a vector");
    wiq_vector_unref(vec);
}

void texts() {
    char* block = nullptr;
    u64 size = 0;
    begin();
    for (int i = 0; i < g_size; ++i)
        wiq_rastrcat(&block, &size, "0123456789abcdef");
    end("appending to a C string");
    free(block);

    const std::string bytes(static_cast<size_t>(g_size) * 3, 'x');
    std::string encoded(bytes.size() * 2, '\0');
    size_t length = encoded.size();
    begin();
    check(wiq_base64_encode(reinterpret_cast<const u8*>(bytes.data()), bytes.size(), encoded.data(),
                            &length) == 0,
          "encoding");
    end("base64");
    begin();
    char* escaped = wiq_json_escape_str(bytes.c_str());
    end("escaping");
    free(escaped);

    FILE* ini = tmpfile();
    check(ini != nullptr, "a file");
    fputs("[section]\n", ini);
    for (int i = 0; i < g_size; ++i)
        fprintf(ini, "key%d = value\n", i);
    rewind(ini);
    begin();
    check(wiq_ini_parse(ini, nullptr, nullptr, nullptr, nullptr) == 0, "reading INI");
    end("reading INI");
    fclose(ini);
    ini = tmpfile();
    fputs(repeated("x", g_size).c_str(), ini);
    rewind(ini);
    char* line = nullptr;
    size_t room = 0;
    begin();
    check(wiq_getline(&line, &room, ini) == g_size, "reading a line");
    end("reading a line");
    free(line);
    fclose(ini);
}

// At most 1,000 levels: no path is longer than 4,096 bytes.
void folders() {
    const int levels = g_size / 8;
    std::string path = "growth";
    for (int i = 1; i < levels; ++i)
        path += "\\d";
    begin();
    check(wiq_mkdir_parents((path + "\\file").c_str()) == 0, "making folders");
    end("making folders");
    for (int i = 0; i < levels; ++i) {
        check(wiq_rmdir(path.c_str()) == 0, "removing folders");
        path.resize(path.size() - (i + 1 < levels ? 2 : 0));
    }
}

}  // namespace

int main(int argc, char** argv) {
    g_size = argc == 2 ? atoi(argv[1]) : 0;
    if (g_size < 64)
        stop("growth N, with N of 64 or more,");
    trees();
    members();
    elements();
    subsets();
    depth();
    references();
    containers();
    texts();
    folders();
    return 0;
}
