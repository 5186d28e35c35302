// ke answers questions about drive reports in JSON, INI files and binary dumps, each with a single command.
// This file handles the arguments that all commands share and turns failures into exit statuses.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "commands.h"
#include "failure.h"
#include "help_commands.h"
#include "input_limits.h"
#include "ke_utils/core.h"
#include "platform.h"
#include "usage.h"

namespace tool {

namespace {

constexpr const char* kFooter =
    "The options above may come before or after the command. A command that takes a FILE reads\n"
    "standard input without one or with \"-\".\n"
    "Exit status: 0 done; 1 a comparison's answer is no, or a command could not keep a value; 2 "
    "the\n"
    "data or a file is wrong; 64 wrong usage.\n"
    "Example: ke json get /smart/temperature report.json";

void add_all(CLI::App& app, Session& session) {
    app.set_version_flag("--version", "ke " KE_VERSION_STRING);
    app.add_flag("--quiet", session.common.quiet, "Show no progress on large files");
    app.add_option("-o,--output", session.common.output,
                   "Write to FILE, which is replaced only if everything succeeds")
        ->type_name("FILE")
        ->transform(CLI::Validator(refuse_empty, ""));
    const CLI::AsSizeValue bytes(false);  // "64MB" is 64 * 1024 * 1024
    app.add_option("--max-size", limits().size, "Refuse inputs of more than BYTES, such as 64MB")
        ->type_name("BYTES")
        ->transform(bytes);
    app.add_option("--max-depth", limits().depth,
                   "Refuse JSON with containers nested more than N deep")
        ->type_name("N")
        ->check(CLI::Range(u64{1}, u64{1000000000}));
    app.add_option("--max-memory", limits().memory, "Fail rather than take more memory than BYTES")
        ->type_name("BYTES")
        ->transform(bytes);
    add_json_commands(app, session);
    add_ini_commands(app, session);
    add_dump_command(app, session);
    add_base64_commands(app, session);
    add_number_commands(app, session);
    add_schema_command(app, session);
    add_status_command(app, session);
    add_help_commands(app, session);
    app.require_subcommand(1);
    app.footer(kFooter);
}

// Prints "ke: " and the message. On a terminal the name is highlighted, unless NO_COLOR is set. A message may
// quote any bytes of a file or an argument: none of them may end the message or control the terminal.
void print_failure(std::string message) {
    std::replace_if(
        message.begin(), message.end(),
        [](char c) {
            const auto byte = static_cast<unsigned char>(c);
            return (byte < 0x20 && c != '\n' && c != '\t') || byte == 0x7F;
        },
        '?');
    const char* plain = getenv("NO_COLOR");
    const bool coloured = stderr_is_terminal() && (plain == nullptr || plain[0] == '\0');
    fprintf(stderr, coloured ? "\033[1;31mke:\033[0m %s\n" : "ke: %s\n", message.c_str());
}

// Returns the exit status when the argument parser stops: 0 after --help and --version, otherwise wrong
// usage.
int answer_usage(const CLI::App& app, const CLI::ParseError& error,
                 const std::vector<std::string>& args) {
    if (error.get_exit_code() == 0)
        return app.exit(error);
    print_failure(usage_mistake(app, error, args) +
                  "\nTry \"ke --help\" or \"ke COMMAND --help\".");
    return kExitUsage;
}

// Where an option or a command takes several values, the argument parser splits "[a,b]" into two, although it
// may be the name of a file. A zero byte, which no argument contains, prevents that until each option has its
// own values.
std::vector<std::string> with_protected_brackets(const std::vector<std::string>& args) {
    std::vector<std::string> reversed(args.rbegin(), args.rend());  // as the parser wants them
    for (std::string& arg : reversed) {
        if (!arg.empty() && arg.front() == '[' && arg.back() == ']')
            arg += '\0';
    }
    return reversed;
}

std::string remove_protection(std::string& text) {
    if (!text.empty() && text.back() == '\0')
        text.pop_back();
    return "";
}

void remove_protection_from_all(CLI::App& root) {
    std::vector<CLI::App*> apps = {&root};
    for (size_t i = 0; i < apps.size(); ++i) {
        CLI::App* app = apps[i];
        for (CLI::Option* option : app->get_options())
            option->transform(CLI::Validator(remove_protection, ""));
        const std::vector<CLI::App*> below =
            app->get_subcommands([](const CLI::App*) { return true; });
        apps.insert(apps.end(), below.begin(), below.end());
    }
}

int run_command(const std::vector<std::string>& args) {
    CLI::App app("Reads, edits and checks drive reports, INI files and binary dumps", "ke");
    // A JSON pointer begins with "/"; it is not an option, not even on Windows.
    app.allow_windows_style_options(false);
    app.fallthrough();
    Session session;
    add_all(app, session);
    remove_protection_from_all(app);
    try {
        app.parse(with_protected_brackets(args));
        if (session.common.in_place && !session.common.output.empty())
            throw CLI::ExcludesError("--in-place", "--output");
        if (limits().memory != 0 && !limit_memory(limits().memory))
            throw Failure{"--max-memory: the system does not limit the memory to that"};
        return session.action();
    } catch (const CLI::ParseError& error) {
        return answer_usage(app, error, args);
    } catch (const Failure& failure) {
        print_failure(failure.message);
        return failure.exit_status;
    } catch (const std::bad_alloc&) {
        print_failure("not enough memory");
        return kExitData;
    }
}

}  // namespace

int run(const std::vector<std::string>& args) {
    prepare_console();
    const int status = run_command(args);
    restore_console();
    return status;
}

}  // namespace tool
