// See usage.h.
#include "usage.h"

#include <algorithm>

#include "failure.h"

namespace tool {

namespace {

// The command that the arguments name, or the group if they name only that; and the first unknown word, if
// any.
struct Named {
    const CLI::App* app;
    std::string path;  // "json get"
    std::string unknown;
};

Named named_command(const CLI::App& root, const std::vector<std::string>& args) {
    Named named = {&root, "", ""};
    for (size_t i = 0; i < args.size() && named.unknown.empty(); ++i) {
        if (args[i] == "-o" || args[i] == "--output" || args[i].compare(0, 6, "--max-") == 0) {
            i += args[i].find('=') == std::string::npos ? 1 : 0;
            continue;
        }
        if (args[i].substr(0, 1) == "-")
            continue;
        const std::vector<const CLI::App*> commands = named.app->get_subcommands({});
        if (commands.empty())
            break;
        const auto next = std::find_if(commands.begin(), commands.end(), [&](const CLI::App* app) {
            return app->get_name() == args[i];
        });
        if (next == commands.end()) {
            named.unknown = args[i];
        } else {
            named.path += (named.path.empty() ? "" : " ") + args[i];
            named.app = *next;
        }
    }
    return named;
}

std::vector<std::string> names_below(const CLI::App& group) {
    std::vector<std::string> names;
    for (const CLI::App* command : group.get_subcommands({}))
        names.push_back(command->get_name());
    return names;
}

// Returns an option that neither the command nor the tool has, together with the nearest known one; "" if all
// options are known.
std::string unknown_option(const CLI::App& root, const Named& named,
                           const std::vector<std::string>& args) {
    std::vector<std::string> known;
    for (const CLI::App* app : {named.app, &root}) {
        for (const CLI::Option* option : app->get_options()) {
            for (const std::string& name : option->get_lnames())
                known.push_back("--" + name);
        }
    }
    for (const std::string& arg : args) {
        const std::string name = arg.substr(0, arg.find('='));
        if (name == "--")
            break;
        if (name.compare(0, 2, "--") == 0 &&
            std::find(known.begin(), known.end(), name) == known.end())
            return "\"" + name + "\" is not an option of \"" + named.path + "\"" +
                   suggestion(name, known);
    }
    return "";
}

// Returns the words that a command takes: "ke ini set SECTION KEY VALUE [FILE]".
std::string usage_of(const Named& named) {
    std::string usage = "ke " + named.path;
    for (const CLI::Option* option : named.app->get_options()) {
        if (!option->get_positional())
            continue;
        const std::string word = option->get_type_name();
        const char* more = option->get_items_expected_max() > 4 ? "..." : "";
        usage += option->get_required() ? " " + word : " [" + word + more + "]";
    }
    return usage;
}

}  // namespace

std::string usage_mistake(const CLI::App& root, const CLI::ParseError& error,
                          const std::vector<std::string>& args) {
    const Named named = named_command(root, args);
    const std::vector<std::string> below = names_below(*named.app);
    const std::string of_what = named.path.empty() ? "" : " of \"" + named.path + "\"";
    if (!named.unknown.empty())
        return "\"" + named.unknown + "\" is not a command" + of_what +
               suggestion(named.unknown, below);
    std::string mistake = error.what();
    if (!below.empty()) {
        if (dynamic_cast<const CLI::RequiredError*>(&error) == nullptr)
            return mistake;
        mistake = "a command" + of_what + " is missing; there are ";
        for (size_t i = 0; i < below.size(); ++i)
            mistake += (i == 0 ? "" : ", ") + below[i];
        return mistake;
    }
    std::string option = unknown_option(root, named, args);
    if (!option.empty())
        return option;
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr &&
        mistake.find(": -") != std::string::npos)
        mistake += "; put \"--\" before an argument that begins with \"-\" and is not an option";
    return mistake + "\nUsage: " + usage_of(named);
}

}  // namespace tool
