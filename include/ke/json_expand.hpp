/**
 * @file json_expand.hpp
 * Implements json_view::expanded_size() and json_ref::expand() with a limit: they count the values
 * that an expansion of references would make before it makes any. Included by json.hpp.
 */
#ifndef KE_JSON_HPP
#include "ke/json.hpp"  // which includes this header in the right place
#elif !defined(KE_JSON_EXPAND_HPP)
#define KE_JSON_EXPAND_HPP

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "ke/owned.hpp"

namespace ke {

/** @addtogroup cpp
 *  @{ */

namespace detail {

inline u64 add_saturating(u64 a, u64 b) noexcept {
    return a + b < a ? ~u64{0} : a + b;
}

// What is known of the containers and references that the count has met: a hash table with open
// addressing, whose keys are the addresses of nodes. At most three quarters of its slots are used.
class expansion_memo {
  public:
    struct entry {
        const wiq_json_t* node;  // NULL: the slot is free
        u64 size;                // of its expansion, if that has been counted
        bool counted;
        bool replaced;  // a reference whose copy has been counted
    };

    // Returns the entry of a node, which it makes if the node has no entry yet. Returns nullptr
    // when out of memory. The entry is valid until the next call.
    entry* at(const wiq_json_t* node, bool& made) noexcept {
        if (used_ >= capacity_ / 4 * 3 && !grow())
            return nullptr;
        entry* slot = slot_of(node);
        made = slot->node == nullptr;
        if (made) {
            slot->node = node;
            ++used_;
        }
        return slot;
    }
    // Returns the entry of a node that has one.
    entry& known(const wiq_json_t* node) noexcept { return *slot_of(node); }

  private:
    entry* slot_of(const wiq_json_t* node) noexcept {
        // A multiplication by 2^64 / the golden ratio spreads the bits of an address.
        const u64 hash = u64{reinterpret_cast<std::uintptr_t>(node)} * 0x9E3779B97F4A7C15u;
        for (auto index = static_cast<std::size_t>(hash >> 20);; ++index) {
            entry* const slot = slots_.get() + (index & (capacity_ - 1));
            if (slot->node == node || slot->node == nullptr)
                return slot;
        }
    }
    bool grow() noexcept {
        const std::size_t before = capacity_;
        const std::size_t capacity = before == 0 ? 64 : 2 * before;
        auto* const larger = static_cast<entry*>(std::calloc(capacity, sizeof(entry)));
        if (larger == nullptr)
            return false;
        const owned<entry, free_memory> old(slots_.release());
        slots_.reset(larger);
        capacity_ = capacity;
        for (std::size_t i = 0; i < before; ++i) {
            const entry& moved = old.get()[i];
            if (moved.node != nullptr)
                *slot_of(moved.node) = moved;
        }
        return true;
    }

    owned<entry, free_memory> slots_;
    std::size_t capacity_ = 0;  // 0 or a power of two
    std::size_t used_ = 0;
};

// Counts the values of an expansion. Each container and each reference is counted once, however
// many references lead to it, so time and memory are linear in the document. What waits to be
// counted is on an explicit stack, in the order in which wiq_json_jref_expand() meets it, so that
// the first failure is the same.
class expansion_count {
  public:
    expansion_count() noexcept { wiq_vector_init(&visits_, sizeof(visit), 0, nullptr, nullptr); }
    expansion_count(const expansion_count&) = delete;
    expansion_count& operator=(const expansion_count&) = delete;
    ~expansion_count() { wiq_vector_finalize(&visits_); }

    // The number of values that the start has after the expansion, and the number of values in the
    // copies that are made on the way.
    u64 values() const noexcept { return values_; }
    u64 copied() const noexcept { return copied_; }

    i32 run(json_view start) noexcept {
        i32 status = meet(start.node(), start.root().node(), as_target);
        while (status == 0 && visits_.size > 0)
            status = top().open ? leave() : enter();
        return status;
    }

  private:
    // How a value was met.
    enum role : u8 {
        as_target,     // it is the start, or a reference leads to it
        as_child,      // a strong container is its parent
        as_weak_child  // a weak container refers to it
    };
    // A container with children, or a reference.
    struct visit {
        wiq_json_t* node;
        wiq_json_t* root;  // of the tree that the node is in
        u64 size;          // of what has been counted so far
        i32 owner;         // the visit that led here; -1 for the start
        role met;
        bool open;  // what it leads to is on the stack above it, or has been counted
    };

    visit& at(i32 index) noexcept { return static_cast<visit*>(visits_.data)[index]; }
    visit& top() noexcept { return at(visits_.size - 1); }

