// ke dump, base64 encode, base64 decode: binary data as text and back.
#include <memory>

#include "commands.h"
#include "failure.h"
#include "ke_utils.h"

namespace tool {

namespace {

struct DumpArgs {
    std::string file;
    int line = 16, group = 4, block = 8, gap = 1;
    bool ascii = false;
};

i32 add_dump_line(void* user, u64 offset, const char* hex, const char* ascii) {
    char number[24];
    wiq_snprintf(number, sizeof(number), "%08llx  ", static_cast<unsigned long long>(offset));
    std::string& text = *static_cast<std::string*>(user);
    text += number;
    text += hex;
    if (ascii != nullptr)
        text += std::string("  |") + ascii + "|";
    text += '\n';
    return 0;
}

int dump(const DumpArgs& args, const Session& session) {
    const Input input = read_input(args.file, session.common);
    std::string text;
    if (!input.bytes.empty()) {
        check(input.name, wiq_memdump_ex(reinterpret_cast<const u8*>(input.bytes.data()),
                                         input.bytes.size(), args.line, args.group, args.block,
                                         args.gap, args.ascii, true, add_dump_line, &text));
    }
    write_output(text, input, session.common);
    return kExitOk;
}

void add_dump(CLI::App& app, Session& session) {
    auto args = std::make_shared<DumpArgs>();
    CLI::App* command = app.add_subcommand("dump", "Print a file's bytes in hexadecimal");
    add_input(*command, args->file);
    const CLI::Range sizes(0, 1 << 20);
    command->add_option("--line", args->line, "Bytes a line; 0: all")
        ->check(sizes)
        ->capture_default_str();
    command->add_option("--group", args->group, "Bytes a group, set off by a blank; 0: no groups")
        ->check(sizes)
        ->capture_default_str();
    command->add_option("--block", args->block, "Bytes a block, set off by the gap; 0: no blocks")
        ->check(sizes)
        ->capture_default_str();
    command->add_option("--gap", args->gap, "Blanks between blocks")
        ->check(CLI::Range(0, 80))
        ->capture_default_str();
    command->add_flag("--ascii", args->ascii, "Add a column of characters");
    command->callback(
        [args, &session] { session.action = [args, &session] { return dump(*args, session); }; });
}

int encode(const std::string& file, const Session& session) {
    const Input input = read_input(file, session.common);
    size_t length = wiq_base64_encode_len(input.bytes.size());
    std::string text(length, '\0');
    check(input.name, wiq_base64_encode(reinterpret_cast<const u8*>(input.bytes.data()),
                                        input.bytes.size(), text.data(), &length));
    text.resize(length);
    write_output(text + "\n", input, session.common);
    return kExitOk;
}

// The first byte that the decoder cannot take; the text is known to hold one.
size_t bad_byte(const std::string& text) {
    static constexpr std::string_view kTaken =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/\n";
    return std::min(text.find_first_not_of(kTaken), text.size());
}

int decode(const std::string& file, const Session& session) {
    Input input = read_input(file, session.common);
    std::erase(input.bytes, '\r');  // files from Windows editors
    size_t length = input.bytes.size() + 1;
    std::string bytes(length, '\0');
    const i32 status = wiq_base64_decode(input.bytes.data(), input.bytes.size(),
                                         reinterpret_cast<u8*>(bytes.data()), &length);
    if (status != 0)
        throw failure_at(input.name, input.bytes, bad_byte(input.bytes), status);
    bytes.resize(length);
    write_output(bytes, input, session.common);
    return kExitOk;
}

void add_base64(CLI::App& app, Session& session) {
    CLI::App* base64 = app.add_subcommand("base64", "Turn bytes into base64 text and back");
    base64->require_subcommand(1);
    struct Row {
        const char* name;
        const char* help;
        int (*run)(const std::string& file, const Session& session);
    };
    for (const Row& row :
         {Row{"encode", "Print a file's bytes as base64", encode},
          Row{"decode", "Print the bytes that a base64 text stands for", decode}}) {
        auto file = std::make_shared<std::string>();
        CLI::App* command = base64->add_subcommand(row.name, row.help);
        add_input(*command, *file);
        command->callback([file, run = row.run, &session] {
            session.action = [file, run, &session] { return run(*file, session); };
        });
    }
}

}  // namespace

void add_binary_commands(CLI::App& app, Session& session) {
    add_dump(app, session);
    add_base64(app, session);
}

}  // namespace tool
