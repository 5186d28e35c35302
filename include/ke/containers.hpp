/**
 * @file containers.hpp
 * Wraps the vector, hash map, locked map and string list of the C interface in classes that own
 * their contents. They are meant for code that shares these records with C; other code can use the
 * containers of the standard library. The string buffer is in strbuf.hpp.
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

/** A growable array of trivially copyable elements in one block; wraps wiq_vector. */
template <class T>
class vector {
    static_assert(std::is_trivially_copyable_v<T>, "elements are moved by realloc()");
    static_assert(alignof(T) <= alignof(std::max_align_t), "the block is malloc()'s");

  public:
    using value_type = T;            /**< the type of the elements */
    using iterator = T*;             /**< walks the block */
    using const_iterator = const T*; /**< walks the block */

    /** Makes an empty vector; allocates nothing. */
    vector() noexcept { wiq_vector_init(&vec_, sizeof(T), 0, nullptr, nullptr); }
    /** Deleted, since a copy can fail: call assign(), which returns a status. */
    vector(const vector&) = delete;
    vector& operator=(const vector&) = delete;
    /** @name Moves
     *  @{ */
    /** The move constructor leaves the other one empty; a move assignment exchanges the two. */
    vector(vector&& other) noexcept : vector() { std::swap(vec_, other.vec_); }
    vector& operator=(vector&& other) & noexcept {
        std::swap(vec_, other.vec_);
        return *this;
    }
    /** @} */
    ~vector() { wiq_vector_finalize(&vec_); }

    /** @name Size and elements, as in std::vector; no index is checked
     *  @{ */
    /** Does what the function of the same name of std::vector does; no index is checked. */
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
    /** Returns the element at an index, or nullptr if the index is out of range. A negative index
     *  counts from the end. */
    T* at(i32 index) noexcept { return static_cast<T*>(wiq_vector_get(&vec_, index)); }
    /** Returns the element at an index, or nullptr if the index is out of range. A negative index
     *  counts from the end. */
    const T* at(i32 index) const noexcept {
        return static_cast<const T*>(wiq_vector_get_const(&vec_, index));
    }

    /** Appends an element. Returns 0, or WIQ_ERR_NO_MEMORY (-5000) when out of memory, with the
     *  vector unchanged. */
    status push_back(const T& value) noexcept {
        const T copy = value;  // `value` may lie in the block that moves
        void* const elem = wiq_vector_push(&vec_);
        if (elem == nullptr)
            return WIQ_ERR_NO_MEMORY;
        new (elem) T(copy);
        return 0;
    }
    /** Replaces the contents with copies of `count` elements, which may lie in this vector, too.
     *  Returns 0; WIQ_ERR_INVALID_ARG (-7000) for a negative count; WIQ_ERR_NO_MEMORY when out of
     *  memory. After a failure the vector is unchanged. */
    status assign(const T* first, i32 count) noexcept {
        vector other;
        const i32 status = wiq_vector_resize(&other.vec_, count);
        if (status == 0 && count > 0)
            std::memcpy(other.vec_.data, first, static_cast<std::size_t>(count) * sizeof(T));
        if (status == 0)
            std::swap(vec_, other.vec_);
        return status;
    }
    /** Removes elements from the end, or appends copies of a value, until there are `size`. Returns
     *  0; WIQ_ERR_INVALID_ARG for a negative size; WIQ_ERR_NO_MEMORY when out of memory. After a
     *  failure the vector is unchanged. */
    status resize(i32 size, const T& value = T()) noexcept {
        const T copy = value;
        const i32 before = vec_.size;
        const i32 status = wiq_vector_resize(&vec_, size);
        for (i32 i = before; status == 0 && i < size; ++i)
            new (data() + i) T(copy);
        return status;
    }
    /** Removes the last `count` elements. Returns 0, or WIQ_ERR_INVALID_ARG if there are fewer. */
    status pop_back(i32 count = 1) noexcept { return wiq_vector_pop(&vec_, count); }
    /** Resizes the block so that it has room for exactly `extra` more elements. Returns 0;
     *  WIQ_ERR_INVALID_ARG for a negative number; WIQ_ERR_NO_MEMORY when out of memory. */
    status reserve_extra(i32 extra) noexcept { return wiq_vector_extra_capacity(&vec_, extra); }
    /** Removes all elements and keeps the block. */
    void clear() noexcept { (void)wiq_vector_resize(&vec_, 0); }
    /** Returns the vector of the C interface, still owned by this object. */
    wiq_vector* get() noexcept { return &vec_; }

