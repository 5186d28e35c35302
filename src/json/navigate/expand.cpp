// Expands references in place, in two phases:
//
//   1. A walk from the root finds every reference that can be reached, also inside the targets of
//      references. It lists a reference as expanded after everything that the reference leads to.
//      This phase does not change the document.
//   2. Each listed reference is replaced by a copy of its target, in the order of the list. So no
//      copy contains a reference.
//
// For example, in {"a": {"$ref": "#/b"}, "b": [{"$ref": "#/c"}], "c": 1} the list is: the reference
// to "c", the reference to "b", the root. If the walk meets the reference to "b" first, it goes on
// in the target, where it meets the reference to "c". The latter is finished first all the same.
//
// The walk uses an explicit stack: neither a deep document nor a long chain of references, each of
// which leads to the next, uses the thread's stack. The end of such a chain is remembered for each
// reference in it, so that it is followed only once. Only references are remembered: a target is
// walked again for each reference that leads to it, and a walk round a circle of weak containers
// ends only when out of memory.

#include <atomic>

#include "containers/small_stack.h"
#include "json/model/blocks.h"
#include "json/navigate/expand_visitor.h"

namespace ke::json {

namespace {

// The capacity with which the two weak arrays begin.
constexpr i32 kInitialCapacity = 5;

class Expansion {
  public:
    // The weak arrays belong to the caller. `pending` holds the nodes whose expansion is in
    // progress, the innermost last; `expanded` those whose expansion is finished, in that order.
    // What they hold already counts as in progress or finished, too.
    Expansion(wiq_json_t* pending, wiq_json_t* expanded) : pending_(pending), expanded_(expanded) {}
    Expansion(const Expansion&) = delete;
    Expansion& operator=(const Expansion&) = delete;
    ~Expansion() {
        if (states_ready_)
            wiq_map_finalize(&states_);
        if (targets_ready_)
            wiq_map_finalize(&targets_);
    }

    // The first phase, for everything that can be reached from `node`.
    i32 run(wiq_json_t* node) {
        i32 status = prepare();
        if (status == 0)
            status = begin_expansion(node);
        while (status == 0 && !frames_.empty())
            status = advance();
        return status;
    }

    // The second phase, for one reference: puts a copy of its final target in its place.
    i32 replace(wiq_json_t* reference) {
        wiq_json_t* target = nullptr;
        const i32 followed = follow(reference, &target);
        if (followed != 0)
            return followed;
        u32 err = 0;
        wiq_json_t* copy = wiq_json_copy(target, &err);
        if (copy == nullptr)
            return static_cast<i32>(err);
        const i32 status = wiq_json_swap_child(reference, copy);
        // The copy, whose count is 0, found no place if wiq_json_swap_child() failed, or if the
        // reference has no parent because only a weak container holds it.
        if (copy->parent == nullptr)
            wiq_json_unref(copy);
        return status;
    }

  private:
    // What the walk is in the middle of: a container and its next child; or, if `container` is
    // NULL, the expansion of a node, which is finished when this frame is on top again. The
    // document does not change during the walk, so members and indexes stay valid.
    struct Frame {
        wiq_json* container;
        const Member* member;  // of an object: the next one
        i32 index;             // of an array: the next one
        wiq_json* finished;    // the node, if `container` is NULL
    };

    // For every reference the walk asks whether it is in one of the arrays. A map from addresses
    // answers that without a search.
    i32 prepare() {
        i32 status = wiq_map_init(&states_, 0, wiq_hash_int, wiq_cmp_int, nullptr, nullptr);
        states_ready_ = status == 0;
        if (status == 0)
            status = wiq_map_init(&targets_, 0, wiq_hash_int, wiq_cmp_int, nullptr, nullptr);
        targets_ready_ = states_ready_ && status == 0;
        if (status == 0)
            status = remember_all(pending_, &kPending);
        return status != 0 ? status : remember_all(expanded_, &kExpanded);
    }

