// See json_merge.h. Pairs of objects that are still to be merged wait on a list.
#include "json_merge.h"

#include <algorithm>
#include <optional>

#include "json_edit.h"
#include "json_string.h"

namespace tool {

namespace {

// A value of the patch as it is stored where there was no object: without the nulls in its objects.
std::string without_nulls(const Document& patch, NodeId top) {
    if (patch.kind(top) != Kind::object)
        return std::string(patch.text_of(top));
    std::vector<NodeId> todo = {top};
    Splices splices;
    while (!todo.empty()) {
        const NodeId object = todo.back();
        todo.pop_back();
        ContainerEdit edit;
        for (const Member& member : patch.members(object)) {
            if (patch.kind(member.node) == Kind::null) {
                for (NodeId child = patch.first_child(object); child != patch.end_of(object);
                     child = patch.next(child)) {
                    if (stands_for(patch.key(child), member.key))
                        edit.removed.push_back(child);
                }
            } else if (patch.kind(member.node) == Kind::object) {
                todo.push_back(member.node);
            }
        }
        const Splices some = plan_container(patch, object, edit);
        splices.insert(splices.end(), some.begin(), some.end());
    }
    std::sort(splices.begin(), splices.end(),
              [](const Splice& a, const Splice& b) { return a.start < b.start; });
    const std::string text = spliced(patch.text().substr(0, patch.stop(top)), splices);
    return text.substr(patch.start(top));
}

struct Pair {
    NodeId target;
    NodeId patch;
};

class Merge {
  public:
    Merge(const Document& target, const Document& patch) : target_(target), patch_(patch) {}

    Splices plan() {
        todo_.push_back({target_.root(), patch_.root()});
        while (!todo_.empty()) {
            const Pair pair = todo_.back();
            todo_.pop_back();
            merge_object(pair);
        }
        std::stable_sort(splices_.begin(), splices_.end(),
                         [](const Splice& a, const Splice& b) { return a.start < b.start; });
        return splices_;
    }

  private:
    void merge_object(const Pair& pair) {
        ContainerEdit edit;
        for (const Member& change : patch_.members(pair.patch)) {
            const std::optional<NodeId> old = target_.member(pair.target, change.key);
            const Kind kind = patch_.kind(change.node);
            if (kind == Kind::null) {
                remove_all(pair.target, change.key, edit);
            } else if (old && kind == Kind::object && target_.kind(*old) == Kind::object) {
                todo_.push_back({*old, change.node});
            } else if (old) {
                splices_.push_back(
                    {target_.start(*old), target_.stop(*old), without_nulls(patch_, change.node)});
            } else {
                edit.added.emplace_back(std::string(patch_.key(change.node)),
                                        without_nulls(patch_, change.node));
            }
        }
        const Splices some = plan_container(target_, pair.target, edit);
        splices_.insert(splices_.end(), some.begin(), some.end());
    }

    void remove_all(NodeId object, const std::string& key, ContainerEdit& edit) const {
        for (NodeId child = target_.first_child(object); child != target_.end_of(object);
             child = target_.next(child)) {
            if (stands_for(target_.key(child), key))
                edit.removed.push_back(child);
        }
    }

    const Document& target_;
    const Document& patch_;
    std::vector<Pair> todo_;
    Splices splices_;
};

Splices plan_merge(const Input& input, const Document& patch) {
    const Document target(input.name, input.bytes);
    if (patch.kind(patch.root()) == Kind::object && target.kind(target.root()) == Kind::object)
        return Merge(target, patch).plan();
    // What is no object is replaced as a whole, also by an object.
    return {{target.start(target.root()), target.stop(target.root()),
             without_nulls(patch, patch.root())}};
}

}  // namespace

std::string apply_merge(Input& input, const Document& patch) {
    // The tree is gone before the text is copied.
    return spliced(input.bytes, plan_merge(input, patch));
}

}  // namespace tool
