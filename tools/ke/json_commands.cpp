// ke json format: rewrites a document in another layout without changing a value.
#include <memory>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "json_string.h"
#include "ke_utils/core.h"

namespace tool {

namespace {

struct FormatArgs {
    std::vector<std::string> files;
    Layout layout;
    bool several = false;
};

// Writes a number above 64 bits as {"u128":"digits"}.
void add_wide_number(JsonWriter& writer, Scanner& scanner) {
    const std::string digits(scanner.text());
    const Fit fit = fit_of(digits);
    const bool is_integer = digits.find_first_of(".eE") == std::string::npos;
    if (is_integer && fit == Fit::too_large)
        throw scanner.failure("the number " + digits + " has more than 128 bits or is below -2^63",
                              kExitNo);
    if (fit != Fit::u128)
        return writer.add(Token::number, digits);
    writer.add(Token::open_object, "{");
    writer.add(Token::key, "\"u128\"");
    writer.add(Token::string, "\"" + digits + "\"");
    writer.add(Token::close_object, "}");
}

// Formats documents token by token; memory grows only with their depth.
void format_in_stream(Scanner& scanner, Sink& sink, const Layout& layout) {
    JsonWriter writer(sink, layout);
    for (Token token = scanner.next(); token != Token::end; token = scanner.next()) {
        if (token == Token::number && layout.u128_as_object)
            add_wide_number(writer, scanner);
        else
            writer.add(token, scanner.text());
        if (scanner.depth() == 0)
            writer.end_document();
    }
}

// Sorting needs the whole document in memory, one document after the other. `room` is the expected size of a
// document's text in bytes.
void format_sorted(Scanner& scanner, Sink& sink, const Layout& layout, size_t room) {
    const std::string name = "the document";
    Layout tight;
    tight.compact = true;
    tight.u128_as_object = layout.u128_as_object;
    for (;;) {
        std::string text;
        text.reserve(room);
        Sink to_text(&text);
        JsonWriter writer(to_text, tight);
        Token token = scanner.next();
        for (; token != Token::end; token = scanner.next()) {
            if (token == Token::number && layout.u128_as_object)
                add_wide_number(writer, scanner);
            else
                writer.add(token, scanner.text());
            if (scanner.depth() == 0)
                break;
        }
        to_text.finish();
        if (token == Token::end)
            return;
        const Document document(name, text);
        JsonWriter sorted(sink, layout);
        write_value(sorted, document, document.root(), layout);
        sorted.end_document();
    }
}

int format(const FormatArgs& args, const Common& common) {
    std::vector<std::string> files = args.files;
    if (files.empty())
        files.emplace_back();
    if (common.in_place && files.size() > 1)
        throw Failure{"--in-place takes one FILE", kExitUsage};
    std::unique_ptr<Sink> sink;
    for (const std::string& file : files) {
        Source source(file, common);
        if (!sink)
            sink = std::make_unique<Sink>(common, source.path());
        if (common.in_place && source.more(source.begin()))
            sink->encode_as(source.encoding());  // not known before more()
        Scanner scanner(source, args.several);
        if (args.layout.sort_keys)
            format_sorted(scanner, *sink, args.layout,
                          args.several ? 0 : static_cast<size_t>(source.size()));
        else
            format_in_stream(scanner, *sink, args.layout);
        source.close();
    }
    sink->finish();
    return kExitOk;
}

void add_format(CLI::App& json, Session& session) {
    auto args = std::make_shared<FormatArgs>();
    CLI::App* command = json.add_subcommand("format", "Change the layout of a document");
    add_inputs(*command, args->files);
    add_layout(*command, args->layout);
    command->add_flag("--u128-as-object", args->layout.u128_as_object,
                      "Write a number above 64 bits as {\"u128\":\"digits\"}");
    add_json_lines(*command, args->several);
    add_in_place(*command, session);
    command->callback([args, &session] {
        session.action = [args, &session] { return format(*args, session.common); };
    });
}

}  // namespace

void add_json_commands(CLI::App& app, Session& session) {
    CLI::App* json = app.add_subcommand("json", "Work on a JSON document");
    json->require_subcommand(1);
    add_format(*json, session);
    add_json_get_command(*json, session);
    add_json_edit_commands(*json, session);
    add_json_report_commands(*json, session);
    add_json_expand_command(*json, session);
    add_json_compare_commands(*json, session);
}

}  // namespace tool
