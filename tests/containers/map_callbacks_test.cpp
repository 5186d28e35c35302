// What a map's callbacks may do to the map: each operation that calls a client's function, with each change
// that the header does not forbid there, on the plain and on the locked map. After every row the map is
// inspected: everything in it is alive and counted. In the end each key and value has been released exactly
// once.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"

namespace {

// --- One set of calls for the two kinds of map ---------------------------------------------------------

struct Kind {
    const char* name;
    void* (*make)(wiq_hash_fn hash, wiq_release_fn key_free, wiq_release_fn value_free);
    i32 (*put)(void* map, void* key, void* value);
    i32 (*replace)(void* map, void* key, void* value, void** old_value);
    void* (*memoize)(void* map, void* key, wiq_map_factory_fn factory, void* user, i32* status);
    void* (*get)(void* map, const void* key);
    bool (*test_key)(void* map, const void* key);
    void* (*remove)(void* map, const void* key);
    u64 (*size)(void* map);
    void (*foreach)(void* map, wiq_map_foreach_fn callback, void* user);
    void (*destroy)(void* map);
};

wiq_map* plain(void* map) {
    return static_cast<wiq_map*>(map);
}
wiq_safe_map* locked(void* map) {
    return static_cast<wiq_safe_map*>(map);
}

const Kind kPlain = {
    "plain",
    [](wiq_hash_fn hash, wiq_release_fn key_free, wiq_release_fn value_free) -> void* {
        return wiq_map_new(0, hash, wiq_cmp_str, key_free, value_free);
    },
    [](void* map, void* key, void* value) { return wiq_map_put(plain(map), key, value); },
    [](void* map, void* key, void* value, void** old_value) {
        return wiq_map_replace(plain(map), key, value, old_value);
    },
    [](void* map, void* key, wiq_map_factory_fn factory, void* user, i32* status) {
        return wiq_map_memoize(plain(map), key, factory, user, status);
    },
    [](void* map, const void* key) { return wiq_map_get(plain(map), key); },
    [](void* map, const void* key) { return wiq_map_test_key(plain(map), key); },
    [](void* map, const void* key) { return wiq_map_remove(plain(map), key); },
    [](void* map) { return wiq_map_size(plain(map)); },
    [](void* map, wiq_map_foreach_fn callback, void* user) {
        wiq_map_foreach(plain(map), callback, user);
    },
    [](void* map) { wiq_map_unref(plain(map)); },
};

const Kind kLocked = {
    "locked",
    [](wiq_hash_fn hash, wiq_release_fn key_free, wiq_release_fn value_free) -> void* {
        return wiq_safe_map_new(0, hash, wiq_cmp_str, key_free, value_free);
    },
    [](void* map, void* key, void* value) { return wiq_safe_map_put(locked(map), key, value); },
    [](void* map, void* key, void* value, void** old_value) {
        return wiq_safe_map_replace(locked(map), key, value, old_value);
    },
    [](void* map, void* key, wiq_map_factory_fn factory, void* user, i32* status) {
        return wiq_safe_map_memoize(locked(map), key, factory, user, status);
    },
    [](void* map, const void* key) { return wiq_safe_map_get(locked(map), key); },
    [](void* map, const void* key) { return wiq_safe_map_test_key(locked(map), key); },
    [](void* map, const void* key) { return wiq_safe_map_remove(locked(map), key); },
    [](void* map) { return wiq_safe_map_size(locked(map)); },
    [](void* map, wiq_map_foreach_fn callback, void* user) {
        wiq_safe_map_foreach(locked(map), callback, user);
    },
    [](void* map) { wiq_safe_map_delete(locked(map)); },
};

// --- Keys and values that know whether they are alive ---------------------------------------------------

enum class Caller { kKeyFree, kValueFree, kFactory, kForeach };

struct World {
    const Kind* kind = nullptr;
    void* map = nullptr;
    std::set<const void*> alive;  // keys and values that have not been released
    Caller armed = Caller::kKeyFree;
    std::function<void()> change;  // made once, by the armed callback
    int made = 0;
};
World* g_world;

char* new_text(const std::string& text) {
    char* made = strdup(text.c_str());
    g_world->alive.insert(made);
    return made;
}

void make_change(Caller caller) {
    if (g_world->armed != caller || g_world->change == nullptr)
        return;
    const std::function<void()> change = std::move(g_world->change);
    g_world->change = nullptr;
    ++g_world->made;
    change();
}

// A key or value is marked as dead before the change is made: from then on, no callback may see it.
void release(void* text, Caller caller) {
    EXPECT_EQ(g_world->alive.erase(text), 1u) << "released twice, or never stored";
    make_change(caller);
    free(text);
}
void key_free(void* key) {
    release(key, Caller::kKeyFree);
}
void value_free(void* value) {
    release(value, Caller::kValueFree);
}

// Checks that everything in the map is alive, can be found under its key, and is counted.
void look_through() {
    World& world = *g_world;
    std::vector<std::pair<void*, void*>> pairs;
    world.kind->foreach (
        world.map,
        [](void* key, void* value, void* user) {
            static_cast<std::vector<std::pair<void*, void*>>*>(user)->emplace_back(key, value);
            return true;
        },
        &pairs);
    EXPECT_EQ(world.kind->size(world.map), pairs.size());
    std::set<std::string> names;
    for (const auto& [key, value] : pairs) {
        ASSERT_EQ(world.alive.count(key), 1u);
        ASSERT_EQ(world.alive.count(value), 1u);
        EXPECT_EQ(world.kind->get(world.map, key), value);
        EXPECT_TRUE(names.insert(static_cast<char*>(key)).second) << "one entry for each key";
    }
}

// --- The changes ---------------------------------------------------------------------------------------

void put(const std::string& name) {
    EXPECT_EQ(g_world->kind->put(g_world->map, new_text(name), new_text("put " + name)), 0);
}

void* stored_key(const std::string& name) {
    struct Search {
        const std::string& name;
        void* found = nullptr;
    } search{name};
    g_world->kind->foreach (
        g_world->map,
        [](void* key, void*, void* user) {
            auto* wanted = static_cast<Search*>(user);
            if (wanted->name == static_cast<char*>(key))
                wanted->found = key;
            return wanted->found == nullptr;
        },
        &search);
    return search.found;
}

void replace_stored(const std::string& name) {
    if (stored_key(name) == nullptr)
        return;
    void* old = nullptr;
    EXPECT_EQ(g_world->kind->replace(g_world->map, new_text(name), new_text("replaced"), &old), 0);
    EXPECT_EQ(g_world->alive.erase(old), 1u);
    free(old);
}

void* produce(const void* key, void*, i32*) {
    make_change(Caller::kFactory);
    return new_text(std::string("made for ") + static_cast<const char*>(key));
}

void memoize(const std::string& name) {
    char* key = new_text(name);
    const bool there = g_world->kind->test_key(g_world->map, name.c_str());
    i32 status = 1;
    void* value = g_world->kind->memoize(g_world->map, key, produce, nullptr, &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(g_world->kind->get(g_world->map, name.c_str()), value);
    if (there) {
        g_world->alive.erase(key);
        free(key);
    }
}

void remove(const std::string& name) {
    EXPECT_EQ(g_world->kind->remove(g_world->map, name.c_str()), nullptr);
    EXPECT_FALSE(g_world->kind->test_key(g_world->map, name.c_str()));
}

struct Change {
    const char* name;
    void (*make)(const std::string& own);  // `own`: the key on which the operation works
    bool in_a_walk;                        // allowed in a walk: no inserting, no removing
    const Kind* only = nullptr;
};

const Change kChanges[] = {
    {"look", [](const std::string&) { look_through(); }, true},
    {"put own",
     [](const std::string& own) {
         if (stored_key(own) != nullptr)
             put(own);
     },
     true},
    {"put own with the stored key",
     [](const std::string& own) {
         if (void* key = stored_key(own)) {
             EXPECT_EQ(g_world->kind->put(g_world->map, key, new_text("again")), 0);
         }
     },
     true},
    {"replace own", [](const std::string& own) { replace_stored(own); }, true},
    {"replace all",
     [](const std::string&) {
         for (int i = 0; i < 10; ++i)
             replace_stored("key " + std::to_string(i));
     },
     true},
    {"memoize a stored key",
     [](const std::string&) {
         if (stored_key("key 5") != nullptr)
             memoize("key 5");
     },
     true},
    {"insert own", [](const std::string& own) { put(own); }, false},
    {"insert another", [](const std::string&) { put("another"); }, false},
    {"insert many",
     [](const std::string&) {
         for (int i = 0; i < 100; ++i)
             put("many " + std::to_string(i));
     },
     false},
    {"memoize own", [](const std::string& own) { memoize(own); }, false},
    {"memoize another", [](const std::string&) { memoize("another"); }, false},
    {"remove own", [](const std::string& own) { remove(own); }, false},
    {"remove another", [](const std::string&) { remove("key 7"); }, false},
    {"remove each",
     [](const std::string&) {
         for (int i = 0; i < 10; ++i)
             remove("key " + std::to_string(i));
     },
     false},
    {"remove all",
     [](const std::string&) { wiq_map_remove_all(static_cast<wiq_map*>(g_world->map)); }, false,
     &kPlain},
    {"a reference",
     [](const std::string&) {
         wiq_map_ref(plain(g_world->map));
         wiq_map_unref(plain(g_world->map));
     },
     true, &kPlain},
};

// --- The operations ------------------------------------------------------------------------------------

struct Operation {
    const char* name;
    std::vector<Caller> callers;
    void (*run)();
    bool destroys = false;
    const Kind* only = nullptr;
};

const Operation kOperations[] = {
    {"put over an equal key",
     {Caller::kKeyFree, Caller::kValueFree},
     [] { EXPECT_EQ(g_world->kind->put(g_world->map, new_text("key 3"), new_text("new")), 0); }},
    {"put over the stored key",
     {Caller::kValueFree},
     [] { EXPECT_EQ(g_world->kind->put(g_world->map, stored_key("key 3"), new_text("new")), 0); }},
    {"replace",
     {Caller::kKeyFree},
     [] {
         void* old = nullptr;
         EXPECT_EQ(g_world->kind->replace(g_world->map, new_text("key 3"), new_text("new"), &old),
                   0);
         EXPECT_EQ(g_world->alive.erase(old), 1u);
         EXPECT_STREQ(static_cast<char*>(old), "value 3");
         free(old);
     }},
    {"remove",
     {Caller::kKeyFree, Caller::kValueFree},
     [] { EXPECT_EQ(g_world->kind->remove(g_world->map, "key 3"), nullptr); }},
    {"memoize",
     {Caller::kFactory},
     [] {
         i32 status = 1;
         void* value =
             g_world->kind->memoize(g_world->map, new_text("key 3x"), produce, nullptr, &status);
         EXPECT_EQ(status, 0);
         EXPECT_STREQ(static_cast<char*>(value), "made for key 3x");
         EXPECT_EQ(g_world->kind->get(g_world->map, "key 3x"), value);
     }},
    {"foreach",
     {Caller::kForeach},
     [] {
         int visits = 0;
         g_world->kind->foreach (
             g_world->map,
             [](void* key, void* value, void* user) {
                 EXPECT_EQ(g_world->alive.count(key), 1u);
                 EXPECT_EQ(g_world->alive.count(value), 1u);
                 if (strcmp(static_cast<char*>(key), "key 3") == 0)
                     make_change(Caller::kForeach);
                 ++*static_cast<int*>(user);
                 return true;
             },
             &visits);
         EXPECT_EQ(visits, 10);
     }},
    {"remove_all",
     {Caller::kKeyFree, Caller::kValueFree},
     [] { wiq_map_remove_all(plain(g_world->map)); },
     false,
     &kPlain},
    {"unref, delete",
     {Caller::kKeyFree, Caller::kValueFree},
     [] { g_world->kind->destroy(g_world->map); },
     true},
    {"delete",
     {Caller::kKeyFree, Caller::kValueFree},
     [] { wiq_map_delete(plain(g_world->map)); },
     true,
     &kPlain},
};

u32 one_hash(const void*) {
    return 7;
}

void run_row(const Kind& kind, wiq_hash_fn hash, const Operation& operation, Caller caller,
             const Change& change) {
    World world;
    g_world = &world;
    world.kind = &kind;
    world.map = kind.make(hash, key_free, value_free);
    ASSERT_NE(world.map, nullptr);
    for (int i = 0; i < 10; ++i) {
        const std::string name = std::to_string(i);
        ASSERT_EQ(kind.put(world.map, new_text("key " + name), new_text("value " + name)), 0);
    }
    world.armed = caller;
    world.change = [&change, &operation] {
        change.make(operation.callers.front() == Caller::kFactory ? "key 3x" : "key 3");
        look_through();
    };
    operation.run();
    EXPECT_EQ(world.made, 1) << "the callback was called";
    if (!operation.destroys) {
        look_through();
        kind.destroy(world.map);
    }
    EXPECT_EQ(world.alive.size(), 0u) << "keys and values that were never released";
    for (const void* left : world.alive)
        free(const_cast<void*>(left));
}

TEST(MapCallbacks, MayDoWhatTheHeaderDoesNotForbid) {
    int rows = 0;
    for (const Kind* kind : {&kPlain, &kLocked}) {
        for (const wiq_hash_fn hash : {wiq_hash_fn{wiq_hash_str}, wiq_hash_fn{one_hash}}) {
            for (const Operation& operation : kOperations) {
                for (const Caller caller : operation.callers) {
                    for (const Change& change : kChanges) {
                        if ((operation.only != nullptr && operation.only != kind) ||
                            (change.only != nullptr && change.only != kind) ||
                            (caller == Caller::kForeach && !change.in_a_walk))
                            continue;
                        SCOPED_TRACE(std::string(kind->name) + ", " + operation.name + ", " +
                                     change.name + ", callback " +
                                     std::to_string(static_cast<int>(caller)));
                        run_row(*kind, hash, operation, caller, change);
                        ++rows;
                    }
                }
            }
        }
    }
    EXPECT_GT(rows, 500);
}

// If callbacks store entries while everything is removed, these may be removed or kept, and are counted if
// they are kept; if they store entries while the map is finalized, these are released.
TEST(MapCallbacks, EveryReleaseStoresSomething) {
    World world;
    g_world = &world;
    world.kind = &kPlain;
    static int stored;
    stored = 0;
    const wiq_release_fn store_one = [](void* value) {
        EXPECT_EQ(g_world->alive.erase(value), 1u);
        free(value);
        if (stored < 40)
            put("stored " + std::to_string(stored++));
    };
    wiq_map* map = wiq_map_new(0, wiq_hash_str, wiq_cmp_str, key_free, store_one);
    world.map = map;
    for (int i = 0; i < 20; ++i)
        put("key " + std::to_string(i));
    wiq_map_remove_all(map);
    EXPECT_GT(wiq_map_size(map), 0u);
    look_through();
    for (int i = 0; i < 20; ++i)
        EXPECT_FALSE(wiq_map_test_key(map, ("key " + std::to_string(i)).c_str()));
    wiq_map_unref(map);
    EXPECT_EQ(stored, 40);
    EXPECT_TRUE(world.alive.empty());
}

// Hash and comparison functions may read the map.
bool reading_cmp(const void* a, const void* b) {
    EXPECT_GE(wiq_map_size(plain(g_world->map)), 1u);
    return wiq_cmp_str(a, b);
}

TEST(MapCallbacks, AComparisonMayRead) {
    World world;
    g_world = &world;
    wiq_map* map = wiq_map_new(0, one_hash, reading_cmp, nullptr, nullptr);
    world.map = map;
    for (const char* key : {"a", "b", "c"})
        EXPECT_EQ(wiq_map_put(map, const_cast<char*>(key), const_cast<char*>(key)), 0);
    EXPECT_STREQ(static_cast<char*>(wiq_map_get(map, "c")), "c");
    EXPECT_STREQ(static_cast<char*>(wiq_map_remove(map, "b")), "b");
    wiq_map_delete(map);
}

// The order of release when an entry is overwritten: first the old value, then the old key, both after the
// new pair has been stored.
TEST(MapCallbacks, OverwritingStoresFirst) {
    static std::vector<std::string> log;
    static wiq_map* map;
    log.clear();
    const wiq_release_fn note_key = [](void* key) {
        log.push_back(std::string("key ") + static_cast<char*>(key) + ", now " +
                      static_cast<char*>(wiq_map_get(map, "k")));
    };
    const wiq_release_fn note_value = [](void* value) {
        log.push_back(std::string("value ") + static_cast<char*>(value) + ", now " +
                      static_cast<char*>(wiq_map_get(map, "k")));
    };
    map = wiq_map_new(0, wiq_hash_str, wiq_cmp_str, note_key, note_value);
    static char first[] = "k";
    static char second[] = "k";
    static char old_value[] = "old";
    static char new_value[] = "new";
    wiq_map_put(map, first, old_value);
    wiq_map_put(map, second, new_value);
    EXPECT_EQ(log, (std::vector<std::string>{"value old, now new", "key k, now new"}));
    void* handed_back = nullptr;
    wiq_map_replace(map, first, old_value, &handed_back);
    EXPECT_EQ(handed_back, new_value);
    EXPECT_EQ(log.back(), "key k, now old");
    EXPECT_EQ(log.size(), 3u);
    map->key_free = nullptr;
    map->value_free = nullptr;
    wiq_map_delete(map);
}

}  // namespace
