// ke status: explains a status number that some tool has returned.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "ke_utils.h"

namespace tool {

namespace {

struct Status {
    i32 number;
    const char* name;
};

#define ROW(number, name, meaning) {number, #name},
constexpr Status kStatuses[] = {KE_STATUS_TABLE(ROW)};
#undef ROW

bool same_letters(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return toupper(static_cast<unsigned char>(x)) ==
                      toupper(static_cast<unsigned char>(y));
           });
}

// Returns the status that a text names: by its name, as a number, or as the unsigned number that a variable
// of type u32 shows.
i32 status_of(const std::string& text) {
    for (const Status& status : kStatuses) {
        const std::string_view name = status.name;
        if (same_letters(text, name) || same_letters(text, name.substr(strlen("WIQ_ERR_"))))
            return status.number;
    }
    if (!text.empty() && isalpha(static_cast<unsigned char>(text[0])) != 0) {
        std::vector<std::string> names;
        for (const Status& status : kStatuses)
            names.emplace_back(status.name);
        throw Failure{"status \"" + text + "\": no status has this name" + suggestion(text, names)};
    }
    i64 number = 0;
    const i32 parsed = wiq_strtoint64(text.c_str(), &number);
    if (parsed != 0)
        throw failure("status \"" + text + "\"", parsed);
    if (number > 0x7FFFFFFF && number <= 0xFFFFFFFF)
        number -= i64{1} << 32;
    if (number < -0x7FFFFFFF - 1 || number > 0x7FFFFFFF)
        throw failure("status \"" + text + "\"", WIQ_ERR_RANGE);
    return static_cast<i32>(number);
}

}  // namespace

void add_status_command(CLI::App& app, Session& session) {
    auto text = std::make_shared<std::string>();
    CLI::App* command =
        app.add_subcommand("status", "Print the name and the meaning of a status code");
    command
        ->add_option("code", *text, "The code as -1037, as the unsigned 4294966259, or by its name")
        ->type_name("CODE")
        ->required();
    command->callback([text, &session] {
        session.action = [text, &session] {
            const i32 status = status_of(*text);
            std::string line = "0\tsuccess\n";
            if (status != 0) {
                if (status_name(status).empty())
                    throw Failure{"status " + *text + ": no such status code"};
                line = std::to_string(status) + "\t" + std::string(status_name(status)) + "\t" +
                       std::string(status_meaning(status)) + "\n";
            }
            write_output(line, session.common);
            return kExitOk;
        };
    });
}

}  // namespace tool
