// ke json format, get, expand, equal, subset: commands that show or judge a document.
#include "commands.h"
#include "failure.h"
#include "json_text.h"
#include "ke_utils.h"

namespace tool {

namespace {

struct Layout {
    bool compact = false;
    bool sort_keys = false;
    bool u128_as_object = false;

    u32 flags() const {
        return (compact ? 0u : static_cast<u32>(WIQ_JSON_DUMP_PRETTY)) |
               (sort_keys ? static_cast<u32>(WIQ_JSON_DUMP_SORT_KEYS) : 0u) |
               (u128_as_object ? static_cast<u32>(WIQ_JSON_DUMP_U128_AS_OBJECT) : 0u);
    }
};

void add_layout(CLI::App& command, Layout& layout) {
    command.add_flag("--compact", layout.compact, "No blanks and no line breaks");
    command.add_flag("--sort-keys", layout.sort_keys, "Members in the order of their keys' bytes");
    command.add_flag("--u128-as-object", layout.u128_as_object,
                     "Write a number above 64 bits as {\"u128\":\"digits\"}");
}

void add_format(CLI::App& json, Session& session) {
    struct Args {
        std::string file;
        Layout layout;
    };
    auto args = std::make_shared<Args>();
    CLI::App* command = json.add_subcommand("format", "Lay a document out anew");
    add_input(*command, args->file);
    add_layout(*command, args->layout);
    add_in_place(*command, session);
    command->callback([args, &session] {
        session.action = [args, &session] {
            const Input input = read_input(args->file, session.common);
            const Json root = parse_json(input.name, input.bytes);
            write_output(dump_json(root.get(), args->layout.flags()) + "\n", input, session.common);
            return kExitOk;
        };
    });
}

void add_get(CLI::App& json, Session& session) {
    struct Args {
        std::string pointer, file;
        bool raw = false;
    };
    auto args = std::make_shared<Args>();
    CLI::App* command = json.add_subcommand("get", "Print the value that a JSON pointer names");
    command->add_option("pointer", args->pointer, "A JSON pointer, as \"/smart/attributes/0\"")
        ->type_name("POINTER")
        ->required();
    add_input(*command, args->file);
    command->add_flag("--raw", args->raw,
                      "Print a string's text itself, without quotes and escapes");
    command->callback([args, &session] {
        session.action = [args, &session] {
            const Input input = read_input(args->file, session.common);
            const Json root = parse_json(input.name, input.bytes);
            wiq_json_t* node = find(root.get(), args->pointer);
            const std::string text = args->raw && wiq_json_is_str(node)
                                         ? wiq_json_str_get(node)
                                         : dump_json(node, WIQ_JSON_DUMP_PRETTY);
            write_output(text + "\n", input, session.common);
            return kExitOk;
        };
    });
}

void add_expand(CLI::App& json, Session& session) {
    auto file = std::make_shared<std::string>();
    CLI::App* command = json.add_subcommand(
        "expand", "Replace every {\"$ref\": POINTER} by a copy of what it names");
    add_input(*command, *file);
    add_in_place(*command, session);
    command->callback([file, &session] {
        session.action = [file, &session] {
            const Input input = read_input(*file, session.common);
            const Json root = parse_json(input.name, input.bytes);
            check(input.name, wiq_json_jref_expand(root.get()));
            write_output(dump_json(root.get(), WIQ_JSON_DUMP_PRETTY) + "\n", input, session.common);
            return kExitOk;
        };
    });
}

// The two documents of a comparison; at most one of them is standard input.
struct Pair {
    std::string a, b;
};

void add_pair(CLI::App& command, Pair& pair) {
    command.add_option("a", pair.a, "The first document")->type_name("A")->required();
    command.add_option("b", pair.b, "The second document")->type_name("B")->required();
}

int judge(const Pair& pair, u32 flags, const Common& common) {
    if (pair.a == "-" && pair.b == "-")
        throw Failure{"ke: only one of the documents can be standard input", kExitUsage};
    const Input a = read_input(pair.a, common);
    const Input b = read_input(pair.b, common);
    const Json root_a = parse_json(a.name, a.bytes);
    const Json root_b = parse_json(b.name, b.bytes);
    return wiq_json_subset(root_a.get(), root_b.get(), flags) ? kExitOk : kExitNo;
}

void add_equal(CLI::App& json, Session& session) {
    auto pair = std::make_shared<Pair>();
    CLI::App* command =
        json.add_subcommand("equal", "Exit status 0 if two documents are equal, else 1");
    add_pair(*command, *pair);
    command->callback([pair, &session] {
        session.action = [pair, &session] {
            return judge(*pair,
                         WIQ_JSON_SUBSET_CONTIGUOUS | WIQ_JSON_SUBSET_PREFIX |
                             WIQ_JSON_SUBSET_SAME_LENGTH | WIQ_JSON_SUBSET_SAME_SIZE,
                         session.common);
        };
    });
}

void add_subset(CLI::App& json, Session& session) {
    struct Args {
        Pair pair;
        bool contiguous = false, prefix = false, same_length = false, same_size = false;
    };
    auto args = std::make_shared<Args>();
    CLI::App* command =
        json.add_subcommand("subset", "Exit status 0 if A is contained in B, else 1");
    add_pair(*command, args->pair);
    command->add_flag("--contiguous", args->contiguous, "Array elements as one run");
    command->add_flag("--prefix", args->prefix, "With --contiguous: the run starts B's array");
    command->add_flag("--same-length", args->same_length,
                      "With --contiguous and --prefix: arrays of equal length");
    command->add_flag("--same-size", args->same_size, "Objects of equal size");
    command->callback([args, &session] {
        session.action = [args, &session] {
            const u32 flags = (args->contiguous ? 1u : 0u) | (args->prefix ? 2u : 0u) |
                              (args->same_length ? 4u : 0u) | (args->same_size ? 8u : 0u);
            return judge(args->pair, flags, session.common);
        };
    });
}

}  // namespace

void add_json_commands(CLI::App& app, Session& session) {
    CLI::App* json = app.add_subcommand("json", "Work on a JSON document");
    json->require_subcommand(1);
    add_format(*json, session);
    add_get(*json, session);
    add_json_edit_commands(*json, session);
    add_json_report_commands(*json, session);
    add_expand(*json, session);
    add_equal(*json, session);
    add_subset(*json, session);
}

}  // namespace tool
