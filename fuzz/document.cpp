// A script of operations on documents, with this library and with a model of it: after each step every live
// node must have the same kind, count, parent, position, children and order, and each call must return the
// same status.
#include "document_pair.h"
#include "script.h"

namespace {

class Run : Pair {
  public:
    void step(const Op& op) {
        if (document_.alive().size() > kMaxNodes && op.code % 28 < 6)
            return;
        do_step(op);
        check_all();
        document_.forget_dead();
    }
    void finish() {
        // A weak container can hold a container that holds it; the caller must break such cycles.
        for (bool found = true; found;) {
            found = false;
            for (Node* node : document_.alive()) {
                if (!node->weak || node->members.size() + node->elems.size() == 0)
                    continue;
                found = true;
                ++node->count;
                wiq_json_ref(node->real);
                remove_children(node);
                wiq_json_unref(node->real);
                document_.unref(node);
                break;
            }
        }
        for (size_t i = 0; i < kHandles; ++i)
            set_handle(i, nullptr);
        check_all();
        CHECK(document_.alive().empty());
    }

  private:
    void get_child(u8 to, const Node* from, u8 operand) {
        u32 err = 0;
        Node* found = nullptr;
        i32 status = WIQ_ERR_INVALID_ARG;
        const wiq_json_t* node = nullptr;
        if (from != nullptr && from->tag == model::kArray) {
            const i32 index = static_cast<i8>(operand) % 12;
            node = wiq_json_array_get_ext(from->real, index, 0, &err);
            const i32 slot = model::Document::resolve(from, index);
            status = slot < 0 ? WIQ_ERR_INDEX_OUT_OF_RANGE : 0;
            found = slot < 0 ? nullptr : from->elems[static_cast<size_t>(slot)];
        } else {
            node = wiq_json_obj_get_ext(real(from), key_of(operand).c_str(), 0, &err);
            if (from != nullptr && from->tag == model::kObject) {
                model::Member* member = const_cast<Node*>(from)->members.find(key_of(operand));
                found = member == nullptr ? nullptr : member->child;
                status = found == nullptr ? WIQ_ERR_KEY_NOT_FOUND : 0;
            }
        }
        CHECK(static_cast<i32>(err) == status);
        CHECK(node == real(found));
        if (found != nullptr)
            set_handle(to, found);
    }

    void copy(u8 to, const Node* from) {
        if (from == nullptr || reach(from, kReach) == kReach)
            return;
        Node* node = document_.copy(from);
        match(node, wiq_json_copy(from->real, nullptr));
        set_handle(to, node);
    }
    void parse_again(u8 to, const Node* from) {
        if (from == nullptr || reach(from, kReach) == kReach)
            return;
        const std::string text = dump(from->real, 0);
        Node* node = document_.copy(from, true);
        wiq_json_load_error error = {};
        match(node, wiq_json_loads(text.c_str(), WIQ_JSON_REJECT_DUPLICATES, &error));
        CHECK(error.position == static_cast<i32>(text.size()));
        // A handle holds the caller's reference.
        set_handle(to, node);
    }
    void compare(const Node* a, const Node* b) {
        if (a == nullptr || b == nullptr || reach(a, kReach) == kReach ||
            reach(b, kReach) == kReach)
            return;
        const auto left = model::value_of(a);
        const auto right = model::value_of(b);
        for (u32 flags = 0; flags < 16; ++flags)
            CHECK(wiq_json_subset(a->real, b->real, flags) ==
                  (a == b || subset_model::plain_subset(left, right, flags)));
        CHECK(wiq_json_equal(a->real, b->real) ==
              (a == b || subset_model::plain_subset(left, right, 15)));
    }
    void find(const Node* array, const Node* pattern) {
        if (pattern == nullptr || reach(pattern, kReach) == kReach ||
            (array != nullptr && reach(array, kReach) == kReach))
            return;
        const Node* expected = nullptr;
        if (array != nullptr && array->tag == model::kArray) {
            for (const Node* elem : array->elems) {
                if (expected == nullptr &&
                    (elem == pattern || subset_model::plain_subset(model::value_of(elem),
                                                                   model::value_of(pattern), 15)))
                    expected = elem;
            }
        }
        CHECK(wiq_json_array_find(real(array), pattern->real) == real(expected));
        if (pattern->tag == model::kString)
            CHECK(wiq_json_array_find_str(real(array), pattern->text.c_str()) == real(expected));
    }

