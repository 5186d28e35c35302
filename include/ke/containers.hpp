/**
 * @file containers.hpp
 * The C interface's vector, hash map, locked map and string list as classes that own what they hold. They
 * are for code that shares these records with C; elsewhere the standard's containers serve. The string
 * buffer is in strbuf.hpp.
 */
#ifndef KE_CONTAINERS_HPP
#define KE_CONTAINERS_HPP

#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "ke/callback.hpp"
#include "ke/status.hpp"
#include "ke/text_arg.hpp"
#include "ke_utils/containers.h"

namespace ke {

/** @addtogroup cpp
 *  @{ */

/** A growable array of plain elements, one block, on wiq_vector. */
template <class T>
class vector {
    static_assert(std::is_trivially_copyable_v<T>, "elements are moved by realloc()");
    static_assert(alignof(T) <= alignof(std::max_align_t), "the block is malloc()'s");

  public:
    using value_type = T;            /**< the elements */
    using iterator = T*;             /**< walks the block */
    using const_iterator = const T*; /**< walks the block */

    /** Makes an empty one; allocates nothing. */
    vector() noexcept { wiq_vector_init(&vec_, sizeof(T), 0, nullptr, nullptr); }
    /** Copies may fail: assign() tells. */
    vector(const vector&) = delete;
    vector& operator=(const vector&) = delete;
    /** @name Moves leave the other one empty or with what this one held
     *  @{ */
    /** Moves leave the other one empty or with what this one held. */
    vector(vector&& other) noexcept : vector() { std::swap(vec_, other.vec_); }
    vector& operator=(vector&& other) & noexcept {
        std::swap(vec_, other.vec_);
        return *this;
    }
    /** @} */
    ~vector() { wiq_vector_finalize(&vec_); }

    /** @name Size and elements, as in std::vector; nothing is checked
     *  @{ */
    /** Size and elements, as in std::vector; nothing is checked. */
    i32 size() const noexcept { return vec_.size; }
    i32 capacity() const noexcept { return vec_.capacity; }
    bool empty() const noexcept { return vec_.size == 0; }
    T* data() noexcept { return static_cast<T*>(vec_.data); }
    const T* data() const noexcept { return static_cast<const T*>(vec_.data); }
    T* begin() noexcept { return data(); }
    T* end() noexcept { return data() + vec_.size; }
    const T* begin() const noexcept { return data(); }
    const T* end() const noexcept { return data() + vec_.size; }
    T& operator[](i32 index) noexcept { return data()[index]; }
    const T& operator[](i32 index) const noexcept { return data()[index]; }
    /** @} */
    /** The element, nullptr out of range; a negative index counts from the end. */
    T* at(i32 index) noexcept { return static_cast<T*>(wiq_vector_get(&vec_, index)); }
    /** The element, nullptr out of range. */
    const T* at(i32 index) const noexcept {
        return static_cast<const T*>(wiq_vector_get_const(&vec_, index));
    }

    /** 0 or -5000, and then the vector is as it was. */
    status push_back(const T& value) noexcept {
        const T copy = value;  // `value` may lie in the block that moves
        void* const place = wiq_vector_push(&vec_);
        if (place == nullptr)
            return WIQ_ERR_NO_MEMORY;
        new (place) T(copy);
        return 0;
    }
    /** Becomes a copy of a range of elements, which may not be its own. 0 or -5000, and then it is as it was. */
    status assign(const T* first, i32 count) noexcept {
        vector other;
        const i32 status = wiq_vector_resize(&other.vec_, count);
        if (status == 0 && count > 0)
            std::memcpy(other.vec_.data, first, static_cast<std::size_t>(count) * sizeof(T));
        if (status == 0)
            std::swap(vec_, other.vec_);
        return status;
    }
    /** Drops elements, or adds copies of a value. 0, -7000 for a negative size, -5000. */
    status resize(i32 size, const T& value = T()) noexcept {
        const T copy = value;
        const i32 before = vec_.size;
        const i32 status = wiq_vector_resize(&vec_, size);
        for (i32 i = before; status == 0 && i < size; ++i)
            new (data() + i) T(copy);
        return status;
    }
    /** Drops the last elements: 0, or -7000 if there are fewer. */
    status pop_back(i32 count = 1) noexcept { return wiq_vector_pop(&vec_, count); }
    /** Makes room for exactly so many more: 0, -7000 for a negative number, -5000. */
    status reserve_extra(i32 extra) noexcept { return wiq_vector_extra_capacity(&vec_, extra); }
    /** Drops all elements, keeps the block. */
    void clear() noexcept { (void)wiq_vector_resize(&vec_, 0); }
    /** The vector itself, lent. */
    wiq_vector* get() noexcept { return &vec_; }