  private:
    wiq_vector vec_;
};

/** An entry that a walk over a map meets. */
template <class V>
struct map_entry {
    std::string_view key; /**< valid as long as the entry is in the map */
    V& value;             /**< may be changed, unless the map is const */
};

namespace detail {
// A key and a value as the maps own them: the key comes from malloc(), the value from new.
template <class V>
struct owned_pair {
    c_text key;
    std::unique_ptr<V> value;

    owned_pair(const text_arg& name, V&& from)
        : key(copy(name.c_str())), value(new (std::nothrow) V(std::move(from))) {}
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

/** A hash map from text to V that owns its keys and values; wraps wiq_map. */
template <class V>
class map {
  public:
    /** Makes an empty map. If that runs out of memory, set() tries again and reports a failure. */
    map() noexcept { ready_ = init() == 0; }
    map(const map&) = delete;
    map& operator=(const map&) = delete;
    /** @name Moves
     *  @{ */
    /** The move constructor leaves the other one empty; a move assignment exchanges the two. */
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

    /** Returns the number of entries. */
    u64 size() const noexcept { return ready_ ? map_.size : 0; }
    /** Tells whether there are no entries. */
    bool empty() const noexcept { return size() == 0; }
    /** Tells whether there is an entry under a key. */
    bool contains(const text_arg& key) const noexcept { return find(key) != nullptr; }
    /** Returns the value under a key, or nullptr if the key is absent. */
    V* find(const text_arg& key) noexcept { return static_cast<V*>(lookup(key)); }
    /** Returns the value under a key, or nullptr if the key is absent. */
    const V* find(const text_arg& key) const noexcept { return static_cast<V*>(lookup(key)); }

    /** Stores a value under a key, replacing any value that is there. Returns 0; WIQ_ERR_NO_MEMORY
     *  when out of memory; WIQ_ERR_INVALID_ARG for a key that is NULL or has a NUL inside. After a
     *  failure the map is unchanged. */
    status set(const text_arg& key, V value) {
        if (key.c_str() == nullptr)
            return key.status() != 0 ? key.status() : static_cast<i32>(WIQ_ERR_INVALID_ARG);
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
        // The pair is stored: a put whose table could not grow has stored it nonetheless.
        pair.release();
        return 0;
    }
    /** Removes a key and its value. Tells whether the key was there. */
    bool erase(const text_arg& key) noexcept {
        const u64 before = size();
        if (ready_ && key.c_str() != nullptr)
            wiq_map_remove(&map_, key.c_str());
        return size() != before;
    }
    /** Removes all entries. */
    void clear() noexcept {
        if (ready_)
            wiq_map_remove_all(&map_);
    }

    /** Walks the entries in map order: `for (auto [key, value] : entries)`. Values may be changed
     *  during the walk, but entries must not be added or removed. */
    template <class T>
    class walk {
      public:
        /** @name What the standard requires of an iterator
         *  @{ */
        /** What the standard requires of an iterator. */
        using iterator_concept = std::forward_iterator_tag;
        using iterator_category = std::input_iterator_tag;
        using value_type = map_entry<T>;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = map_entry<T>;