    static bool names_element(const std::string& step) {
        return step == "-" || step == "0" || step == "1" || step == "2";
    }
    static std::string pointer_to(const std::vector<std::string>& steps) {
        std::string text;
        for (const std::string& step : steps) {
            text += '/';
            for (const char c : step)
                text += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
        }
        return text;
    }
    static std::vector<std::string> steps_of(const Op& op) {
        static const char* const kSteps[] = {"a", "b", "0", "1", "2", "-", "e~/", "key"};
        std::vector<std::string> steps = {kSteps[op.b % 8]};
        if (op.b >= 64)
            steps.push_back(kSteps[op.c % 8]);
        if (op.b >= 128)
            steps.push_back(kSteps[op.c / 8 % 8]);
        return steps;
    }
    static Node* child_at(Node* node, const std::string& step, i32* status) {
        *status = WIQ_ERR_WRONG_TYPE;
        if (node->tag == model::kObject) {
            const model::Member* member = node->members.find(step);
            *status = member == nullptr ? WIQ_ERR_KEY_NOT_FOUND : 0;
            return member == nullptr ? nullptr : member->child;
        }
        if (node->tag != model::kArray || !names_element(step))
            return nullptr;
        const i32 slot = step == "-" ? -1 : model::Document::resolve(node, step[0] - '0');
        *status = slot < 0 ? WIQ_ERR_INDEX_OUT_OF_RANGE : 0;
        return slot < 0 ? nullptr : node->elems[static_cast<size_t>(slot)];
    }
    i32 store(Node* container, const std::string& step, Node* node) {
        if (container->tag == model::kObject)
            return document_.put(container, step, node);
        if (container->tag != model::kArray || !names_element(step))
            return WIQ_ERR_WRONG_TYPE;
        return step == "-" ? document_.push(container, node)
                           : document_.put_elem(container, step[0] - '0', node);
    }
    // A container that was added on the way, and the one that contains it.
    struct Made {
        const Node* where;
        Node* node;
    };
    i32 model_put(Node* node, const std::vector<std::string>& steps, Node* value,
                  std::vector<Made>* made) {
        for (size_t i = 0; i + 1 < steps.size(); ++i) {
            i32 status = 0;
            Node* child = child_at(node, steps[i], &status);
            if (status == WIQ_ERR_WRONG_TYPE)
                return status;
            if (child == nullptr) {
                child = names_element(steps[i + 1]) ? document_.make(model::kArray)
                                                    : document_.make_object(1);
                status = store(node, steps[i], child);
                if (status != 0) {
                    child->dead = true;
                    return status;
                }
                made->push_back({node, child});
            }
            node = child;
        }
        return store(node, steps.back(), value);
    }
    void pointer_put(Node* root, const Op& op, Node* value) {
        if (root == nullptr || value == nullptr)
            return;
        const std::vector<std::string> steps = steps_of(op);
        std::vector<Made> made;
        const i32 status = model_put(root, steps, value, &made);
        CHECK(wiq_json_ptr_put(root->real, pointer_to(steps).c_str(), value->real) == status);
        for (const Made& step : made)
            match_in(step.where, step.node);
    }
    void pointer_get(Node* root, const Op& op, u8 to) {
        const std::vector<std::string> steps = steps_of(op);
        u32 err = 0;
        if (root == nullptr)
            return;
        Node* node = root;
        i32 status = 0;
        for (const std::string& step : steps) {
            if (node != nullptr)
                node = child_at(node, step, &status);
        }
        CHECK(wiq_json_ptr_get(root->real, pointer_to(steps).c_str(), &err, nullptr) == real(node));
        CHECK(static_cast<i32>(err) == status);
        if (node != nullptr)
            set_handle(to, node);
    }
    static void name(const Node* node) {
        if (node == nullptr)
            return;
        std::string expected;
        for (const Node* at = node; at->parent != nullptr; at = at->parent) {
            expected.insert(0, at->parent->tag == model::kObject ? pointer_to({at->key})
                                                                 : "/" + std::to_string(at->index));
        }
        char* text = nullptr;
        CHECK(wiq_json_ptr(node->real, &text) == static_cast<i32>(expected.size()));
        CHECK(expected == text);
        free(text);
    }

