// ke schema: prints the JSON schemas of a command's input and output, which are installed with the tool.
#include <algorithm>
#include <cstdlib>
#include <memory>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "json_text.h"
#include "ke_utils.h"

namespace tool {

namespace {

Json load(const std::string& command, const std::vector<std::string>& known, bool input) {
    u32 err = 0;
    char* filename = wiq_schema_filename(command.c_str(), input, &err);
    if (filename == nullptr)
        throw failure("schema of " + command, static_cast<i32>(err));
    const std::string name(filename);
    free(filename);
    if (std::find(known.begin(), known.end(), command) == known.end())
        throw Failure{"schema \"" + command + "\": no such command" + suggestion(command, known)};
    Json schema(wiq_load_schema(name.c_str(), &err));
    if (!schema)
        throw failure("schema file " + name, static_cast<i32>(err));
    return schema;
}

int show(const std::vector<std::string>& words, const std::vector<std::string>& known,
         const Session& session) {
    std::string command;
    for (const std::string& word : words)
        command += (command.empty() ? "" : "-") + word;
    std::replace(command.begin(), command.end(), ' ', '-');
    Json input = load(command, known, true);
    Json output = load(command, known, false);
    u32 err = 0;
    const Json both(wiq_json_obj_new(2, &err));
    if (wiq_json_obj_put_ext(both.get(), "input", input.get(), &err) == 0)
        (void)input.release();  // the object owns it now
    if (wiq_json_obj_put_ext(both.get(), "output", output.get(), &err) == 0)
        (void)output.release();
    check("schema of " + command, static_cast<i32>(err));
    const std::string text = dump_json(both.get());
    const Document document(command, text);
    Layout layout;
    layout.sort_keys = true;
    Sink sink(session.common, "");
    JsonWriter writer(sink, layout);
    write_value(writer, document, document.root(), layout);
    writer.end_document();
    sink.finish();
    return kExitOk;
}

}  // namespace

void add_schema_command(CLI::App& app, Session& session) {
    auto words = std::make_shared<std::vector<std::string>>();
    CLI::App* command =
        app.add_subcommand("schema", "Print the input and output schema of a command");
    command->add_option("command", *words, "The command, as \"json get\" or \"json-get\"")
        ->type_name("COMMAND")
        ->required()
        ->expected(1, 2);
    command->callback([words, &app, &session] {
        session.action = [words, &app, &session] {
            return show(*words, command_names(app, "-"), session);
        };
    });
}

}  // namespace tool
