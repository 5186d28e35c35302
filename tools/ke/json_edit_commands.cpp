// ke json set, remove, merge, patch: commands that change parts of a document, or of each document of JSON
// Lines, and leave every other byte unchanged.
#include <memory>

#include "commands.h"
#include "failure.h"
#include "json_edit.h"
#include "json_merge.h"
#include "json_patch.h"
#include "json_select.h"
#include "json_string.h"
#include "scanner.h"

namespace tool {

namespace {

// How an edited text is written, and whether the input is JSON Lines.
struct Form {
    Layout layout;
    bool several = false;
};

// A file that is replaced keeps its encoding; so does an edited text that is not laid out anew, wherever
// it goes.
void keep_encoding(Sink& sink, const Input& input, const Layout& layout, const Common& common) {
    if (common.in_place || !layout.is_asked_for)
        sink.encode_as(input.encoding);
}

// Writes an edited text: unchanged, or in a new layout if that was asked for.
void finish(const std::string& text, const Splices& splices, const Input& input,
            const Layout& layout, const Common& common) {
    Sink sink(common, input.path);
    keep_encoding(sink, input, layout, common);
    if (layout.is_asked_for) {
        const std::string edited = spliced(text, splices);
        View everything;
        print_view(sink, edited, everything, layout);
    } else {
        write_spliced(sink, text, splices);
    }
    sink.finish();
}

// Changes each document of a JSON Lines text by itself; what is between the documents stays. change() takes
// a document and returns its new text.
template <class Change>
int change_each(const Input& input, const Layout& layout, const Common& common, Change change) {
    const std::string_view text = input.bytes;
    Source source(input.name, text);
    Scanner scanner(source, true);
    Sink sink(common, input.path);
    keep_encoding(sink, input, layout, common);
    size_t done = 0;   // the text before it is written
    size_t start = 0;  // of the document that is being read
    bool inside = false;
    u64 number = 0;
    for (Token token = scanner.next(); token != Token::end; token = scanner.next()) {
        if (!inside)
            start = static_cast<size_t>(scanner.start());
        inside = scanner.depth() != 0;
        if (inside)
            continue;
        const size_t stop = static_cast<size_t>(scanner.stop());
        Input document = {input.name + ", document " + std::to_string(++number), input.path,
                          std::string(text.substr(start, stop - start)), input.encoding};
        std::string changed;
        try {
            changed = change(document);
        } catch (Failure& wrong) {
            // Messages about a pointer or a patch do not say which document could not be changed.
            if (wrong.message.compare(0, document.name.size(), document.name) != 0)
                wrong.message.insert(0, document.name + ": ");
            throw;
        }
        if (layout.is_asked_for) {
            print_view(sink, changed, View(), layout);
        } else {
            sink.write(text.substr(done, start - done));
            sink.write(changed);
        }
        done = stop;
    }
    if (!layout.is_asked_for)
        sink.write(text.substr(done));
    sink.finish();
    return kExitOk;
}

void add_form(CLI::App& command, Form& form) {
    add_layout(command, form.layout);
    add_json_lines(command, form.several);
}

struct Edit {
    std::string pointer;
    std::string value;  // JSON text; unused by a removal
};

// Makes the edits one after the other, each on the result of the previous ones. The last one is only planned.
Splices make_edits(Input& input, const std::vector<Edit>& edits, bool removal) {
    Splices splices;
    for (size_t i = 0; i < edits.size(); ++i) {
        if (i != 0)
            input.bytes = spliced(input.bytes, splices);
        const Document document(input.name, input.bytes);
        const Pointer pointer = parse_pointer(edits[i].pointer);
        splices =
            removal ? plan_remove(document, pointer) : plan_set(document, pointer, edits[i].value);
    }
    return splices;
}

int edit(const std::string& file, const std::vector<Edit>& edits, bool removal, const Form& form,
         const Common& common) {
    Input input = read_text(file, common);
    if (form.several)
        return change_each(input, form.layout, common, [&](Input& document) {
            const Splices splices = make_edits(document, edits, removal);
            return spliced(document.bytes, splices);
        });
    const Splices splices = make_edits(input, edits, removal);
    finish(input.bytes, splices, input, form.layout, common);
    return kExitOk;
}

struct SetArgs {
    std::string pointer, value, file;
    std::vector<std::string> also;
    std::string value_file;
    bool string = false;
    Form form;
};

std::string value_of(const SetArgs& args, const std::string& name, const std::string& text) {
    return args.string ? encode_string(text) : value_of_argument(name, text);
}

int set_values(const SetArgs& args, const Common& common) {
    const bool from_file = !args.value_file.empty();
    if (args.value_file == "-" && (args.file.empty() || args.file == "-"))
        throw Failure{"standard input cannot be both the value and the document", kExitUsage};
    const std::string text = from_file ? read_text(args.value_file, common).bytes : args.value;
    const std::string name = from_file ? args.value_file : "VALUE";
    std::vector<Edit> edits = {{args.pointer, value_of(args, name, text)}};
    for (size_t i = 0; i + 1 < args.also.size(); i += 2)
        edits.push_back({args.also[i], value_of(args, "VALUE", args.also[i + 1])});
    return edit(args.file, edits, false, args.form, common);
}

// With --value-file, the words are POINTER [FILE] instead of POINTER VALUE [FILE].
void sort_words(SetArgs& args, const CLI::App& command) {
    const bool has_value = command.count("value") != 0;
    const bool has_file = command.count("file") != 0;
    if (args.value_file.empty()) {
        if (!has_value)
            throw CLI::RequiredError("VALUE");
    } else {
        if (has_file)
            throw CLI::ExtrasError({args.file});
        if (has_value && args.value.empty())
            throw CLI::ValidationError("FILE", "the name of the file is empty");
        args.file = args.value;
    }
}

void add_set(CLI::App& json, Session& session) {
    auto args = std::make_shared<SetArgs>();
    CLI::App* command = json.add_subcommand(
        "set", "Store a value where a JSON pointer points to, and make missing containers");
    command
        ->add_option("pointer", args->pointer,
                     "A JSON pointer; \"-\" as a step appends to an array")
        ->type_name("POINTER")
        ->required();
    command->add_option("value", args->value, "The value, as JSON text")->type_name("VALUE");
    add_input(*command, args->file);
    command->add_flag("--string", args->string, "The value is a plain text, not JSON");
    command
        ->add_option("--value-file", args->value_file,
                     "Read the value from this file, \"-\" for standard input; leave VALUE "
                     "out then")
        ->type_name("FILE")
        ->transform(CLI::Validator(refuse_empty, ""));
    command->add_option("--also", args->also, "A further edit, made after the previous ones")
        ->type_name("POINTER VALUE")
        ->type_size(2)
        ->allow_extra_args(false);
    add_form(*command, args->form);
    add_in_place(*command, session);
    command->callback([args, command, &session] {
        sort_words(*args, *command);
        session.action = [args, &session] { return set_values(*args, session.common); };
    });
}

struct RemoveArgs {
    std::string pointer, file;
    std::vector<std::string> also;
    Form form;
};

void add_remove(CLI::App& json, Session& session) {
    auto args = std::make_shared<RemoveArgs>();
    CLI::App* command = json.add_subcommand("remove", "Remove the value that a JSON pointer names");
    command->add_option("pointer", args->pointer, "A JSON pointer")
        ->type_name("POINTER")
        ->required();
    add_input(*command, args->file);
    command
        ->add_option("--also", args->also,
                     "A further value to remove, found after the previous ones are gone")
        ->type_name("POINTER")
        ->allow_extra_args(false);
    add_form(*command, args->form);
    add_in_place(*command, session);
    command->callback([args, &session] {
        session.action = [args, &session] {
            std::vector<Edit> edits = {{args->pointer, ""}};
            for (const std::string& pointer : args->also)
                edits.push_back({pointer, ""});
            return edit(args->file, edits, true, args->form, session.common);
        };
    });
}

struct SecondArgs {
    std::string second, file;
    Form form;
};

using Apply = std::string (*)(Input& input, const Document& second);

int apply_second(const SecondArgs& args, Apply apply, const Common& common) {
    if (args.second == "-" && (args.file.empty() || args.file == "-"))
        throw Failure{"only one of the documents can be standard input", kExitUsage};
    const Input second = read_text(args.second, common);
    const Document change(second.name, second.bytes);
    Input input = read_text(args.file, common);
    if (args.form.several)
        return change_each(input, args.form.layout, common,
                           [&](Input& document) { return apply(document, change); });
    finish(apply(input, change), {}, input, args.form.layout, common);
    return kExitOk;
}

void add_second(CLI::App& json, Session& session, const char* name, const char* help,
                const char* type, Apply apply) {
    auto args = std::make_shared<SecondArgs>();
    CLI::App* command = json.add_subcommand(name, help);
    command->add_option("change", args->second, "The file that says what to change")
        ->type_name(type)
        ->required()
        ->transform(CLI::Validator(refuse_empty, ""));
    add_input(*command, args->file);
    add_form(*command, args->form);
    add_in_place(*command, session);
    command->callback([args, apply, &session] {
        session.action = [args, apply, &session] {
            return apply_second(*args, apply, session.common);
        };
    });
}

}  // namespace

void add_json_edit_commands(CLI::App& json, Session& session) {
    add_set(json, session);
    add_remove(json, session);
    add_second(json, session, "merge", "Apply a JSON Merge Patch (RFC 7396) to a document", "MERGE",
               apply_merge);
    add_second(json, session, "patch", "Apply a JSON Patch (RFC 6902) to a document", "PATCH",
               apply_patch);
}

}  // namespace tool