  private:
    wiq_vector vec_;
};

/** What a walk over a map gives. */
template <class V>
struct map_entry {
    std::string_view key; /**< lives as long as the entry */
    V& value;             /**< may be changed, unless the map is const */
};

namespace detail {
// A key and a value as the maps own them, from malloc() and new.
template <class V>
struct owned_pair {
    c_text key;
    std::unique_ptr<V> value;

    owned_pair(const text_arg& name, V&& from)
        : key(name.c_str() == nullptr ? nullptr : copy(name.c_str())),
          value(new (std::nothrow) V(std::move(from))) {}
    explicit operator bool() const noexcept { return key && value; }
    void release() noexcept {
        (void)key.release();
        (void)value.release();
    }
    static char* copy(const char* text) noexcept {
        const std::size_t size = std::strlen(text) + 1;
        auto* const to = static_cast<char*>(std::malloc(size));
        return to == nullptr ? nullptr : static_cast<char*>(std::memcpy(to, text, size));
    }
    static void drop(void* value) { delete static_cast<V*>(value); }
};
}  // namespace detail

/** A hash map from text to V on wiq_map; it owns its keys and values. */
template <class V>
class map {
  public:
    /** Makes an empty one. If that runs out of memory, every set() reports it. */
    map() noexcept { ready_ = init() == 0; }
    map(const map&) = delete;
    map& operator=(const map&) = delete;
    /** @name Moves leave the other one empty or with what this one held
     *  @{ */
    /** Moves leave the other one empty or with what this one held. */
    map(map&& other) noexcept : map_(other.map_), ready_(std::exchange(other.ready_, false)) {}
    map& operator=(map&& other) & noexcept {
        std::swap(map_, other.map_);
        std::swap(ready_, other.ready_);
        return *this;
    }
    /** @} */
    ~map() {
        if (ready_)
            wiq_map_finalize(&map_);
    }

    /** Entries. */
    u64 size() const noexcept { return ready_ ? map_.size : 0; }
    /** Whether there are none. */
    bool empty() const noexcept { return size() == 0; }
    /** Whether a key is there. */
    bool contains(const text_arg& key) const noexcept { return find(key) != nullptr; }
    /** Returns the value under a key, or nullptr if the key is absent. */
    V* find(const text_arg& key) noexcept { return static_cast<V*>(lookup(key)); }
    /** Returns the value under a key, or nullptr if the key is absent. */
    const V* find(const text_arg& key) const noexcept { return static_cast<V*>(lookup(key)); }

    /** Stores a value, in place of one that is there. 0, -5000, -7000 for a key with a NUL inside; after a
     *  failure the map is as it was. */
    status set(const text_arg& key, V value) {
        if (key.status() != 0)
            return key.status();
        if (!ready_ && !(ready_ = init() == 0))
            return WIQ_ERR_NO_MEMORY;
        if (V* there = find(key)) {
            *there = std::move(value);
            return 0;
        }
        detail::owned_pair<V> pair(key, std::move(value));
        if (!pair)
            return WIQ_ERR_NO_MEMORY;
        const u64 before = map_.size;
        const i32 status = wiq_map_put(&map_, pair.key.get(), pair.value.get());
        if (map_.size == before)
            return status;
        // Stored: a table that could not grow holds it all the same.
        pair.release();
        return 0;
    }
    /** Whether there was something to remove. */
    bool erase(const text_arg& key) noexcept {
        const u64 before = size();
        if (ready_ && key.c_str() != nullptr)
            wiq_map_remove(&map_, key.c_str());
        return size() != before;
    }
    /** Removes all. */
    void clear() noexcept {
        if (ready_)
            wiq_map_remove_all(&map_);
    }

