// ke capacity, number, hash: take a number or a text, and print one line.
#include <algorithm>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "ke_utils.h"

namespace tool {

namespace {

void print(const std::string& text, const Session& session) {
    write_output(text, session.common);
}

// Parses a count that is given as an argument: decimal digits only.
u64 to_u64(const std::string& what, const std::string& text) {
    u64 value = 0;
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos)
        throw Failure{what + " \"" + text + "\": is not a number; write decimal digits"};
    // The library would read a number with a leading zero as octal.
    const std::string digits = text.substr(std::min(text.find_first_not_of('0'), text.size() - 1));
    const i32 status = wiq_strtouint64(digits.c_str(), &value);
    if (status != 0)
        throw failure(what + " \"" + text + "\"", status);
    return value;
}

struct CapacityArgs {
    std::string gb, lba;
    int sector = 512;
};

// The IDEMA rule: a fixed number of blocks for the first 50 GB, and a fixed number for each further GB.
constexpr u64 kMinGb = 50;

u64 min_blocks(int sector) {
    return wiq_get_lba_count_idema(kMinGb, sector);
}

// Returns the largest capacity whose size in bytes fits in 64 bits.
u64 max_gb(int sector) {
    const u64 step =
        wiq_gb_to_bytes_idema(kMinGb + 1, sector) - wiq_gb_to_bytes_idema(kMinGb, sector);
    return kMinGb + (~u64{0} - wiq_gb_to_bytes_idema(kMinGb, sector)) / step;
}

int show_capacity(const CapacityArgs& args, const Session& session) {
    const bool by_size = args.lba.empty();
    const u64 given = by_size ? to_u64("capacity", args.gb) : to_u64("--lba", args.lba);
    const auto sector = static_cast<u64>(args.sector);
    const u64 least = by_size ? kMinGb : min_blocks(args.sector);
    const u64 most = by_size ? max_gb(args.sector) : ~u64{0} / sector;
    if (given < least || given > most)
        throw Failure{std::string(by_size ? "capacity \"" : "--lba \"") + std::to_string(given) +
                      "\": is out of range; the rule for drives of " + std::to_string(sector) +
                      "-byte sectors goes from " + std::to_string(least) + " to " +
                      std::to_string(most)};
    const u64 gb = by_size ? given : wiq_get_cap_idema(given, args.sector);
    const u64 lba = by_size ? wiq_get_lba_count_idema(given, args.sector) : given;
    const u64 bytes = lba * sector;
    print("capacity\t" + std::to_string(gb) + " GB\nblocks\t" + std::to_string(lba) + "\nsector\t" +
              std::to_string(args.sector) + " bytes\nbytes\t" + std::to_string(bytes) + "\n",
          session);
    return kExitOk;
}

void add_capacity(CLI::App& app, Session& session) {
    auto args = std::make_shared<CapacityArgs>();
    CLI::App* command = app.add_subcommand(
        "capacity", "Convert a drive's advertised size to its number of blocks, or back");
    auto* gb =
        command->add_option("gb", args->gb, "Advertised capacity, decimal gigabytes, 50 or more");
    gb->type_name("GB");
    auto* lba =
        command->add_option("--lba", args->lba, "The number of logical blocks, instead of GB");
    lba->type_name("N")->excludes(gb);
    command->add_option("--sector", args->sector, "Bytes per logical sector")
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

// Returns why this command does not accept a number, or "" if it does. The library accepts a sign and keeps
// the low 128 bits of a number; writing the number back without its prefix and leading zeros shows whether
// there were more bits.
std::string objection(const std::string& text) {
    if (!text.empty() && (text[0] == '-' || text[0] == '+'))
        return "has a sign; only numbers from 0 to 2^128 - 1 are taken";
    const bool prefixed = text.size() > 1 && text[0] == '0';
    const int base = !prefixed ? 10 : text[1] == 'x' || text[1] == 'X' ? 16 : 8;
    std::string digits = text.substr(base == 16 ? 2 : 0);
    const char* allowed = base == 16  ? "0123456789abcdefABCDEF"
                          : base == 8 ? "01234567"
                                      : "0123456789";
    if (digits.empty() || digits.find_first_not_of(allowed) != std::string::npos)
        return std::string("is not a number: ") +
               (base == 16  ? "hexadecimal digits are due after \"0x\""
                : base == 8 ? "octal digits are due after \"0\""
                            : "decimal digits are due, or \"0x\" and hexadecimal digits");
    wiq_uint128 value;
    check("number", wiq_uint128_from_str(text.c_str(), &value));
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    wiq_upper_all(digits.data());
    char again[129];
    check("number", wiq_uint128_to_str(value, base, again, sizeof(again)));
    return digits == again ? "" : "has more than 128 bits";
}

int show_number(const NumberArgs& args, const Session& session) {
    const std::string wrong = objection(args.text);
    if (!wrong.empty())
        throw Failure{"number \"" + args.text + "\": " + wrong};
    wiq_uint128 value;
    check("number", wiq_uint128_from_str(args.text.c_str(), &value));
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
        app.add_subcommand("hash", "Print the hash that the library's maps use for a key");
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
