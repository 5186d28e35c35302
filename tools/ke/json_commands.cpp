// ke json format, expand: commands that write a document anew without changing a value.
#include <memory>
#include <set>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "json_string.h"
#include "ke_utils/core.h"

namespace tool {

namespace {

struct FormatArgs {
    std::vector<std::string> files;
    Layout layout;
    bool several = false;
};

// A number above 64 bits as {"u128":"digits"}.
void add_wide_number(JsonWriter& writer, Scanner& scanner) {
    const std::string digits(scanner.text());
    const Fit fit = fit_of(digits);
    const bool is_integer = digits.find_first_of(".eE") == std::string::npos;
    if (is_integer && fit == Fit::too_large)
        throw scanner.failure("the number " + digits + " has more than 128 bits or is below -2^63",
                              kExitNo);
    if (fit != Fit::u128)
        return writer.add(Token::number, digits);
    writer.add(Token::open_object, "{");
    writer.add(Token::key, "\"u128\"");
    writer.add(Token::string, "\"" + digits + "\"");
    writer.add(Token::close_object, "}");
}

// Passes documents on token by token, in memory that grows with their depth only.
void format_in_stream(Scanner& scanner, Sink& sink, const Layout& layout) {
    JsonWriter writer(sink, layout);
    for (Token token = scanner.next(); token != Token::end; token = scanner.next()) {
        if (token == Token::number && layout.u128_as_object)
            add_wide_number(writer, scanner);
        else
            writer.add(token, scanner.text());
        if (scanner.depth() == 0)
            writer.end_document();
    }
}

// What is sorted has to be in memory as a whole, one document after the other.
void format_sorted(Scanner& scanner, Sink& sink, const Layout& layout) {
    const std::string name = "the document";
    Layout tight;
    tight.compact = true;
    tight.u128_as_object = layout.u128_as_object;
    for (;;) {
        std::string text;
        Sink to_text(&text);
        JsonWriter writer(to_text, tight);
        Token token = scanner.next();
        for (; token != Token::end; token = scanner.next()) {
            if (token == Token::number && layout.u128_as_object)
                add_wide_number(writer, scanner);
            else
                writer.add(token, scanner.text());
            if (scanner.depth() == 0)
                break;
        }
        to_text.finish();
        if (token == Token::end)
            return;
        const Document document(name, text);
        JsonWriter sorted(sink, layout);
        write_value(sorted, document, document.root(), layout);
        sorted.end_document();
    }
}

int format(const FormatArgs& args, const Common& common) {
    std::vector<std::string> files = args.files;
    if (files.empty())
        files.emplace_back();
    if (common.in_place && files.size() > 1)
        throw Failure{"--in-place takes one FILE", kExitUsage};
    std::unique_ptr<Sink> sink;
    for (const std::string& file : files) {
        Source source(file, common);
        if (!sink)
            sink = std::make_unique<Sink>(common, source.path());
        Scanner scanner(source, args.several);
        if (args.layout.sort_keys)
            format_sorted(scanner, *sink, args.layout);
        else
            format_in_stream(scanner, *sink, args.layout);
        source.close();
    }
    sink->finish();
    return kExitOk;
}

void add_format(CLI::App& json, Session& session) {
    auto args = std::make_shared<FormatArgs>();
    CLI::App* command = json.add_subcommand("format", "Lay a document out anew");
    add_inputs(*command, args->files);
    add_layout(*command, args->layout);
    command->add_flag("--u128-as-object", args->layout.u128_as_object,
                      "Write a number above 64 bits as {\"u128\":\"digits\"}");
    add_json_lines(*command, args->several);
    add_in_place(*command, session);
    command->callback([args, &session] {
        session.action = [args, &session] { return format(*args, session.common); };
    });
}

// Writes a document with every reference replaced by what it names. The containers that are being written
// are on a list, so that no document is too deep.
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
        NodeId reference;  // through which it is being written, or kNone
    };

    void write(NodeId node) {
        NodeId reference = kNone;
        if (document_.is_reference(node)) {
            reference = node;
            node = target_of(node);
            if (!pending_.insert(reference).second)
                throw cycle(reference);
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
                writer_.add(Token::word, document_.text_of(node));
                pending_.erase(reference);
        }
    }

    // The end of the chain of references that starts here.
    NodeId target_of(NodeId reference) const {
        std::set<NodeId> seen;
        NodeId node = reference;
        while (document_.is_reference(node)) {
            if (!seen.insert(node).second)
                throw cycle(reference);
            const NodeId last = *document_.member(node, "$ref");
            size_t step = 0;
            const Pointer pointer = parse_pointer(decode_string(document_.text_of(last)));
            NodeId found = 0;
            const i32 status = document_.find(pointer, &found, &step);
            if (status != 0)
                throw document_.failure(
                    node, "a reference: " + pointer_failure(pointer, step, status).message);
            node = found;
        }
        return node;
    }

    Failure cycle(NodeId reference) const {
        return document_.failure(reference, failure("a reference", WIQ_ERR_JREF_CYCLE).message);
    }

    const Document& document_;
    JsonWriter& writer_;
    std::vector<Level> levels_;
    std::set<NodeId> pending_;  // references that are being written
};

struct ExpandArgs {
    std::string file;
    Layout layout;
};

int expand(const ExpandArgs& args, const Common& common) {
    const Input input = read_text(args.file, common);
    const Document document(input.name, input.bytes);
    Sink sink(common, input.path);
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

void add_expand(CLI::App& json, Session& session) {
    auto args = std::make_shared<ExpandArgs>();
    CLI::App* command = json.add_subcommand(
        "expand", "Replace every {\"$ref\": POINTER} by a copy of what it names");
    add_input(*command, args->file);
    add_layout(*command, args->layout);
    add_in_place(*command, session);
    command->callback([args, &session] {
        session.action = [args, &session] { return expand(*args, session.common); };
    });
}

}  // namespace

void add_json_commands(CLI::App& app, Session& session) {
    CLI::App* json = app.add_subcommand("json", "Work on a JSON document");
    json->require_subcommand(1);
    add_format(*json, session);
    add_json_get_command(*json, session);
    add_json_edit_commands(*json, session);
    add_json_report_commands(*json, session);
    add_expand(*json, session);
    add_json_compare_commands(*json, session);
}

}  // namespace tool