        walk() noexcept = default;
        walk(const wiq_map* map, u64 bucket) noexcept : map_(map), bucket_(bucket) { find_entry(); }
        reference operator*() const noexcept {
            return {static_cast<const char*>(entry_->key), *static_cast<T*>(entry_->value)};
        }
        walk& operator++() noexcept {
            entry_ = entry_->next;
            if (entry_ == nullptr) {
                ++bucket_;
                find_entry();
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
        void find_entry() noexcept {
            while (bucket_ < map_->bucket_count && map_->buckets[bucket_] == nullptr)
                ++bucket_;
            entry_ = bucket_ < map_->bucket_count ? map_->buckets[bucket_] : nullptr;
        }

        const wiq_map* map_ = nullptr;
        u64 bucket_ = 0;
        wiq_map_entry* entry_ = nullptr;
    };
    using iterator = walk<V>;             /**< can change values */
    using const_iterator = walk<const V>; /**< cannot change values */
    /** @name Walking the entries
     *  @{ */
    /** Returns an iterator at the first entry or after the last one. */
    iterator begin() noexcept { return {&map_, ready_ ? 0 : map_.bucket_count}; }
    iterator end() noexcept { return {&map_, map_.bucket_count}; }
    const_iterator begin() const noexcept { return {&map_, ready_ ? 0 : map_.bucket_count}; }
    const_iterator end() const noexcept { return {&map_, map_.bucket_count}; }
    /** @} */
    /** Returns the map of the C interface, still owned by this object. Its keys are `char*` from
     *  malloc(), and its values are `V*` from new. */
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
 * A hash map from text to V that threads can share; wraps wiq_safe_map. Every function holds its
 * mutex while it uses the map. Functions return copies of values, since another thread may replace
 * a value at any time.
 */
template <class V>
class locked_map {
  public:
    /** Makes an empty map. If that fails, when out of memory or because the mutex cannot be made,
     *  every set() and find_or_make() returns the status. */
    locked_map() noexcept {
        status_ = wiq_safe_map_init(&map_, 0, wiq_hash_str, wiq_cmp_str, std::free,
                                    detail::owned_pair<V>::drop);
    }
    /** Deleted, as are moves: a mutex cannot be copied or moved. */
    locked_map(const locked_map&) = delete;
    locked_map& operator=(const locked_map&) = delete;
    ~locked_map() {
        if (status_ == 0)
            wiq_safe_map_finalize(&map_);
    }

    /** Returns the number of entries. */
    u64 size() noexcept { return status_ == 0 ? wiq_safe_map_size(&map_) : 0; }
    /** Tells whether there is an entry under a key. */
    bool contains(const text_arg& key) noexcept {
        return status_ == 0 && key.c_str() != nullptr && wiq_safe_map_test_key(&map_, key.c_str());
    }
    /** Returns a copy of the value under a key, which is made while the lock is held; empty if the
     *  key is absent. */
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
     * Returns a copy of the value under a key. If the key is absent, first calls `make()` and
     * stores the value that it returns. The lock is held meanwhile, so if several threads ask for
     * the same key, its value is made only once.
     * @param key  the key
     * @param make returns a V or a ke::result<V>; it may throw, and must not use the map
     * @return the value; WIQ_ERR_NO_MEMORY when out of memory; WIQ_ERR_LOCK_INIT (-5007) if the
     *         mutex could not be made; WIQ_ERR_INVALID_ARG for a key that is NULL or has a NUL
     *         inside; the status of the failure that `make()` returns
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
                // A put whose table could not grow has stored the pair nonetheless.
                if (!pair || wiq_map_get(&map_.map, pair.key.get()) != pair.value.get())
                    return result<V>::failure(pair ? status : WIQ_ERR_NO_MEMORY);
                pair.release();
                return fresh;
            });
            return true;
        };
        // Between the two calls another thread may remove the key; then they are tried again.
        while (!when_absent(key.c_str(), make_and_put)) {
            if (std::optional<V> found = find(key))
                return *std::move(found);
        }
        keeper.rethrow();
        return made;
    }
    /** Stores a value under a key, replacing any value that is there. Returns 0; WIQ_ERR_NO_MEMORY
     *  when out of memory; WIQ_ERR_LOCK_INIT if the mutex could not be made; WIQ_ERR_INVALID_ARG
     *  for a key that is NULL or has a NUL inside. */
    status set(const text_arg& key, V value) {
        if (status_ != 0 || key.status() != 0)
            return status_ != 0 ? status_ : key.status();
        if (key.c_str() == nullptr)
            return WIQ_ERR_INVALID_ARG;
        detail::owned_pair<V> pair(key, std::move(value));
        if (!pair)
            return WIQ_ERR_NO_MEMORY;
        i32 status = 0;
        bool stored = false;
        const auto put = [&] {
            status = wiq_map_put(&map_.map, pair.key.get(), pair.value.get());
            // A put whose table could not grow has stored the pair nonetheless.
            stored = wiq_map_get(&map_.map, pair.key.get()) == pair.value.get();
            return true;
        };
        // The first call stores a new key, the second one replaces a value. Between the two another
        // thread may empty the map; then they are tried again.
        while (!when_absent(key.c_str(), put) && !locked(put)) {
        }
        if (stored)
            pair.release();
        return stored ? 0 : status;
    }
    /** Removes a key and its value. Tells whether the key was there. */
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
    /** Calls `visitor(std::string_view key, V& value)` for every entry while the lock is held. The
     *  visitor must not add or remove entries. An exception that it throws ends the walk and is
     *  passed on to the caller. */
    template <class Visitor>
    void for_each(Visitor&& visitor) {
        walk([&](void* key, void* value) {
            visitor(std::string_view(static_cast<const char*>(key)), *static_cast<V*>(value));
            return true;
        });
    }

