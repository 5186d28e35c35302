// Hash maps side by side, with one million integers and a hundred thousand strings: OPERATION/KEYS/LIBRARY.
// All except abseil's and GLib's use the same hash. "chained" is the minimum that a table of separately
// allocated entries must do.
#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "ke_utils/containers.h"
#if defined(KE_BENCH_ABSL)
#include <absl/container/flat_hash_map.h>
#endif
#if defined(KE_BENCH_GLIB)
#include <glib.h>
#endif

namespace {

void* as_pointer(u64 value) {
    return reinterpret_cast<void*>(value);
}

// Keys in the map, and as many that are not, both in random order.
struct Keys {
    std::vector<void*> present;
    std::vector<void*> absent;
};

const Keys& integers() {
    static const Keys keys = [] {
        Keys made;
        std::mt19937_64 random(7);
        for (u64 i = 0; i < 1000000; ++i) {
            made.present.push_back(as_pointer(random() | 1));
            made.absent.push_back(as_pointer(random() & ~u64{1}));
        }
        return made;
    }();
    return keys;
}

const Keys& strings() {
    static std::vector<std::string> texts;
    static const Keys keys = [] {
        std::mt19937_64 random(8);
        for (u64 i = 0; i < 200000; ++i)
            texts.push_back((i % 2 == 0 ? "serial number " : "absent ") + std::to_string(random()));
        Keys made;
        for (u64 i = 0; i < texts.size(); ++i)
            (i % 2 == 0 ? made.present : made.absent).push_back(texts[i].data());
        return made;
    }();
    return keys;
}

bool is_text(const Keys& keys) {
    return &keys == &strings();
}

struct KeMap {
    explicit KeMap(bool text) {
        wiq_map_init(&map, 0, text ? wiq_hash_str : wiq_hash_int, text ? wiq_cmp_str : wiq_cmp_int,
                     nullptr, nullptr);
    }
    KeMap(const KeMap&) = delete;
    KeMap& operator=(const KeMap&) = delete;
    ~KeMap() { wiq_map_finalize(&map); }
    void insert(void* key) { wiq_map_put(&map, key, key); }
    void* find(void* key) { return wiq_map_get(&map, key); }
    void remove(void* key) { wiq_map_remove(&map, key); }
    u64 walk() {
        u64 sum = 0;
        wiq_map_foreach(
            &map,
            [](void*, void* value, void* user) {
                *static_cast<u64*>(user) += reinterpret_cast<u64>(value);
                return true;
            },
            &sum);
        return sum;
    }
    wiq_map map;
};

// A minimal chained table: separately allocated entries, and nothing but find, append, grow and unlink.
class Chained {
  public:
    explicit Chained(bool text) : text_(text) {}
    Chained(const Chained&) = delete;
    Chained& operator=(const Chained&) = delete;
    ~Chained() {
        for (Entry* entry : buckets_) {
            while (entry != nullptr) {
                Entry* next = entry->next;
                free(entry);
                entry = next;
            }
        }
    }
    void insert(void* key) {
        const u32 hash = hash_of(key);
        Entry** link = link_of(key, hash);
        if (*link != nullptr)
            return;
        auto* entry = static_cast<Entry*>(malloc(sizeof(Entry)));
        *entry = {key, hash, key, nullptr};
        *link = entry;
        if (++size_ > buckets_.size() * 3 / 4)
            grow();
    }
    void* find(void* key) {
        Entry* entry = *link_of(key, hash_of(key));
        return entry == nullptr ? nullptr : entry->value;
    }
    void remove(void* key) {
        Entry** link = link_of(key, hash_of(key));
        Entry* entry = *link;
        *link = entry->next;
        free(entry);
        --size_;
    }
    u64 walk() {
        u64 sum = 0;
        for (const Entry* entry : buckets_) {
            for (; entry != nullptr; entry = entry->next)
                sum += reinterpret_cast<u64>(entry->value);
        }
        return sum;
    }

  private:
    struct Entry {
        void* key;
        u32 hash;
        void* value;
        Entry* next;
    };
    u32 hash_of(void* key) const { return text_ ? wiq_hash_str(key) : wiq_hash_int(key); }
    Entry** link_of(void* key, u32 hash) {
        Entry** link = &buckets_[hash & (buckets_.size() - 1)];
        while (*link != nullptr &&
               !((*link)->hash == hash &&
                 (text_ ? wiq_cmp_str((*link)->key, key) : (*link)->key == key)))
            link = &(*link)->next;
        return link;
    }
    void grow() {
        std::vector<Entry*> old(2 * buckets_.size());
        old.swap(buckets_);
        for (Entry* entry : old) {
            while (entry != nullptr) {
                Entry* next = entry->next;
                Entry*& head = buckets_[entry->hash & (buckets_.size() - 1)];
                entry->next = head;
                head = entry;
                entry = next;
            }
        }
    }