    /** `for (auto [key, value] : entries)`, in map order; the map must not change meanwhile, its values may. */
    template <class T>
    class walk {
      public:
        /** @name What the standard asks of an iterator
         *  @{ */
        /** What the standard asks of an iterator. */
        using iterator_concept = std::forward_iterator_tag;
        using iterator_category = std::input_iterator_tag;
        using value_type = map_entry<T>;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = map_entry<T>;

        walk() noexcept = default;
        walk(const wiq_map* map, u64 bucket) noexcept : map_(map), bucket_(bucket) { settle(); }
        reference operator*() const noexcept {
            return {static_cast<const char*>(entry_->key), *static_cast<T*>(entry_->value)};
        }
        walk& operator++() noexcept {
            entry_ = entry_->next;
            if (entry_ == nullptr) {
                ++bucket_;
                settle();
            }
            return *this;
        }
        walk operator++(int) noexcept {
            const walk before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(const walk& a, const walk& b) noexcept {
            return a.entry_ == b.entry_;
        }
        friend bool operator!=(const walk& a, const walk& b) noexcept { return !(a == b); }
        /** @} */

      private:
        void settle() noexcept {
            while (bucket_ < map_->bucket_count && map_->buckets[bucket_] == nullptr)
                ++bucket_;
            entry_ = bucket_ < map_->bucket_count ? map_->buckets[bucket_] : nullptr;
        }

        const wiq_map* map_ = nullptr;
        u64 bucket_ = 0;
        wiq_map_entry* entry_ = nullptr;
    };
    using iterator = walk<V>;             /**< may change values */
    using const_iterator = walk<const V>; /**< may not */
    /** @name The entries
     *  @{ */
    /** The entries. */
    iterator begin() noexcept { return {&map_, ready_ ? 0 : map_.bucket_count}; }
    iterator end() noexcept { return {&map_, map_.bucket_count}; }
    const_iterator begin() const noexcept { return {&map_, ready_ ? 0 : map_.bucket_count}; }
    const_iterator end() const noexcept { return {&map_, map_.bucket_count}; }
    /** @} */
    /** The map itself, lent; keys are `char*`, values `V*`. */
    wiq_map* get() noexcept { return &map_; }

  private:
    i32 init() noexcept {
        return wiq_map_init(&map_, 0, wiq_hash_str, wiq_cmp_str, std::free,
                            detail::owned_pair<V>::drop);
    }
    void* lookup(const text_arg& key) const noexcept {
        return ready_ && key.c_str() != nullptr ? wiq_map_get(&map_, key.c_str()) : nullptr;
    }

    wiq_map map_ = {};
    bool ready_ = false;
};

/**
 * A hash map from text to V that threads share, on wiq_safe_map: every call holds its mutex. Values are
 * copied out, since another thread may replace them at any time.
 */
template <class V>
class locked_map {
  public:
    /** Makes an empty one. If memory or the mutex is missing, every set() reports it. */
    locked_map() noexcept {
        status_ = wiq_safe_map_init(&map_, 0, wiq_hash_str, wiq_cmp_str, std::free,
                                    detail::owned_pair<V>::drop);
    }
    /** It stays where it is: a mutex does not move. */
    locked_map(const locked_map&) = delete;
    locked_map& operator=(const locked_map&) = delete;
    ~locked_map() {
        if (status_ == 0)
            wiq_safe_map_finalize(&map_);
    }

