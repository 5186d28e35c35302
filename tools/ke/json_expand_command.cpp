// ke json expand: replaces references by their targets, up to a limit that is checked before anything is
// written.
#include <map>
#include <memory>
#include <set>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "json_string.h"
#include "ke_utils/core.h"

namespace tool {

namespace {

Failure cycle(const Document& document, NodeId reference) {
    return document.failure(reference, failure("a reference", WIQ_ERR_JREF_CYCLE).message);
}

// Follows references. It remembers where each chain of them ends, and the children of the containers that
// their pointers pass. Otherwise a small document could take hours: each of many references would be followed
// to the end of a chain of many others, or look for its target among many members.
class References {
  public:
    explicit References(const Document& document) : document_(document) {}

    // Returns the end of the chain of references that starts here.
    NodeId target_of(NodeId reference) {
        std::vector<NodeId> chain;
        NodeId node = reference;
        for (;;) {
            const auto [end, is_new] = ends_.emplace(node, kPending);
            if (!is_new) {
                if (end->second == kPending)
                    throw cycle(document_, reference);
                node = end->second;
                break;
            }
            chain.push_back(node);
            if (!document_.is_reference(node))
                break;
            node = follow(node);
        }
        for (const NodeId passed : chain)
            ends_[passed] = node;
        return node;
    }

  private:
    static constexpr NodeId kPending = 0xFFFFFFFF;

    struct Children {
        bool is_reference = false;
        std::map<std::string, NodeId> members;  // of those with equal keys, the last
        std::vector<NodeId> elements;
    };

    // Goes one step, to what the reference's pointer names.
    NodeId follow(NodeId reference) {
        const NodeId last = *document_.member(reference, "$ref");
        const Pointer pointer = parse_pointer(decode_string(document_.text_of(last)));
        NodeId node = document_.root();
        for (size_t step = 0; step < pointer.steps.size(); ++step) {
            const i32 status = enter(pointer, pointer.steps[step], &node);
            if (status != 0)
                throw document_.failure(
                    reference, "a reference: " + pointer_failure(pointer, step, status).message);
        }
        return node;
    }

    // Goes from a container to the child that a step names, as Document::find() does.
    i32 enter(const Pointer& pointer, const Step& wanted, NodeId* node) {
        const Kind kind = document_.kind(*node);
        if (kind != Kind::object && kind != Kind::array)
            return WIQ_ERR_WRONG_TYPE;
        const Children& children = children_of(*node, kind);
        if (kind == Kind::object) {
            if (children.is_reference && !pointer.enters_references)
                return WIQ_ERR_WRONG_TYPE;
            const auto found = children.members.find(wanted.name);
            if (found == children.members.end())
                return WIQ_ERR_KEY_NOT_FOUND;
            *node = found->second;
            return 0;
        }
        if (!wanted.is_index && !wanted.is_append)
            return WIQ_ERR_WRONG_TYPE;
        if (!wanted.is_index || wanted.index >= children.elements.size())
            return WIQ_ERR_INDEX_OUT_OF_RANGE;
        *node = children.elements[static_cast<size_t>(wanted.index)];
        return 0;
    }

    const Children& children_of(NodeId container, Kind kind) {
        const auto [known, is_new] = children_.try_emplace(container);
        Children& children = known->second;
        if (!is_new)
            return children;
        children.is_reference = document_.is_reference(container);
        for (NodeId child = document_.first_child(container); child != document_.end_of(container);
             child = document_.next(child)) {
            if (kind == Kind::object)
                children.members[decode_string(document_.key(child))] = child;
            else
                children.elements.push_back(child);
        }
        return children;
    }

    const Document& document_;
    std::map<NodeId, NodeId> ends_;
    std::map<NodeId, Children> children_;
};

// Counts the values of an expansion before any is made. Each target is counted only once and counting stops
// at the limit, so it takes no longer than the expansion itself would.
class ExpandedSize {
  public:
    ExpandedSize(const Document& document, References& references, u64 limit)
        : document_(document), references_(references), limit_(limit) {}

    // Throws a Failure if there are more values than the limit allows, or if there is a cycle.
    void check() {
        begin(document_.root());
        while (!open_.empty()) {
            Subtree& subtree = open_.back();
            if (subtree.next == document_.end_of(subtree.top)) {
                sizes_[subtree.top] = subtree.size;
                const u64 size = subtree.size;
                open_.pop_back();
                if (!open_.empty())
                    add(size);
            } else {
                take_next(subtree);
            }
        }
    }

  private:
    // The root or the target of a reference, with how much of it has been counted.
    struct Subtree {
        NodeId top;
        NodeId next;
        u64 size;
    };
    static constexpr u64 kInProgress = ~u64{0};

