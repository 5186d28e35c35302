// See completion.h. For each position in the tree of commands, a script knows the words that may follow.
// Where a FILE is allowed, the shell completes file names by itself.
#include "completion.h"

#include <algorithm>

namespace tool {

namespace {

struct Command {
    std::string path;   // "json get"; "" before any command
    std::string words;  // the words that may follow, separated by blanks
};

std::vector<std::string> options_of(const CLI::App& app) {
    std::vector<std::string> words;
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames())
            words.push_back("--" + name);
    }
    return words;
}

std::vector<Command> all_commands(const CLI::App& root) {
    const std::vector<std::string> general = options_of(root);
    std::vector<Command> commands;
    std::vector<std::pair<const CLI::App*, std::string>> waiting = {{&root, ""}};
    for (size_t i = 0; i < waiting.size(); ++i) {
        const auto [app, path] = waiting[i];
        std::string words;
        for (const CLI::App* command : app->get_subcommands({})) {
            words += " " + command->get_name();
            std::string below = path;
            below += path.empty() ? "" : " ";
            below += command->get_name();
            waiting.emplace_back(command, std::move(below));
        }
        for (const std::string& option : options_of(*app)) {
            if (std::find(general.begin(), general.end(), option) == general.end())
                words += " " + option;
        }
        for (const std::string& option : general)
            words += " " + option;
        commands.push_back({path, words.substr(1)});
    }
    return commands;
}

// Returns the branches of a script: one line per command, with the path and the words filled in.
std::string branches(const std::vector<Command>& commands, const std::string& before,
                     const std::string& between, const std::string& after) {
    std::string text;
    for (const Command& command : commands)
        text.append(before)
            .append(command.path)
            .append(between)
            .append(command.words)
            .append(after);
    return text;
}

// In bash and zsh, the path is made of those words typed so far that are commands.
const char* const kBash = R"(# Completion of ke for bash; made by "ke completion bash".
_ke() {
    local current=${COMP_WORDS[COMP_CWORD]} path= words= word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $word == -* ]] || _ke_words "${path:+$path }$word" && path=${path:+$path }$word
    done
    _ke_words "$path"
    COMPREPLY=($(compgen -W "$words" -- "$current"))
    [[ $current == -* ]] || COMPREPLY+=($(compgen -f -- "$current"))
}
_ke_words() {
    case $1 in
)";

const char* const kZsh = R"(#compdef ke
# Completion of ke for zsh; made by "ke completion zsh".
_ke() {
    local path_so_far= found= word
    for word in "${(@)words[2,CURRENT-1]}"; do
        [[ $word == -* ]] || { _ke_words "${path_so_far:+$path_so_far }$word" && path_so_far=${path_so_far:+$path_so_far }$word }
    done
    _ke_words "$path_so_far"
    compadd -- ${=found}
    [[ $PREFIX == -* ]] || _files
}
_ke_words() {
    case $1 in
)";

const char* const kPowerShell =
    R"(# Completion of ke for PowerShell; made by "ke completion powershell".
Register-ArgumentCompleter -Native -CommandName @('ke', 'ke.exe') -ScriptBlock {
    param($wordToComplete, $commandAst, $cursorPosition)
    $table = @{
)";

const char* const kPowerShellEnd = R"(    }
    $path = ''
    foreach ($element in $commandAst.CommandElements | Select-Object -Skip 1) {
        # The word that is being completed is not one of those in front of it.
        if ($wordToComplete -ne '' -and $element.Extent.EndOffset -ge $cursorPosition) { break }
        $longer = "$path $element".Trim()
        if ($table.ContainsKey($longer)) { $path = $longer }
    }
    $table[$path] -split ' ' | Where-Object { $_ -like "$wordToComplete*" } | ForEach-Object {
        [System.Management.Automation.CompletionResult]::new($_, $_, 'ParameterValue', $_)
    }
}
)";

}  // namespace

std::vector<std::string> shells_with_completion() {
    return {"bash", "zsh", "powershell"};
}

std::string completion_script(const CLI::App& app, const std::string& shell) {
    const std::vector<Command> commands = all_commands(app);
    if (shell == "bash")
        return kBash + branches(commands, "        \"", "\") words=\"", "\" ;;\n") +
               "        *) return 1 ;;\n    esac\n}\ncomplete -o filenames -F _ke ke\n";
    if (shell == "zsh")
        return kZsh + branches(commands, "        \"", "\") found=\"", "\" ;;\n") +
               "        *) return 1 ;;\n    esac\n}\n_ke \"$@\"\n";
    return kPowerShell + branches(commands, "        '", "' = '", "'\n") + kPowerShellEnd;
}

}  // namespace tool