    bool text_;
    std::vector<Entry*> buckets_ = std::vector<Entry*>(1);
    size_t size_ = 0;
};

struct Hash {
    bool text;
    size_t operator()(void* key) const { return text ? wiq_hash_str(key) : wiq_hash_int(key); }
};
struct Equal {
    bool text;
    bool operator()(void* a, void* b) const { return text ? wiq_cmp_str(a, b) : a == b; }
};

template <class Map>
struct Standard {
    explicit Standard(bool text) : map(1, Hash{text}, Equal{text}) {}
    void insert(void* key) { map.emplace(key, key); }
    void* find(void* key) {
        const auto it = map.find(key);
        return it == map.end() ? nullptr : it->second;
    }
    void remove(void* key) { map.erase(key); }
    u64 walk() {
        u64 sum = 0;
        for (const auto& entry : map)
            sum += reinterpret_cast<u64>(entry.second);
        return sum;
    }
    Map map;
};

#if defined(KE_BENCH_GLIB)
struct Glib {
    explicit Glib(bool text)
        : map(g_hash_table_new(text ? g_str_hash : g_direct_hash,
                               text ? g_str_equal : g_direct_equal)) {}
    Glib(const Glib&) = delete;
    Glib& operator=(const Glib&) = delete;
    ~Glib() { g_hash_table_destroy(map); }
    void insert(void* key) { g_hash_table_insert(map, key, key); }
    void* find(void* key) { return g_hash_table_lookup(map, key); }
    void remove(void* key) { g_hash_table_remove(map, key); }
    u64 walk() {
        u64 sum = 0;
        g_hash_table_foreach(
            map,
            [](void*, void* value, void* user) {
                *static_cast<u64*>(user) += reinterpret_cast<u64>(value);
            },
            &sum);
        return sum;
    }
    GHashTable* map;
};
#endif

template <class Map>
void add(const char* library, const char* name, const Keys& keys) {
    const auto named = [&](const char* operation) {
        return std::string(operation) + "/" + name + "/" + library;
    };
    benchmark::RegisterBenchmark(named("map insert").c_str(), [&keys](benchmark::State& state) {
        for (auto _ : state) {
            Map map(is_text(keys));
            for (void* key : keys.present)
                map.insert(key);
        }
    })->Unit(benchmark::kMillisecond);
    const auto filled = [&keys](auto body) {
        return [&keys, body](benchmark::State& state) {
            Map map(is_text(keys));
            for (void* key : keys.present)
                map.insert(key);
            for (auto _ : state)
                body(map, state);
        };
    };
    benchmark::RegisterBenchmark(named("map hit").c_str(),
                                 filled([&keys](Map& map, benchmark::State&) {
                                     for (void* key : keys.present)
                                         benchmark::DoNotOptimize(map.find(key));
                                 }))
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(named("map miss").c_str(),
                                 filled([&keys](Map& map, benchmark::State&) {
                                     for (void* key : keys.absent)
                                         benchmark::DoNotOptimize(map.find(key));
                                 }))
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(
        named("map iterate").c_str(),
        filled([](Map& map, benchmark::State&) { benchmark::DoNotOptimize(map.walk()); }))
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(named("map remove").c_str(),
                                 filled([&keys](Map& map, benchmark::State& state) {
                                     for (void* key : keys.present)
                                         map.remove(key);
                                     state.PauseTiming();
                                     for (void* key : keys.present)
                                         map.insert(key);
                                     state.ResumeTiming();
                                 }))
        ->Unit(benchmark::kMillisecond);
}

template <class Map>
void add_both(const char* library) {
    add<Map>(library, "1M integers", integers());
    add<Map>(library, "100k strings", strings());
}

const bool added = [] {
    add_both<KeMap>("ke_utils");
    add_both<Chained>("chained");
    add_both<Standard<std::unordered_map<void*, void*, Hash, Equal>>>("std::unordered_map");
#if defined(KE_BENCH_ABSL)
    add_both<Standard<absl::flat_hash_map<void*, void*, Hash, Equal>>>("absl::flat_hash_map");
#endif
#if defined(KE_BENCH_GLIB)
    add_both<Glib>("GHashTable");
#endif
    return true;
}();

}  // namespace