    void begin(NodeId top) {
        sizes_[top] = kInProgress;
        open_.push_back({top, top, 0});
    }

    void take_next(Subtree& subtree) {
        const NodeId node = subtree.next;
        if (!document_.is_reference(node)) {
            ++subtree.next;  // into it, if it is a container
            return add(1);
        }
        subtree.next = document_.next(node);
        const NodeId target = references_.target_of(node);
        const auto known = sizes_.find(target);
        if (known == sizes_.end())
            begin(target);
        else if (known->second == kInProgress)
            throw cycle(document_, node);
        else
            add(known->second);
    }

    void add(u64 count) {
        u64& size = open_.back().size;
        size += count;
        if (size > limit_)
            throw Failure{document_.name() + ": expands to more than " + std::to_string(limit_) +
                          " values; allow more with --max-values"};
    }

    const Document& document_;
    References& references_;
    u64 limit_;
    std::vector<Subtree> open_;
    std::map<NodeId, u64> sizes_;
};

// Writes a document with every reference replaced by its target. The containers that are being written are
// kept in a list, so depth is not limited by the stack.
class Expander {
  public:
    Expander(const Document& document, References& references, JsonWriter& writer)
        : document_(document), references_(references), writer_(writer) {}

    void run() {
        write(document_.root());
        while (!levels_.empty()) {
            Level& level = levels_.back();
            if (level.next == document_.end_of(level.node)) {
                const bool object = document_.kind(level.node) == Kind::object;
                writer_.add(object ? Token::close_object : Token::close_array, object ? "}" : "]");
                pending_.erase(level.reference);
                levels_.pop_back();
                continue;
            }
            const NodeId child = level.next;
            level.next = document_.next(child);
            if (!document_.key(child).empty())
                writer_.add(Token::key, document_.key(child));
            write(child);
        }
    }

  private:
    static constexpr NodeId kNone = 0xFFFFFFFF;

    struct Level {
        NodeId node;
        NodeId next;
        NodeId reference;  // the reference whose target this is, or kNone
    };

    void write(NodeId node) {
        NodeId reference = kNone;
        if (document_.is_reference(node)) {
            reference = node;
            node = references_.target_of(node);
            if (!pending_.insert(reference).second)
                throw cycle(document_, reference);
        }
        switch (document_.kind(node)) {
            case Kind::object:
                writer_.add(Token::open_object, "{");
                levels_.push_back({node, document_.first_child(node), reference});
                return;
            case Kind::array:
                writer_.add(Token::open_array, "[");
                levels_.push_back({node, document_.first_child(node), reference});
                return;
            default:
                writer_.add(document_.kind(node) == Kind::string   ? Token::string
                            : document_.kind(node) == Kind::number ? Token::number
                                                                   : Token::word,
                            document_.text_of(node));
                pending_.erase(reference);
        }
    }

    const Document& document_;
    References& references_;
    JsonWriter& writer_;
    std::vector<Level> levels_;
    std::set<NodeId> pending_;  // references that are being written
};

struct ExpandArgs {
    std::string file;
    Layout layout;
    u64 max_values = 100000000;
};

int expand(const ExpandArgs& args, const Common& common) {
    const Input input = read_text(args.file, common);
    const Document document(input.name, input.bytes);
    References references(document);
    if (args.max_values != 0)
        ExpandedSize(document, references, args.max_values).check();
    Sink sink(common, input.path);
    if (common.in_place)
        sink.encode_as(input.encoding);
    if (!args.layout.sort_keys) {
        JsonWriter writer(sink, args.layout);
        Expander(document, references, writer).run();
        writer.end_document();
    } else {
        std::string text;
        Sink to_text(&text);
        JsonWriter expanded(to_text, args.layout);
        Expander(document, references, expanded).run();
        to_text.finish();
        const Document sorted(input.name, text);
        JsonWriter writer(sink, args.layout);
        write_value(writer, sorted, sorted.root(), args.layout);
        writer.end_document();
    }
    sink.finish();
    return kExitOk;
}

}  // namespace

void add_json_expand_command(CLI::App& json, Session& session) {
    auto args = std::make_shared<ExpandArgs>();
    CLI::App* command = json.add_subcommand(
        "expand", "Replace every {\"$ref\": POINTER} by a copy of what it names");
    add_input(*command, args->file);
    add_layout(*command, args->layout);
    command
        ->add_option("--max-values", args->max_values,
                     "Refuse to make more than N values; 0 is no limit")
        ->type_name("N")
        ->capture_default_str();
    add_in_place(*command, session);
    command->callback([args, &session] {
        session.action = [args, &session] { return expand(*args, session.common); };
    });
}

}  // namespace tool