    i32 remember_all(const wiq_json_t* array, const char* state) {
        for (i32 i = 0; i < wiq_json_array_size(array); ++i) {
            const i32 status = set_state(elems_of(as<ArrayNode>(array))[i], state);
            if (status != 0)
                return status;
        }
        return 0;
    }

    i32 set_state(wiq_json_t* node, const char* state) {
        return wiq_map_put(&states_, node, const_cast<char*>(state));
    }

    // Follows a reference to the first node that is not a reference, the end of its chain. The
    // first step is always resolved anew, because the second phase may have replaced its target
    // since. For every further reference in the chain, targets_ remembers the end. That stays right
    // in the second phase: a reference is only ever replaced by a copy of its end.
    //
    // No address in targets_ or states_ becomes that of another node: `expanded_` keeps the
    // references that have been replaced, and nothing else that the walk has met is freed.
    //
    // While a chain is followed, its references are on chain_ and lead to themselves in targets_.
    // After a failure they stay so, but then the whole expansion ends.
    i32 follow(wiq_json_t* reference, wiq_json_t** target) {
        i32 status = resolve(reference, target);
        while (status == 0 && (*target)->type == kJsonRef) {
            wiq_json_t* node = *target;
            auto* end = static_cast<wiq_json_t*>(wiq_map_get(&targets_, node));
            if (end == node)
                status = WIQ_ERR_JREF_CYCLE;  // it has been passed in this chain
            else if (end != nullptr)
                *target = end;
            else if (!chain_.push(node))
                status = WIQ_ERR_NO_MEMORY;
            else
                status = wiq_map_put(&targets_, node, node);
            if (status == 0 && end == nullptr)
                status = resolve(node, target);
        }
        for (; !chain_.empty(); chain_.pop()) {
            if (status == 0)
                status = wiq_map_put(&targets_, chain_.top(), *target);
        }
        return status;
    }

    static i32 resolve(wiq_json_t* reference, wiq_json_t** target) {
        u32 err = 0;
        *target = wiq_json_jref_resolve(reference, &err);
        return static_cast<i32>(err);
    }

    // Begins the expansion of a node, which is the root or a reference that the walk has met. It is
    // in progress from here until finish_expansion(). To meet it again before that is a cycle.
    i32 begin_expansion(wiq_json_t* node) {
        const void* state = wiq_map_get(&states_, node);
        if (state == &kExpanded)
            return 0;
        if (state == &kPending)
            return WIQ_ERR_JREF_CYCLE;
        i32 status = wiq_json_array_push_ext(pending_, node, nullptr);
        if (status == 0)
            status = set_state(node, &kPending);
        if (status != 0)
            return status;
        wiq_json_t* target = node;
        if (node->type == kJsonRef) {
            status = follow(node, &target);
            if (status != 0)
                return status;
        }
        if (!frames_.push({nullptr, nullptr, 0, node}))
            return WIQ_ERR_NO_MEMORY;
        return walk_into(target);
    }

    // Marks the expansion of a node as finished. It was begun last of those in progress, so it is
    // the last in pending_.
    i32 finish_expansion(wiq_json_t* node) {
        i32 status = wiq_json_array_pop(pending_, 1);
        if (status == 0)
            status = wiq_json_array_push_ext(expanded_, node, nullptr);
        return status != 0 ? status : set_state(node, &kExpanded);
    }

    i32 visit(wiq_json_t* node) {
        return node->type == kJsonRef ? begin_expansion(node) : walk_into(node);
    }

    // Continues the walk in a node that is not a reference: a container is put on the stack; any
    // other value has nothing to walk.
    i32 walk_into(wiq_json_t* node) {
        switch (node->type) {
            case kJsonObject:
                return frames_.push({node, first_member(as<ObjectNode>(node)), 0, nullptr})
                           ? 0
                           : WIQ_ERR_NO_MEMORY;
            case kJsonArray:
                return frames_.push({node, nullptr, 0, nullptr}) ? 0 : WIQ_ERR_NO_MEMORY;
            default:
                return node->type > kJsonRef ? static_cast<i32>(WIQ_ERR_BAD_JSON_TYPE) : 0;
        }
    }