    void add(i32 owner, u64 size) noexcept {
        u64& sum = owner < 0 ? values_ : at(owner).size;
        sum = add_saturating(sum, size);
    }

    // Meets a value to which the visit `owner_` leads. It is counted at once if it leads nowhere
    // itself.
    i32 meet(wiq_json_t* node, wiq_json_t* root, role met) noexcept {
        const json_view value(node);
        if (value.kind() > kind::reference)
            return WIQ_ERR_BAD_JSON_TYPE;
        if (!value.is_reference() && value.empty()) {
            add(owner_, 1);
            return 0;
        }
        // A value in a weak container may belong to another tree.
        if (met == as_weak_child)
            root = value.root().node();
        auto* const added = static_cast<visit*>(wiq_vector_push(&visits_));
        if (added == nullptr)
            return WIQ_ERR_NO_MEMORY;
        *added = {node, root, 0, owner_, met, false};
        return 0;
    }

    // Meets what the visit on top leads to, unless its size is known.
    i32 enter() noexcept {
        visit& now = top();
        bool made = false;
        const expansion_memo::entry* const entry = memo_.at(now.node, made);
        if (entry == nullptr)
            return WIQ_ERR_NO_MEMORY;
        if (!made) {
            if (!entry->counted)
                return WIQ_ERR_JREF_CYCLE;  // the way leads back to what is being counted
            now.size = entry->size;
            now.open = true;
            return 0;
        }
        now.open = true;
        owner_ = visits_.size - 1;
        if (json_view(now.node).is_reference()) {
            u32 err = 0;
            wiq_json_t* const target =
                wiq_json_ptr_get(now.root, wiq_json_jref_uri(now.node), &err, nullptr);
            return err != 0 ? static_cast<i32>(err) : meet(target, now.root, as_target);
        }
        now.size = 1;
        return meet_children(now.node, now.root);
    }

    i32 meet_children(wiq_json_t* container, wiq_json_t* root) noexcept {
        walk_ = {root, json_view(container).is_weak() ? as_weak_child : as_child, 0};
        if (json_view(container).is_object()) {
            wiq_json_obj_foreach(container, meet_member, this);
        } else {
            const i32 size = wiq_json_array_size(container);
            for (i32 i = 0; i < size && walk_.status == 0; ++i)
                walk_.status =
                    meet(wiq_json_array_get_ext(container, i, 0, nullptr), root, walk_.met);
        }
        // The first child must be on top of the stack, since it is counted first.
        for (i32 low = owner_ + 1, high = visits_.size - 1; low < high; ++low, --high) {
            const visit other = at(low);
            at(low) = at(high);
            at(high) = other;
        }
        return walk_.status;
    }
    static bool meet_member(const char*, wiq_json_t* child, void* user) noexcept {
        auto* const self = static_cast<expansion_count*>(user);
        self->walk_.status = self->meet(child, self->walk_.root, self->walk_.met);
        return self->walk_.status == 0;
    }

    // Ends the visit on top, whose size is complete.
    i32 leave() noexcept {
        const visit now = top();
        expansion_memo::entry& entry = memo_.known(now.node);
        entry.size = now.size;
        entry.counted = true;
        u64 size = now.size;
        if (now.met != as_target && json_view(now.node).is_reference()) {
            if (!entry.replaced)
                copied_ = add_saturating(copied_, size);
            entry.replaced = true;
            // The reference is replaced in its own container. A weak container still refers to it.
            if (now.met == as_weak_child)
                size = 1;
        }
        add(now.owner, size);
        return wiq_vector_pop(&visits_, 1);
    }

    expansion_memo memo_;
    wiq_vector visits_;
    u64 values_ = 0;
    u64 copied_ = 0;
    i32 owner_ = -1;  // the visit whose children or target are being met
    struct {
        wiq_json_t* root;
        role met;
        i32 status;
    } walk_ = {};  // the container whose children are being met
};

}  // namespace detail

inline result<u64> json_view::expanded_size() const noexcept {
    if (node_ == nullptr)
        return result<u64>::failure(err_empty);
    detail::expansion_count count;
    const i32 status = count.run(*this);
    return status == 0 ? result<u64>(count.values()) : result<u64>::failure(status);
}

inline status json_ref::expand(u64 max_values) noexcept {
    if (node_ == nullptr)
        return err_empty;
    detail::expansion_count count;
    KE_TRY(count.run(*this));
    if (count.values() > max_values || count.copied() > max_values)
        return WIQ_ERR_RANGE;
    return expand();
}

/** @} */

}  // namespace ke

#endif
