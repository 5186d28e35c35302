// See json_merge.h. Pairs of objects that have yet to be merged wait in a list.
#include "json_merge.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "json_edit.h"
#include "json_equal.h"

namespace tool {

namespace {

// Returns a value of the patch as it is stored where the target has no object: without the nulls in its
// objects.
std::string without_nulls(const Style& patch, NodeId top) {
    const Document& document = patch.document();
    if (document.kind(top) != Kind::object)
        return std::string(document.text_of(top));
    std::vector<NodeId> todo = {top};
    Splices splices;
    while (!todo.empty()) {
        const NodeId object = todo.back();
        todo.pop_back();
        std::vector<NodeId> nulls;
        for (NodeId member : document.members(object)) {
            if (document.kind(member) == Kind::null)
                nulls.push_back(member);
            else if (document.kind(member) == Kind::object)
                todo.push_back(member);
        }
        const ContainerEdit edit = {document.with_duplicates(object, std::move(nulls))};
        const Splices some = plan_container(patch, object, edit);
        splices.insert(splices.end(), some.begin(), some.end());
    }
    std::sort(splices.begin(), splices.end(),
              [](const Splice& a, const Splice& b) { return a.start < b.start; });
    return spliced_part(document.text(), document.start(top), document.stop(top), splices);
}

struct Pair {
    NodeId target;
    NodeId patch;
};

class Merge {
  public:
    Merge(const Document& target, const Document& patch)
        : target_(target), patch_(patch), target_style_(target), patch_style_(patch) {}

    // Returns the text of the target with all changes.
    std::string result() {
        todo_.push_back({target_.root(), patch_.root()});
        while (!todo_.empty()) {
            const Pair pair = todo_.back();
            todo_.pop_back();
            merge_object(pair);
        }
        // Changes do not overlap, and no two start at the same position.
        std::sort(replaced_.begin(), replaced_.end(),
                  [](const Pair& a, const Pair& b) { return a.target < b.target; });
        std::sort(splices_.begin(), splices_.end(),
                  [](const Splice& a, const Splice& b) { return a.start < b.start; });
        text_.reserve(target_.text().size() + patch_.text().size());
        auto splice = splices_.begin();
        for (const Pair& pair : replaced_) {
            const size_t start = target_.start(pair.target);
            for (; splice != splices_.end() && splice->start < start; ++splice)
                change(splice->start, splice->stop, splice->text);
            change(start, target_.stop(pair.target), without_nulls(patch_style_, pair.patch));
        }
        for (; splice != splices_.end(); ++splice)
            change(splice->start, splice->stop, splice->text);
        text_ += target_.text().substr(done_);
        return std::move(text_);
    }

  private:
    void merge_object(const Pair& pair) {
        ContainerEdit edit;
        std::vector<NodeId> added;
        for (const MemberPair& both : members_of_both(target_, pair.target, patch_, pair.patch)) {
            if (both.b == kNone)
                continue;
            const Kind kind = patch_.kind(both.b);
            const bool is_there = both.a != kNone;
            if (kind == Kind::null) {
                if (is_there)
                    edit.removed.push_back(both.a);
            } else if (is_there && kind == Kind::object && target_.kind(both.a) == Kind::object) {
                todo_.push_back({both.a, both.b});
            } else if (is_there) {
                replaced_.push_back({both.a, both.b});
            } else {
                added.push_back(both.b);
            }
        }
        std::sort(added.begin(), added.end());  // in the order of the patch
        if (!added.empty())
            edit.add = [&](std::string& text, const std::string& separator,
                           const std::string& colon) { add(added, text, separator, colon); };
        edit.removed = target_.with_duplicates(pair.target, std::move(edit.removed));
        Splices some = plan_container(target_style_, pair.target, edit);
        std::move(some.begin(), some.end(), std::back_inserter(splices_));
    }

    void add(const std::vector<NodeId>& members, std::string& text, const std::string& separator,
             const std::string& colon) const {
        for (NodeId member : members) {
            if (member != members.front())
                text += separator;
            text.append(patch_.key(member)).append(colon);
            text += without_nulls(patch_style_, member);
        }
    }

    void change(size_t start, size_t stop, const std::string& value) {
        text_ += target_.text().substr(done_, start - done_);
        text_ += value;
        done_ = stop;
    }

    const Document& target_;
    const Document& patch_;
    Style target_style_;
    Style patch_style_;
    std::vector<Pair> todo_;
    std::vector<Pair> replaced_;  // values that replace others
    Splices splices_;             // members that are added or removed
    std::string text_;            // of the result, for the target's text up to `done_`
    size_t done_ = 0;
};

}  // namespace

std::string apply_merge(Input& input, const Document& patch) {
    const Document target(input.name, input.bytes);
    if (patch.kind(patch.root()) == Kind::object && target.kind(target.root()) == Kind::object)
        return Merge(target, patch).result();
    // A value that is not an object is replaced as a whole, even by an object.
    return spliced(input.bytes, {{target.start(target.root()), target.stop(target.root()),
                                  without_nulls(Style(patch), patch.root())}});
}

}  // namespace tool