  private:
    // Calls `call(key, value)` for every entry until it returns false.
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
    // Runs an action once while the lock is held: the action is passed as the factory of a missing
    // key's value, and the factory then reports that it failed to make one. If the key is there,
    // returns false and runs nothing.
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
    // Runs an action once while the lock is held: in a walk that ends at its first entry. If the
    // map is empty, returns false and runs nothing.
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

/** A list of strings that it owns; wraps wiq_strv. */
class string_list {
  public:
    /** Makes an empty list; allocates nothing. */
    string_list() noexcept { wiq_strv_init(&list_); }
    string_list(const string_list&) = delete;
    string_list& operator=(const string_list&) = delete;
    /** @name Moves
     *  @{ */
    /** The move constructor leaves the other one empty; a move assignment exchanges the two. */
    string_list(string_list&& other) noexcept : string_list() { std::swap(list_, other.list_); }
    string_list& operator=(string_list&& other) & noexcept {
        std::swap(list_, other.list_);
        return *this;
    }
    /** @} */
    ~string_list() { wiq_strv_finalize(&list_); }

    /** Appends a copy of a text. Returns 0; WIQ_ERR_NO_MEMORY when out of memory;
     *  WIQ_ERR_INVALID_ARG for a text that is NULL or has a NUL inside. After a failure the list is
     *  unchanged. */
    status push_back(const text_arg& text) noexcept {
        if (text.c_str() == nullptr)
            return text.status() != 0 ? text.status() : static_cast<i32>(WIQ_ERR_INVALID_ARG);
        const i32 before = list_.size;
        const i32 status = wiq_strv_push(&list_, text.c_str());
        if (status != 0 && list_.size != before)
            wiq_vector_pop(&list_, 1);  // the slot whose text could not be copied
        return status;
    }
    /** Removes the last `count` strings. Returns 0, or WIQ_ERR_INVALID_ARG if there are fewer. */
    status pop_back(i32 count = 1) noexcept { return wiq_vector_pop(&list_, count); }
    /** Sorts the strings; bytes compare as unsigned numbers. */
    void sort() noexcept { wiq_strv_sort(&list_); }
    /** Removes all strings. */
    void clear() noexcept { (void)wiq_vector_resize(&list_, 0); }
    /** Returns the number of strings. */
    i32 size() const noexcept { return list_.size; }
    /** Tells whether there are no strings. */
    bool empty() const noexcept { return list_.size == 0; }
    /** Returns the string at an index, which is not checked. */
    std::string_view operator[](i32 index) const noexcept { return text_of(texts()[index]); }

    /** Walks the strings. */
    class iterator {
      public:
        /** @name What the standard requires of an iterator
         *  @{ */
        /** What the standard requires of an iterator. */
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
    /** @name Walking the strings; iterators are valid until the list changes
     *  @{ */
    /** Returns an iterator at the first string or after the last one; valid until the list
     *  changes. */
    iterator begin() const noexcept { return iterator(texts()); }
    iterator end() const noexcept { return iterator(texts() + list_.size); }
    /** @} */
    /** Returns the list of the C interface, still owned by this object. */
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