    // Visits the next child of the container on top, or finishes the expansion that is on top.
    i32 advance() {
        Frame& now = frames_.top();
        if (now.container == nullptr) {
            wiq_json* finished = now.finished;
            frames_.pop();
            return finish_expansion(finished);
        }
        wiq_json* child = nullptr;
        if (now.container->type == kJsonObject) {
            if (now.member != nullptr) {
                child = now.member->child;
                now.member = next_member(as<ObjectNode>(now.container), now.member);
            }
        } else if (now.index < size_of(as<ArrayNode>(now.container))) {
            child = elems_of(as<ArrayNode>(now.container))[now.index++];
        }
        // This may push a frame and move the stack, so `now` is not used after it.
        if (child != nullptr)
            return visit(child);
        frames_.pop();
        return 0;
    }

    // Two distinct addresses that stand for the states.
    static constexpr char kPending = 'p';
    static constexpr char kExpanded = 'x';

    wiq_json_t* pending_;
    wiq_json_t* expanded_;
    // The state of each node whose expansion is in progress or finished.
    wiq_map states_;
    // Maps each reference that is the target of another one to the end of its chain, and to itself
    // as long as the end is not known.
    wiq_map targets_;
    bool states_ready_ = false;
    bool targets_ready_ = false;
    SmallStack<Frame, 32> frames_;
    SmallStack<wiq_json_t*, 32> chain_;
};

i32 expand(wiq_json_t* root, wiq_json_t* pending, wiq_json_t* expanded) {
    Expansion expansion(pending, expanded);
    i32 status = expansion.run(root);
    // The root was begun first, so it is finished last. It is not replaced, even if it is a
    // reference.
    const i32 count = wiq_json_array_size(expanded) - 1;
    for (i32 i = 0; status == 0 && i < count; ++i)
        status = expansion.replace(elems_of(as<ArrayNode>(expanded))[i]);
    return status;
}

// Runs the first phase only: the visitor's owner finds the references in `expanded`.
i32 visit_ref(WiqJsonVisitor* self, wiq_json_t* node, const char*) {
    const auto* visitor = reinterpret_cast<ExpandVisitor*>(self);
    return Expansion(visitor->pending, visitor->expanded).run(node);
}

i32 class_init(WiqClass* klass) {
    reinterpret_cast<WiqJsonVisitorClass*>(klass)->visit_ref = visit_ref;
    return 0;
}

}  // namespace

constinit WiqType ExpandVisitorType = {
    .name = "ExpandVisitor",
    .parent = &WiqJsonVisitorType,
    .instance_size = sizeof(ExpandVisitor),
    .instance_init = nullptr,
    .instance_finalize = nullptr,
    .class_size = sizeof(WiqJsonVisitorClass),
    .class_init = class_init,
    .class_base_init = nullptr,
    .klass = nullptr,
    .initialised = 0,
    .lock = {},
};

}  // namespace ke::json

i32 wiq_json_jref_expand(wiq_json_t* root) {
    if (root == nullptr)
        return WIQ_ERR_INVALID_ARG;
    // The root may have a count of 0. Without this reference, it would be destroyed when the arrays
    // let it go.
    wiq_json_ref(root);
    u32 err = 0;
    wiq_json_t* pending = wiq_json_array_weak_new(ke::json::kInitialCapacity, &err);
    wiq_json_t* expanded = wiq_json_array_weak_new(ke::json::kInitialCapacity, &err);
    if (err != 0) {
        // Deliberately, the root keeps the reference taken above.
        wiq_json_unref(pending);
        wiq_json_unref(expanded);
        return static_cast<i32>(err);
    }
    const i32 status = ke::json::expand(root, pending, expanded);
    // The arrays hold the last references to the references that were replaced, and release them.
    wiq_json_unref(pending);
    wiq_json_unref(expanded);
    ke::json::count_down(root);
    return status;
}