    void filter(Node* array, u8 mask) {
        if (array == nullptr || array->tag != model::kArray || array->weak)
            return;
        // Nodes are identified by address; the model knows which address belongs to which node.
        struct Wanted {
            std::set<const wiq_json_t*> kept;
        } wanted;
        std::set<const Node*> kept;
        for (size_t i = 0; i < array->elems.size(); ++i) {
            if ((mask >> i % 8 & 1) != 0 && kept.insert(array->elems[i]).second)
                wanted.kept.insert(array->elems[i]->real);
        }
        const auto keep = [&](const Node* elem) { return kept.count(elem) != 0; };
        if (!document_.can_filter(array, keep))
            return;
        CHECK(wiq_json_array_filter(
                  array->real,
                  [](wiq_json_t* elem, void* user) {
                      return static_cast<Wanted*>(user)->kept.count(elem) != 0;
                  },
                  &wanted) == 0);
        document_.filter(array, keep);
    }
    // Sorts by address, so that the model and the library use the same order.
    void sort(Node* array) {
        if (array == nullptr || array->tag != model::kArray)
            return;
        CHECK(wiq_json_array_sort(array->real, [](const void* a, const void* b) {
                  const auto left =
                      reinterpret_cast<uintptr_t>(*static_cast<wiq_json_t* const*>(a));
                  const auto right =
                      reinterpret_cast<uintptr_t>(*static_cast<wiq_json_t* const*>(b));
                  return left < right ? -1 : left > right ? 1 : 0;
              }) == 0);
        document_.sort(array, [](const Node* a, const Node* b) {
            return reinterpret_cast<uintptr_t>(a->real) < reinterpret_cast<uintptr_t>(b->real);
        });
    }

    void get_or_make(Node* obj, const std::string& key, bool array) {
        u32 err = 0;
        if (obj != nullptr && obj->tag == model::kObject) {
            const model::Member* member = obj->members.find(key);
            if (member != nullptr && member->child->tag == model::kRef)
                return;  // it would be followed
            const model::Tag tag = array ? model::kArray : model::kObject;
            wiq_json_t* node = (array ? wiq_json_obj_getd_array : wiq_json_obj_getd_obj)(
                obj->real, key.c_str(), &err);
            if (member == nullptr) {
                Node* child = array ? document_.make(model::kArray) : document_.make_object(0);
                child->real = node;
                CHECK(document_.put(obj, key, child) == static_cast<i32>(err));
            } else {
                CHECK(node == (member->child->tag == tag ? member->child->real : nullptr));
                CHECK(static_cast<i32>(err) == (node != nullptr ? 0 : WIQ_ERR_WRONG_TYPE));
            }
        }
    }

