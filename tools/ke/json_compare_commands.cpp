// ke json diff, equal, subset: commands that compare two documents.
#include <memory>

#include "commands.h"
#include "failure.h"
#include "json_diff.h"
#include "json_equal.h"
#include "json_select.h"
#include "json_text.h"
#include "ke_utils.h"

namespace tool {

namespace {

// The two documents of a comparison; at most one of them is standard input.
struct Pair {
    std::string a, b;
};

void add_pair(CLI::App& command, Pair& pair) {
    command.add_option("a", pair.a, "The first document")
        ->type_name("A")
        ->required()
        ->transform(CLI::Validator(refuse_empty, ""));
    command.add_option("b", pair.b, "The second document")
        ->type_name("B")
        ->required()
        ->transform(CLI::Validator(refuse_empty, ""));
}

void refuse_two_standard_inputs(const Pair& pair) {
    if (pair.a == "-" && pair.b == "-")
        throw Failure{"only one of the documents can be standard input", kExitUsage};
}

int report_equality(const Pair& pair, const Common& common) {
    refuse_two_standard_inputs(pair);
    const Input a = read_text(pair.a, common);
    const Input b = read_text(pair.b, common);
    const Document document_a(a.name, a.bytes);
    const Document document_b(b.name, b.bytes);
    const std::string difference = first_difference(document_a, document_b);
    if (difference.empty())
        return kExitOk;
    if (!common.quiet)
        write_output(difference + "\n", common);
    return kExitNo;
}

void add_equal(CLI::App& json, Session& session) {
    auto pair = std::make_shared<Pair>();
    CLI::App* command = json.add_subcommand(
        "equal",
        "Exit with 0 if two documents are equal, otherwise with 1 and the first difference");
    add_pair(*command, *pair);
    command->callback([pair, &session] {
        session.action = [pair, &session] { return report_equality(*pair, session.common); };
    });
}

struct DiffArgs {
    Pair pair;
    Layout layout;
};

int print_patch(const DiffArgs& args, const Common& common) {
    refuse_two_standard_inputs(args.pair);
    const Input a = read_text(args.pair.a, common);
    const Input b = read_text(args.pair.b, common);
    const std::string patch =
        difference_patch(Document(a.name, a.bytes), Document(b.name, b.bytes));
    Sink sink(common, "");
    print_view(sink, patch, View(), args.layout);
    sink.finish();
    return patch == "[]" ? kExitOk : kExitNo;
}

void add_diff(CLI::App& json, Session& session) {
    auto args = std::make_shared<DiffArgs>();
    CLI::App* command =
        json.add_subcommand("diff", "Print the JSON Patch (RFC 6902) that turns A into B");
    add_pair(*command, args->pair);
    add_layout(*command, args->layout);
    command->callback([args, &session] {
        session.action = [args, &session] { return print_patch(*args, session.common); };
    });
}

struct SubsetArgs {
    Pair pair;
    bool contiguous = false, prefix = false, same_length = false, same_size = false;
};

int report_subset(const SubsetArgs& args, const Common& common) {
    refuse_two_standard_inputs(args.pair);
    const Input a = read_text(args.pair.a, common);
    const Input b = read_text(args.pair.b, common);
    const Json root_a = parse_json(a.name, a.bytes);
    const Json root_b = parse_json(b.name, b.bytes);
    const u32 flags = (args.contiguous ? static_cast<u32>(WIQ_JSON_SUBSET_CONTIGUOUS) : 0u) |
                      (args.prefix ? static_cast<u32>(WIQ_JSON_SUBSET_PREFIX) : 0u) |
                      (args.same_length ? static_cast<u32>(WIQ_JSON_SUBSET_SAME_LENGTH) : 0u) |
                      (args.same_size ? static_cast<u32>(WIQ_JSON_SUBSET_SAME_SIZE) : 0u);
    return wiq_json_subset(root_a.get(), root_b.get(), flags) ? kExitOk : kExitNo;
}

void add_subset(CLI::App& json, Session& session) {
    auto args = std::make_shared<SubsetArgs>();
    CLI::App* command =
        json.add_subcommand("subset", "Exit with 0 if A is contained in B, otherwise with 1");
    add_pair(*command, args->pair);
    command->add_flag("--contiguous", args->contiguous, "Array elements as one run");
    command->add_flag("--prefix", args->prefix, "With --contiguous: the run starts B's array");
    command->add_flag("--same-length", args->same_length,
                      "With --contiguous and --prefix: arrays of equal length");
    command->add_flag("--same-size", args->same_size, "Objects of equal size");
    command->callback([args, &session] {
        session.action = [args, &session] { return report_subset(*args, session.common); };
    });
}

}  // namespace

void add_json_compare_commands(CLI::App& json, Session& session) {
    add_diff(json, session);
    add_equal(json, session);
    add_subset(json, session);
}

}  // namespace tool
