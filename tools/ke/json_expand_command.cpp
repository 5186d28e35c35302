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

// Returns the end of the chain of references that starts here.
NodeId target_of(const Document& document, NodeId reference) {
    std::set<NodeId> seen;
    NodeId node = reference;
    while (document.is_reference(node)) {
        if (!seen.insert(node).second)
            throw cycle(document, reference);
        const NodeId last = *document.member(node, "$ref");
        size_t step = 0;
        const Pointer pointer = parse_pointer(decode_string(document.text_of(last)));
        NodeId found = 0;
        const i32 status = document.find(pointer, &found, &step);
        if (status != 0)
            throw document.failure(
                node, "a reference: " + pointer_failure(pointer, step, status).message);
        node = found;
    }
    return node;
}

// Counts the values of an expansion before any is made. Each target is counted only once and counting stops
// at the limit, so it takes no longer than the expansion itself would.
class ExpandedSize {
  public:
    ExpandedSize(const Document& document, u64 limit) : document_(document), limit_(limit) {}

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
        const NodeId target = target_of(document_, node);
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
    u64 limit_;
    std::vector<Subtree> open_;
    std::map<NodeId, u64> sizes_;
};

// Writes a document with every reference replaced by its target. The containers that are being written are
// kept in a list, so depth is not limited by the stack.
class Expander {
  public:
    Expander(const Document& document, JsonWriter& writer) : document_(document), writer_(writer) {}

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
            node = target_of(document_, node);
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
    if (args.max_values != 0)
        ExpandedSize(document, args.max_values).check();
    Sink sink(common, input.path);
    if (common.in_place)
        sink.encode_as(input.encoding);
    if (!args.layout.sort_keys) {
        JsonWriter writer(sink, args.layout);
        Expander(document, writer).run();
        writer.end_document();
    } else {
        std::string text;
        Sink to_text(&text);
        JsonWriter expanded(to_text, args.layout);
        Expander(document, expanded).run();
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
