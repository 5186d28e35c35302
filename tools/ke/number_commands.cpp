// ke capacity, number, hash: a number or a text in, a line out.
#include <memory>

#include "commands.h"
#include "failure.h"
#include "ke_utils.h"

namespace tool {

namespace {

void print(const std::string& text, const Session& session) {
    write_output(text, Input{}, session.common);
}

u64 to_u64(const std::string& what, const std::string& text) {
    u64 value = 0;
    const i32 status = wiq_strtouint64(text.c_str(), &value);
    if (status != 0)
        throw failure(what + " \"" + text + "\"", status);
    return value;
}

struct CapacityArgs {
    std::string gb, lba;
    int sector = 512;
};

int show_capacity(const CapacityArgs& args, const Session& session) {
    const u64 given = args.lba.empty() ? to_u64("capacity", args.gb) : to_u64("--lba", args.lba);
    const u64 gb = args.lba.empty() ? given : wiq_get_cap_idema(given, args.sector);
    const u64 lba = args.lba.empty() ? wiq_get_lba_count_idema(given, args.sector) : given;
    const u64 bytes = args.lba.empty() ? wiq_gb_to_bytes_idema(gb, args.sector)
                                       : lba * static_cast<u64>(args.sector);
    print("capacity\t" + std::to_string(gb) + " GB\nblocks\t" + std::to_string(lba) + "\nsector\t" +
              std::to_string(args.sector) + " bytes\nbytes\t" + std::to_string(bytes) + "\n",
          session);
    return kExitOk;
}

void add_capacity(CLI::App& app, Session& session) {
    auto args = std::make_shared<CapacityArgs>();
    CLI::App* command = app.add_subcommand(
        "capacity", "Blocks of a drive by its advertised size, or the other way");
    auto* gb =
        command->add_option("gb", args->gb, "Advertised capacity, decimal gigabytes, 50 or more");
    gb->type_name("GB");
    auto* lba = command->add_option("--lba", args->lba, "The number of logical blocks instead");
    lba->type_name("N")->excludes(gb);
    command->add_option("--sector", args->sector, "Bytes a logical sector")
        ->check(CLI::IsMember({512, 4096}))
        ->capture_default_str();
    command->callback([args, command, &session] {
        if (args->gb.empty() && args->lba.empty())
            throw CLI::RequiredError("GB or --lba");
        (void)command;
        session.action = [args, &session] { return show_capacity(*args, session); };
    });
}

struct NumberArgs {
    std::string text;
    int base = 10;
};

// The library keeps the low 128 bits of a number; a person wants to know that there were more. Whether
// there were shows when the number without its sign, prefix and zeros is written back.
bool fits_128_bits(const std::string& text) {
    std::string digits = text.substr(std::min(text.find_first_not_of(" \t-"), text.size()));
    wiq_uint128 value;
    if (wiq_uint128_from_str(digits.c_str(), &value) != 0)
        return false;
    const bool prefixed = digits.size() > 1 && digits[0] == '0';
    const int base = !prefixed ? 10 : digits[1] == 'x' || digits[1] == 'X' ? 16 : 8;
    digits.erase(0, base == 16 ? 2 : 0);
    digits.erase(0, digits.find_first_not_of('0'));
    wiq_upper_all(digits.data());
    char again[129];
    check("number", wiq_uint128_to_str(value, base, again, sizeof(again)));
    return digits == again || (digits.empty() && again == std::string_view("0"));
}

int show_number(const NumberArgs& args, const Session& session) {
    wiq_uint128 value;
    const i32 status = wiq_uint128_from_str(args.text.c_str(), &value);
    if (status != 0)
        throw failure("number \"" + args.text + "\"", status);
    if (!fits_128_bits(args.text))
        throw Failure{"number \"" + args.text + "\": more than 128 bits"};
    char digits[129];
    check("--base", wiq_uint128_to_str(value, args.base, digits, sizeof(digits)));
    print(std::string(digits) + "\n", session);
    return kExitOk;
}

void add_number(CLI::App& app, Session& session) {
    auto args = std::make_shared<NumberArgs>();
    CLI::App* command =
        app.add_subcommand("number", "Print a number of up to 128 bits in another base");
    command
        ->add_option("text", args->text,
                     "Decimal, octal with \"0\" or hexadecimal with \"0x\" in front")
        ->type_name("TEXT")
        ->required();
    command->add_option("--base", args->base, "The base to print in")
        ->check(CLI::Range(2, 36))
        ->capture_default_str();
    command->callback([args, &session] {
        session.action = [args, &session] { return show_number(*args, session); };
    });
}

void add_hash(CLI::App& app, Session& session) {
    auto text = std::make_shared<std::string>();
    CLI::App* command =
        app.add_subcommand("hash", "Print the hash under which the library's maps keep a key");
    command->add_option("text", *text, "The key")->type_name("TEXT")->required();
    command->callback([text, &session] {
        session.action = [text, &session] {
            char line[16];
            wiq_snprintf(line, sizeof(line), "0x%08x\n", wiq_hash_str(text->c_str()));
            print(line, session);
            return kExitOk;
        };
    });
}

}  // namespace

void add_number_commands(CLI::App& app, Session& session) {
    add_capacity(app, session);
    add_number(app, session);
    add_hash(app, session);
}

}  // namespace tool