    /** Entries. */
    u64 size() noexcept { return status_ == 0 ? wiq_safe_map_size(&map_) : 0; }
    /** Whether a key is there. */
    bool contains(const text_arg& key) noexcept {
        return status_ == 0 && key.c_str() != nullptr && wiq_safe_map_test_key(&map_, key.c_str());
    }
    /** A copy of the value under a key, made while the lock is held. */
    std::optional<V> find(const text_arg& key) {
        std::optional<V> found;
        if (key.c_str() != nullptr)
            locked([&] {
                if (void* value = wiq_map_get(&map_.map, key.c_str()))
                    found = *static_cast<V*>(value);
                return true;
            });
        return found;
    }
    /**
     * A copy of the value under a key; where there is none, `make()` makes it first. That happens with the lock held:
     * threads that ask for one key have its value made once. `make()` gives a V or a ke::result<V>; it may throw, and
     * must not use the map. -5000; -5007; -7000 for NULL or a NUL inside the key; the failure that `make()` gives.
     */
    template <class Make>
    result<V> find_or_make(const text_arg& key, Make&& make) {
        if (status_ != 0 || key.status() != 0)
            return result<V>::failure(status_ != 0 ? status_ : key.status());
        if (key.c_str() == nullptr)
            return result<V>::failure(WIQ_ERR_INVALID_ARG);
        detail::exception_keeper keeper;
        result<V> made = result<V>::failure(WIQ_ERR_FAILED);
        const auto make_and_put = [&] {
            made = keeper.run(result<V>::failure(WIQ_ERR_FAILED), [&]() -> result<V> {
                result<V> fresh = make();
                if (!fresh)
                    return fresh;
                detail::owned_pair<V> pair(key, V(*fresh));
                const i32 status =
                    pair ? wiq_map_put(&map_.map, pair.key.get(), pair.value.get()) : 0;
                // Stored also by a put whose table could not grow.
                if (!pair || wiq_map_get(&map_.map, pair.key.get()) != pair.value.get())
                    return result<V>::failure(pair ? status : WIQ_ERR_NO_MEMORY);
                pair.release();
                return fresh;
            });
            return true;
        };
        // Between the two questions another thread may have removed the key.
        while (!when_absent(key.c_str(), make_and_put)) {
            if (std::optional<V> found = find(key))
                return *std::move(found);
        }
        keeper.rethrow();
        return made;
    }
    /** Stores a value, in place of one that is there. 0; -5000; -5007; -7000 for a key with a NUL inside. */
    status set(const text_arg& key, V value) {
        if (status_ != 0 || key.status() != 0)
            return status_ != 0 ? status_ : key.status();
        detail::owned_pair<V> pair(key, std::move(value));
        if (!pair)
            return WIQ_ERR_NO_MEMORY;
        i32 status = 0;
        bool stored = false;
        const auto put = [&] {
            status = wiq_map_put(&map_.map, pair.key.get(), pair.value.get());
            // Stored also by a put whose table could not grow.
            stored = wiq_map_get(&map_.map, pair.key.get()) == pair.value.get();
            return true;
        };
        // Between the two questions another thread may have emptied the map.
        while (!when_absent(key.c_str(), put) && !locked(put)) {
        }
        if (stored)
            pair.release();
        return stored ? 0 : status;
    }
    /** Whether there was something to remove. */
    bool erase(const text_arg& key) noexcept {
        bool erased = false;
        if (key.c_str() != nullptr)
            locked([&] {
                const u64 before = map_.map.size;
                wiq_map_remove(&map_.map, key.c_str());
                return erased = map_.map.size != before;
            });
        return erased;
    }
    /** Calls `visitor(std::string_view key, V& value)` for every entry with the lock held; it must not add or
     *  remove entries. What it throws ends the walk. */
    template <class Visitor>
    void for_each(Visitor&& visitor) {
        walk([&](void* key, void* value) {
            visitor(std::string_view(static_cast<const char*>(key)), *static_cast<V*>(value));
            return true;
        });
    }

  private:
    // Calls back for every entry until the answer is false.
    template <class Call>
    void walk(Call call) {
        struct state {
            Call& call;
            detail::exception_keeper keeper;
        } state{call, {}};
        if (status_ != 0)
            return;
        wiq_safe_map_foreach(
            &map_,
            [](void* key, void* value, void* user) {
                auto* const self = static_cast<struct state*>(user);
                return self->keeper.run(false, [&] { return self->call(key, value); });
            },
            &state);
        state.keeper.rethrow();
    }
    // Does something once while the lock is held: as a factory for a missing key, which then says that it has
    // made no value. False, and nothing is done, if the key is there.
    template <class Action>
    bool when_absent(const char* key, Action& action) {
        struct state {
            Action& action;
            bool done;
        } state{action, false};
        i32 status = 0;
        wiq_safe_map_memoize(
            &map_, const_cast<char*>(key),
            [](const void*, void* user, i32* made) -> void* {
                auto* const self = static_cast<struct state*>(user);
                self->done = self->action();
                *made = WIQ_ERR_FAILED;
                return nullptr;
            },
            &state, &status);
        return state.done;
    }
    // Does something once while the lock is held: in a walk that ends with its first entry. False, and
    // nothing is done, if the map is empty.
    template <class Action>
    bool locked(Action action) {
        bool done = false;
        walk([&](void*, void*) {
            done = true;
            (void)action();
            return false;
        });
        return done;
    }

