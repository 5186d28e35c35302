// ke: an engineer with a drive report in JSON, an INI file or a binary dump gets an answer in one command.
// This file knows the arguments that all commands share and turns what went wrong into an exit status.
#include <cstdio>

#include "commands.h"
#include "failure.h"
#include "ke_utils/core.h"
#include "platform.h"

namespace tool {

namespace {

constexpr const char* kFooter =
    "The options above stand before or behind the command. A command that takes a FILE reads\n"
    "standard input without one or with \"-\".\n"
    "Exit status: 0 done; 1 a comparison's answer is no; 2 the data or a file is wrong; 64 wrong "
    "usage.\n"
    "Example: ke json get /smart/temperature report.json";

void add_all(CLI::App& app, Session& session) {
    app.set_version_flag("--version", "ke " KE_VERSION_STRING);
    app.add_flag("--quiet", session.common.quiet, "Show no progress on large files");
    app.add_option("-o,--output", session.common.output,
                   "Write to FILE, replaced only when everything succeeded")
        ->type_name("FILE");
    add_json_commands(app, session);
    add_ini_commands(app, session);
    add_binary_commands(app, session);
    add_number_commands(app, session);
    add_schema_command(app, session);
    add_status_command(app, session);
    app.require_subcommand(1);
    app.footer(kFooter);
}

// The status that the argument parser ends with: 0 after --help and --version, else wrong usage.
int answer_usage(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() == 0)
        return app.exit(error);
    fprintf(stderr, "ke: %s\nTry \"ke --help\" or \"ke COMMAND --help\".\n", error.what());
    return kExitUsage;
}

}  // namespace

int run(const std::vector<std::string>& args) {
    use_binary_streams();
    CLI::App app("Reads, edits and checks drive reports, INI files and binary dumps", "ke");
    // A JSON pointer begins with "/": it is no option, also not on Windows.
    app.allow_windows_style_options(false);
    app.fallthrough();
    Session session;
    add_all(app, session);
    try {
        app.parse(std::vector<std::string>(args.rbegin(), args.rend()));
        if (session.common.in_place && !session.common.output.empty())
            throw CLI::ExcludesError("--in-place", "--output");
        const int status = session.action();
        return fflush(stdout) == 0 ? status : throw failure("standard output", -3);
    } catch (const CLI::ParseError& error) {
        return answer_usage(app, error);
    } catch (const Failure& failure) {
        fprintf(stderr, "%s\n", failure.message.c_str());
        return failure.exit_status;
    } catch (const std::bad_alloc&) {
        fprintf(stderr, "ke: not enough memory\n");
        return kExitData;
    }
}

}  // namespace tool
