// ke json get: prints what pointers point to, in one document or many.
#include <memory>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "json_finder.h"
#include "json_select.h"
#include "json_string.h"

namespace tool {

namespace {

struct GetArgs {
    std::vector<std::string> pointers, files, where;
    std::string pointer;
    bool glob = false, several = false, lines = false;
    View view;
    Layout layout;
    std::string fallback;
    bool has_fallback = false;
};

// Prints the values found in one document. Each value is given as a text of its own.
class Printer {
  public:
    Printer(const GetArgs& args, Sink& sink) : args_(args), sink_(sink), layout_(args.layout) {
        layout_.compact = layout_.compact || args.lines;
    }

    void print(std::string_view text) { print_view(sink_, text, args_.view, layout_); }

    // Prints the fallback for a pointer that points to nothing. Returns false if there is no fallback, so
    // this is a failure.
    bool print_fallback() {
        if (args_.has_fallback)
            print(args_.fallback);
        return args_.has_fallback;
    }

  private:
    const GetArgs& args_;
    Sink& sink_;
    Layout layout_;
};

// Passes the next document through the finders; returns false at the end of the input.
bool pass(Scanner& scanner, std::vector<PointerFinder>& finders) {
    for (Token token = scanner.next(); token != Token::end; token = scanner.next()) {
        for (PointerFinder& finder : finders)
            finder.add(token, scanner.text());
        if (scanner.depth() == 0)
            return true;
    }
    return false;
}

void get_in_stream(Scanner& scanner, const GetArgs& args, Printer& printer, u64& number) {
    for (;; ++number) {
        std::vector<PointerFinder> finders;
        for (const std::string& pointer : args.pointers)
            finders.emplace_back(parse_pointer(pointer));
        if (!pass(scanner, finders))
            return;
        for (const PointerFinder& finder : finders) {
            if (finder.found())
                printer.print(finder.text());
            else if (!printer.print_fallback())
                throw finder.failure();
        }
    }
}

// A pattern matches any number of places, possibly none.
void get_by_pattern(Scanner& scanner, const GetArgs& args, Printer& printer, u64& number) {
    for (;; ++number) {
        std::vector<PointerFinder> whole;
        whole.emplace_back(parse_pointer(""));
        if (!pass(scanner, whole))
            return;
        const Document document("the document", whole[0].text());
        for (const std::string& pattern : args.pointers) {
            const auto print = [&](NodeId node) { printer.print(document.text_of(node)); };
            if (for_matches(document, parse_pointer(pattern), print) == 0)
                printer.print_fallback();
        }
    }
}

void get_from(Source& source, const GetArgs& args, Printer& printer) {
    Scanner scanner(source, args.several);
    u64 number = 1;
    try {
        if (args.glob)
            get_by_pattern(scanner, args, printer, number);
        else
            get_in_stream(scanner, args, printer, number);
    } catch (Failure& wrong) {
        // The message about a pointer that cannot be followed has no position, so it must say which of
        // several documents or files is meant.
        const bool has_place =
            wrong.message.compare(0, 8, "pointer ") != 0 && wrong.message.compare(0, 2, "--") != 0;
        if (!has_place && args.several)
            wrong.message.insert(0, source.name() + ", document " + std::to_string(number) + ": ");
        else if (!has_place && args.files.size() > 1)
            wrong.message.insert(0, source.name() + ": ");
        throw;
    }
    source.close();
}

int get(GetArgs& args, const Common& common) {
    args.pointers.insert(args.pointers.begin(), args.pointer);
    for (const std::string& pointer : args.pointers)
        parse_pointer(pointer);  // report a bad pointer before reading anything
    for (const std::string& condition : args.where)
        args.view.where.push_back(parse_condition(condition));
    if (args.has_fallback)
        args.fallback = value_of_argument("--default", args.fallback);
    if (args.files.empty())
        args.files.emplace_back();
    Sink sink(common, "");
    Printer printer(args, sink);
    for (const std::string& file : args.files) {
        Source source(file, common);
        get_from(source, args, printer);
    }
    sink.finish();
    return kExitOk;
}

void add_view(CLI::App& command, GetArgs& args) {
    auto* raw = command.add_flag("--raw", args.view.raw,
                                 "Print a string's text itself, without quotes and escapes");
    auto* keys = command.add_flag("--keys", args.view.keys,
                                  "Print the keys of an object, or the indices of an array");
    auto* length =
        command.add_flag("--length", args.view.length,
                         "Print the number of members, of elements, or of a string's characters");
    auto* type = command.add_flag("--type", args.view.type, "Print the kind of the value");
    raw->excludes(keys)->excludes(length)->excludes(type);
    keys->excludes(length)->excludes(type);
    length->excludes(type);
    command
        .add_option("--where", args.where,
                    "Only values in which POINTER leads to VALUE, a text or JSON: /state=failed")
        ->type_name("POINTER=VALUE")
        ->allow_extra_args(false);
}

}  // namespace

void add_json_get_command(CLI::App& json, Session& session) {
    auto args = std::make_shared<GetArgs>();
    CLI::App* command = json.add_subcommand("get", "Print the value that a JSON pointer names");
    command->add_option("pointer", args->pointer, "A JSON pointer, such as \"/smart/attributes/0\"")
        ->type_name("POINTER")
        ->required();
    add_inputs(*command, args->files);
    command
        ->add_option("-p,--pointer", args->pointers,
                     "A further pointer; may be given several times")
        ->type_name("POINTER")
        ->allow_extra_args(false);
    command->add_flag("--glob", args->glob,
                      "The steps \"*\" (any one) and \"**\" (any number) are patterns");
    add_view(*command, *args);
    command
        ->add_option_function<std::string>(
            "--default",
            [args](const std::string& value) {
                args->fallback = value;
                args->has_fallback = true;
            },
            "Print VALUE, JSON text, for a missing value")
        ->type_name("VALUE");
    command->add_flag("--lines", args->lines, "One value per line");
    add_layout(*command, args->layout);
    add_json_lines(*command, args->several);
    command->callback([args, &session] {
        session.action = [args, &session] { return get(*args, session.common); };
    });
}

}  // namespace tool