    void do_step(const Op& op) {
        Node* const a = handle(op.a);
        i32 status = 0;
        u32 err = 0;
        switch (op.code % 28) {
            case 0:
                set_handle(op.a, scalar(op.b, op.c));
                break;
            case 1:
                set_handle(op.a, container(op.b, op.c));
                break;
            case 2:
                put_new(a, key_of(op.b), op.c, op.d);
                break;
            case 3:
                push_new(a, op.b, op.c);
                break;
            case 4:
                copy(op.b, a);
                break;
            case 5:  // many colliding keys, or many others
                for (u8 i = 0; i < op.c % 48; ++i)
                    put_new(a, key_of(static_cast<u8>(op.b + i)), 3, i);
                break;
            case 6:
            case 7: {
                CHECK(wiq_json_obj_put_ext(real(a), key_of(op.b).c_str(), real(handle(op.c)),
                                           &err) == document_.put(a, key_of(op.b), handle(op.c)));
                break;
            }
            case 8:
            case 9:
                CHECK(wiq_json_array_push_ext(real(a), real(handle(op.b)), &err) ==
                      document_.push(a, handle(op.b)));
                break;
            case 10:
                get_child(op.b, a, op.c);
                break;
            case 11:
                get_child(op.a, a, op.c);
                break;
            case 12: {
                const i32 index = static_cast<i8>(op.b) % 8;
                CHECK(wiq_json_array_put(real(a), index, real(handle(op.c))) ==
                      document_.put_elem(a, index, handle(op.c)));
                break;
            }
            case 13: {
                const i32 index = static_cast<i8>(op.b) % 8;
                Node* old = document_.swap(a, index, handle(op.c), &status);
                CHECK(wiq_json_array_swap(real(a), index, real(handle(op.c)), &err) == real(old));
                CHECK(static_cast<i32>(err) == status);
                // If a weak array already lists the child at this index, the swap hands over a reference, but
                // no element.
                const bool same = old != nullptr && old == handle(op.c);
                take_over(op.d, old);
                if (same) {
                    wiq_json_unref(old->real);
                    document_.unref(old);
                }
                break;
            }
            case 14: {
                const i32 count = op.b % 6 - 1;
                CHECK(wiq_json_array_pop(real(a), count) == document_.pop(a, count));
                break;
            }
            case 15: {
                Node* last = document_.pop_elem(a);
                CHECK(wiq_json_array_pop_elem(real(a)) == real(last));
                take_over(op.b, last);
                break;
            }
            case 16:
            case 17:
                for (u8 i = 0; i <= op.c % 40; ++i) {
                    const std::string& key = key_of(static_cast<u8>(op.b + i));
                    CHECK(wiq_json_obj_remove(real(a), key.c_str()) == document_.remove(a, key));
                }
                break;
            case 18: {
                Node* hole = nullptr;
                Node* parent = a == nullptr ? nullptr : a->parent;
                CHECK(document_.orphan(a, &hole) == wiq_json_make_orphan(real(a)));
                if (hole != nullptr)
                    match_in(parent, hole);
                break;
            }
            case 19:
                CHECK(wiq_json_swap_child(real(a), real(handle(op.b))) ==
                      document_.swap_child(a, handle(op.b)));
                break;
            case 20:
                compare(a, handle(op.b));
                break;
            case 21:
                set_handle(op.a, nullptr);
                break;
            case 22:
                pointer_put(a, op, handle(op.d));
                break;
            case 23:
                pointer_get(a, op, op.d);
                break;
            case 24:
                op.b % 2 == 0 ? filter(a, op.c) : sort(a);
                break;
            case 25:
                op.b % 2 == 0 ? find(a, handle(op.c)) : name(a);
                break;
            case 26:
                get_or_make(a, key_of(op.b), op.c % 2 == 0);
                break;
            default:
                parse_again(op.b, a);
        }
    }
    // A handle takes a node that the library has handed over, possibly with a count of 0.
    void take_over(u8 to, Node* node) {
        if (node != nullptr)
            set_handle(to, node);
    }
};

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Run run;
    for (const Op& op : script_of(data, size))
        run.step(op);
    run.finish();
    return 0;
}
