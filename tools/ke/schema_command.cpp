// ke schema: the JSON schemas of a command's input and output, which are installed beside the tool.
#include <algorithm>
#include <cstdlib>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "json_text.h"
#include "ke_utils.h"

namespace tool {

namespace {

Json load(const std::string& command, bool input) {
    u32 err = 0;
    char* filename = wiq_schema_filename(command.c_str(), input, &err);
    if (filename == nullptr)
        throw failure("schema of " + command, static_cast<i32>(err));
    const std::string name(filename);
    free(filename);
    Json schema(wiq_load_schema(name.c_str(), &err));
    if (!schema)
        throw failure("schema file " + name, static_cast<i32>(err));
    return schema;
}

int show(const std::vector<std::string>& words, const Session& session) {
    std::string command;
    for (const std::string& word : words)
        command += (command.empty() ? "" : "-") + word;
    std::replace(command.begin(), command.end(), ' ', '-');
    Json input = load(command, true);
    Json output = load(command, false);
    u32 err = 0;
    const Json both(wiq_json_obj_new(2, &err));
    if (wiq_json_obj_put_ext(both.get(), "input", input.get(), &err) == 0)
        (void)input.release();  // the object owns it now
    if (wiq_json_obj_put_ext(both.get(), "output", output.get(), &err) == 0)
        (void)output.release();
    check("schema of " + command, static_cast<i32>(err));
    write_output(dump_json(both.get(), WIQ_JSON_DUMP_PRETTY | WIQ_JSON_DUMP_SORT_KEYS) + "\n",
                 Input{}, session.common);
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
    command->callback([words, &session] {
        session.action = [words, &session] { return show(*words, session); };
    });
}

}  // namespace tool
