// A script of operations on a map, a locked map and an object with the same keys, most of which have the same
// hash: the three must agree with a model and with each other, and so must the order of a walk.
#include <map>

#include "script.h"
#include "support/colliding_keys.h"

namespace {

// Enough keys for chains that an object's index covers, and other keys between them.
const std::vector<std::string>& keys() {
    static const std::vector<std::string> all = [] {
        std::vector<std::string> result = colliding::keys(200);
        for (int i = 0; i < 56; ++i)
            result.push_back("key" + std::to_string(i));
        return result;
    }();
    return all;
}

struct Tables {
    wiq_map map;
    wiq_safe_map locked;
    wiq_json_t* obj;
    std::map<std::string, u64> model;
};

char* copy_of(const std::string& key) {
    return strdup(key.c_str());
}
void* as_pointer(u64 value) {
    return reinterpret_cast<void*>(value);
}

void put(Tables& all, const std::string& key, u64 value) {
    CHECK(wiq_map_put(&all.map, copy_of(key), as_pointer(value)) == 0);
    CHECK(wiq_safe_map_put(&all.locked, copy_of(key), as_pointer(value)) == 0);
    CHECK(wiq_json_obj_put_u64(all.obj, key.c_str(), value, nullptr) != nullptr);
    all.model[key] = value;
}

void remove(Tables& all, const std::string& key) {
    const auto found = all.model.find(key);
    const bool there = found != all.model.end();
    CHECK(wiq_map_remove(&all.map, key.c_str()) == as_pointer(there ? found->second : 0));
    CHECK(wiq_safe_map_remove(&all.locked, key.c_str()) == as_pointer(there ? found->second : 0));
    CHECK(wiq_json_obj_remove(all.obj, key.c_str()) == (there ? 0 : WIQ_ERR_INVALID_ARG));
    if (there)
        all.model.erase(found);
}

void memoize(Tables& all, const std::string& key, u64 value, i32 failure) {
    struct Factory {
        u64 value;
        i32 failure;
    } factory = {value, failure};
    const auto make = [](const void*, void* user, i32* status) {
        *status = static_cast<Factory*>(user)->failure;
        return as_pointer(static_cast<Factory*>(user)->value);
    };
    const auto found = all.model.find(key);
    const bool there = found != all.model.end();
    const u64 expected = there ? found->second : value;
    i32 status = 7;
    char* copy = copy_of(key);
    CHECK(wiq_map_memoize(&all.map, copy, make, &factory, &status) == as_pointer(expected));
    CHECK(status == (there ? 0 : failure));
    if (there || failure != 0)
        free(copy);
    copy = copy_of(key);
    CHECK(wiq_safe_map_memoize(&all.locked, copy, make, &factory, &status) == as_pointer(expected));
    if (there || failure != 0)
        free(copy);
    if (!there && failure == 0) {
        CHECK(wiq_json_obj_put_u64(all.obj, key.c_str(), value, nullptr) != nullptr);
        all.model[key] = value;
    }
}

void check_key(Tables& all, const std::string& key) {
    const auto found = all.model.find(key);
    const bool there = found != all.model.end();
    CHECK(wiq_map_test_key(&all.map, key.c_str()) == there);
    CHECK(wiq_safe_map_test_key(&all.locked, key.c_str()) == there);
    CHECK(wiq_json_obj_has_key(all.obj, key.c_str()) == there);
    const void* value = as_pointer(there ? found->second : 0);
    CHECK(wiq_map_get(&all.map, key.c_str()) == value);
    CHECK(wiq_safe_map_get(&all.locked, key.c_str()) == value);
    u32 err = 0;
    CHECK(wiq_json_obj_get_u64(all.obj, key.c_str(), &err) == (there ? found->second : 0));
    CHECK(static_cast<i32>(err) == (there ? 0 : WIQ_ERR_KEY_NOT_FOUND));
}

std::vector<std::string> order_of(wiq_json_t* obj) {
    std::vector<std::string> order;
    wiq_json_obj_foreach(
        obj,
        [](const char* key, wiq_json_t* child, void* user) {
            CHECK(strcmp(wiq_json_parent_key(child), key) == 0);
            static_cast<std::vector<std::string>*>(user)->emplace_back(key);
            return true;
        },
        &order);
    return order;
}

void check_order(Tables& all) {
    const auto take = [](void* key, void*, void* user) {
        static_cast<std::vector<std::string>*>(user)->emplace_back(static_cast<char*>(key));
        return true;
    };
    std::vector<std::string> plain;
    std::vector<std::string> locked;
    wiq_map_foreach(&all.map, take, &plain);
    wiq_safe_map_foreach(&all.locked, take, &locked);
    CHECK(plain == locked);
    CHECK(plain == order_of(all.obj));
    CHECK(plain.size() == all.model.size());
    CHECK(wiq_map_size(&all.map) == plain.size());
    CHECK(wiq_safe_map_size(&all.locked) == plain.size());
    CHECK(wiq_map_capacity(&all.map) >= plain.size());
    CHECK(wiq_map_collisions(&all.map) < plain.size() + 1);
}

// Copies and compares the object, and writes it and reads it again.
void check_copies(const Tables& all) {
    wiq_json_t* copy = wiq_json_copy(all.obj, nullptr);
    CHECK(wiq_json_equal(all.obj, copy));
    const std::string text = dump(all.obj, WIQ_JSON_DUMP_SORT_KEYS);
    CHECK(text == dump(copy, WIQ_JSON_DUMP_SORT_KEYS));
    wiq_json_unref(copy);
    wiq_json_t* parsed = wiq_json_loads(text.c_str(), WIQ_JSON_REJECT_DUPLICATES, nullptr);
    CHECK(wiq_json_equal(all.obj, parsed));
    wiq_json_unref(parsed);
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Script script = script_of(data, size);
    if (script.empty())
        return 0;
    script.resize(std::min<size_t>(script.size(), 40));
    const u64 capacity = script[0].a;
    Tables all = {};
    CHECK(wiq_map_init(&all.map, capacity, wiq_hash_str, wiq_cmp_str, free, nullptr) == 0);
    CHECK(wiq_safe_map_init(&all.locked, capacity, wiq_hash_str, wiq_cmp_str, free, nullptr) == 0);
    all.obj = wiq_json_obj_new(static_cast<i32>(capacity), nullptr);
    for (const Op& op : script) {
        for (size_t i = 0; i <= op.c % 64; ++i) {
            const std::string& key = keys()[(op.b + i * (1 + op.d % 4)) % keys().size()];
            if (op.code % 8 < 4)
                put(all, key, op.e);
            else if (op.code % 8 < 6)
                remove(all, key);
            else
                memoize(all, key, op.e, op.code % 8 == 7 ? -7 : 0);
        }
        check_key(all, keys()[op.e]);
        check_order(all);
    }
    for (const std::string& key : keys())
        check_key(all, key);
    check_copies(all);
    wiq_map_finalize(&all.map);
    wiq_safe_map_finalize(&all.locked);
    wiq_json_unref(all.obj);
    return 0;
}
