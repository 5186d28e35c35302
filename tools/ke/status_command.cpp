// ke status: what a number that some tool has returned means.
#include <memory>

#include "commands.h"
#include "failure.h"
#include "ke_utils.h"

namespace tool {

void add_status_command(CLI::App& app, Session& session) {
    auto text = std::make_shared<std::string>();
    CLI::App* command =
        app.add_subcommand("status", "Tell the name and the meaning of a status code");
    command->add_option("code", *text, "The code, as -1037")->type_name("CODE")->required();
    command->callback([text, &session] {
        session.action = [text, &session] {
            i32 status = 0;
            const i32 parsed = wiq_strtoint32(text->c_str(), &status);
            if (parsed != 0)
                throw failure("status \"" + *text + "\"", parsed);
            std::string line = *text + "\tsuccess\n";
            if (status != 0) {
                if (status_name(status).empty())
                    throw Failure{"status " + *text + ": no such status code"};
                line = std::to_string(status) + "\t" + std::string(status_name(status)) + "\t" +
                       std::string(status_meaning(status)) + "\n";
            }
            write_output(line, Input{}, session.common);
            return kExitOk;
        };
    });
}

}  // namespace tool
