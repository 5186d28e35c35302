// ke dump: writes bytes in hexadecimal, reading the file piece by piece.
#include <algorithm>
#include <memory>
#include <numeric>

#include "commands.h"
#include "failure.h"
#include "ke_utils.h"

namespace tool {

namespace {

struct DumpArgs {
    std::string file;
    int line = 16, group = 4, block = 8, gap = 1;
    bool ascii = false;
    u64 skip = 0;
    u64 length = ~u64{0};
};

struct Lines {
    Sink& sink;
    u64 base;  // the file offset of the current piece
};

i32 add_dump_line(void* user, u64 offset, const char* hex, const char* ascii) {
    auto& lines = *static_cast<Lines*>(user);
    char number[24];
    const unsigned long long file_offset = lines.base + offset;
    wiq_snprintf(number, sizeof(number), "%08llx  ", file_offset);
    lines.sink.write(number);
    lines.sink.write(hex);
    if (ascii != nullptr) {
        lines.sink.write("  |");
        lines.sink.write(ascii);
        lines.sink.put('|');
    }
    lines.sink.put('\n');
    return 0;
}

// Returns how many bytes can be dumped at a time so that lines, groups and blocks break as if the file were
// dumped at once; 0 if only the whole file will do.
size_t piece_size(const DumpArgs& args) {
    constexpr u64 kPiece = u64{1} << 18;
    if (args.line == 0)
        return 0;
    u64 common = static_cast<u64>(args.line);
    for (int size : {args.group, args.block}) {
        if (size != 0)
            common = std::lcm(common, static_cast<u64>(size));
        if (common > kPiece * 64)
            return 0;
    }
    return static_cast<size_t>(common * std::max<u64>(1, kPiece / common));
}

int dump(const DumpArgs& args, const Common& common) {
    RawInput input(args.file, common);
    Sink sink(common, "");
    if (args.skip != 0 && !input.skip(args.skip)) {
        input.close();
        sink.finish();
        return kExitOk;
    }
    const size_t piece = piece_size(args);
    std::string bytes(piece == 0 ? size_t{1} << 18 : piece, '\0');
    u64 left = args.length;
    Lines lines{sink, args.skip};
    for (size_t held = 0;;) {
        const size_t wanted = static_cast<size_t>(std::min<u64>(bytes.size() - held, left));
        const size_t count = input.read(&bytes[held], wanted);
        left -= count;
        held += count;
        const bool last = count < wanted || left == 0;
        if (piece == 0 && !last) {
            bytes.resize(held * 2);
            continue;
        }
        if (held != 0)
            check(input.name(), wiq_memdump_ex(reinterpret_cast<const u8*>(bytes.data()), held,
                                               args.line, args.group, args.block, args.gap,
                                               args.ascii, true, add_dump_line, &lines));
        lines.base += held;
        held = 0;
        if (last)
            break;
    }
    input.close();  // the output may take its place
    sink.finish();
    return kExitOk;
}

}  // namespace

void add_dump_command(CLI::App& app, Session& session) {
    auto args = std::make_shared<DumpArgs>();
    CLI::App* command = app.add_subcommand("dump", "Print a file's bytes in hexadecimal");
    add_input(*command, args->file);
    const CLI::Range sizes(0, 1 << 20);
    command->add_option("--line", args->line, "Bytes per line; 0: all")
        ->check(sizes)
        ->capture_default_str();
    command
        ->add_option("--group", args->group, "Bytes per group, separated by a blank; 0: no groups")
        ->check(sizes)
        ->capture_default_str();
    command
        ->add_option("--block", args->block, "Bytes per block, separated by the gap; 0: no blocks")
        ->check(sizes)
        ->capture_default_str();
    command->add_option("--gap", args->gap, "Blanks between blocks")
        ->check(CLI::Range(0, 80))
        ->capture_default_str();
    command->add_flag("--ascii", args->ascii, "Add a column of characters");
    command->add_option("--skip", args->skip, "Skip this many bytes of the file");
    command->add_option("--length", args->length, "Print at most this many bytes");
    command->callback([args, &session] {
        session.action = [args, &session] { return dump(*args, session.common); };
    });
}

}  // namespace tool