    wiq_safe_map map_;
    i32 status_;
};

/** A list of owned strings on wiq_strv. */
class string_list {
  public:
    /** Makes an empty one; allocates nothing. */
    string_list() noexcept { wiq_strv_init(&list_); }
    string_list(const string_list&) = delete;
    string_list& operator=(const string_list&) = delete;
    /** @name Moves leave the other one empty or with what this one held
     *  @{ */
    /** Moves leave the other one empty or with what this one held. */
    string_list(string_list&& other) noexcept : string_list() { std::swap(list_, other.list_); }
    string_list& operator=(string_list&& other) & noexcept {
        std::swap(list_, other.list_);
        return *this;
    }
    /** @} */
    ~string_list() { wiq_strv_finalize(&list_); }

    /** Appends a copy. 0; -5000; -7000 for a text with a NUL inside; after a failure the list is as it was. */
    status push_back(const text_arg& text) noexcept {
        if (text.c_str() == nullptr)
            return text.status() != 0 ? text.status() : static_cast<i32>(WIQ_ERR_INVALID_ARG);
        const i32 before = list_.size;
        const i32 status = wiq_strv_push(&list_, text.c_str());
        if (status != 0 && list_.size != before)
            wiq_vector_pop(&list_, 1);  // the slot that found no text
        return status;
    }
    /** Drops the last strings. 0, or -7000 if there are fewer. */
    status pop_back(i32 count = 1) noexcept { return wiq_vector_pop(&list_, count); }
    /** Sorts by unsigned bytes. */
    void sort() noexcept { wiq_strv_sort(&list_); }
    /** Drops all. */
    void clear() noexcept { (void)wiq_vector_resize(&list_, 0); }
    /** How many there are. */
    i32 size() const noexcept { return list_.size; }
    /** Whether there are none. */
    bool empty() const noexcept { return list_.size == 0; }
    /** A string; nothing is checked. */
    std::string_view operator[](i32 index) const noexcept { return text_of(texts()[index]); }

    /** Walks the strings. */
    class iterator {
      public:
        /** @name What the standard asks of an iterator
         *  @{ */
        /** What the standard asks of an iterator. */
        using iterator_concept = std::forward_iterator_tag;
        using iterator_category = std::input_iterator_tag;
        using value_type = std::string_view;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = std::string_view;

        iterator() noexcept = default;
        explicit iterator(const char* const* at) noexcept : at_(at) {}
        std::string_view operator*() const noexcept { return text_of(*at_); }
        iterator& operator++() noexcept {
            ++at_;
            return *this;
        }
        iterator operator++(int) noexcept { return iterator(at_++); }
        friend bool operator==(iterator a, iterator b) noexcept { return a.at_ == b.at_; }
        friend bool operator!=(iterator a, iterator b) noexcept { return a.at_ != b.at_; }
        /** @} */

      private:
        const char* const* at_ = nullptr;
    };
    /** @name The strings; valid as long as the list does not change
     *  @{ */
    /** The strings. */
    iterator begin() const noexcept { return iterator(texts()); }
    iterator end() const noexcept { return iterator(texts() + list_.size); }
    /** @} */
    /** The list itself, lent. */
    wiq_strv* get() noexcept { return &list_; }

  private:
    const char* const* texts() const noexcept {
        return static_cast<const char* const*>(list_.data);
    }
    // A slot that C code left empty reads as an empty text.
    static std::string_view text_of(const char* text) noexcept {
        return text == nullptr ? "" : text;
    }

    wiq_strv list_;
};

/** @} */

}  // namespace ke

#endif
