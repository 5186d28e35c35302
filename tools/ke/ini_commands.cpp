// ke ini to-json, get, set, remove, sections, keys: read and edit INI files, and convert them to JSON.
#include <algorithm>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "ini_file.h"
#include "ini_json.h"
#include "ke_utils.h"

namespace tool {

namespace {

struct IniArgs {
    std::vector<std::string> words;
    std::string file;
    IniName name;
    std::string key, value;
    Layout layout;
};

// Output lines without duplicates. The output itself serves as the set of known lines: a table holds where
// each line starts, so a line takes little more memory than its text.
class Lines {
  public:
    void add(std::string_view line) {
        if ((count_ + 1) * 4 > slots_.size() * 3)
            grow();
        u32& slot = slot_of(line);
        if (slot != kFree)
            return;
        slot = static_cast<u32>(text_.size());
        text_.append(line).append("\n");
        ++count_;
    }
    const std::string& text() const { return text_; }

  private:
    static constexpr u32 kFree = 0xFFFFFFFF;

    std::string_view line_at(size_t start) const {
        return std::string_view(text_).substr(start, text_.find('\n', start) - start);
    }

    // Returns the slot that holds the start of this line, or the free slot where it belongs.
    u32& slot_of(std::string_view line) {
        size_t at = std::hash<std::string_view>()(line) & (slots_.size() - 1);
        while (slots_[at] != kFree && line_at(slots_[at]) != line)
            at = (at + 1) & (slots_.size() - 1);
        return slots_[at];
    }

    void grow() {
        slots_.assign(std::max<size_t>(64, slots_.size() * 2), kFree);
        for (size_t start = 0; start < text_.size(); start = text_.find('\n', start) + 1)
            slot_of(line_at(start)) = static_cast<u32>(start);
    }

    std::string text_;
    std::vector<u32> slots_;
    size_t count_ = 0;
};

int to_json(const IniArgs& args, const Common& common) {
    const Input input = read_text(args.file, common);
    const IniTree tree(input);
    Sink sink(common, "");
    JsonWriter writer(sink, args.layout);
    tree.write(writer, args.layout.sort_keys);
    writer.end_document();
    sink.finish();
    return kExitOk;
}

int get_value(const IniArgs& args, const Common& common) {
    const Input input = read_text(args.file, common);
    std::optional<std::string_view> found;
    bool inside = false;
    scan_ini(
        input, [&](const IniSection& section) { inside = args.name.fits(section); },
        [&](const IniKey& key) {
            if (inside && key.name == args.key)
                found = key.value;  // the last one counts
        });
    if (!found)
        throw failure(input.name + ": " + args.name.header() + " " + args.key,
                      WIQ_ERR_KEY_NOT_FOUND);
    write_output(std::string(*found) + "\n", common);
    return kExitOk;
}

void write_edited(const std::string& text, const Input& input, const Common& common) {
    Sink sink(common, input.path);
    sink.encode_as(input.encoding);
    sink.write(text);
    sink.finish();
}

int set_value(const IniArgs& args, const Common& common) {
    const Input input = read_text(args.file, common);
    write_edited(set_in_ini(input, args.name, args.key, args.value), input, common);
    return kExitOk;
}

int remove_value(const IniArgs& args, const Common& common) {
    const Input input = read_text(args.file, common);
    write_edited(remove_from_ini(input, args.name, args.key), input, common);
    return kExitOk;
}

int list_sections(const IniArgs& args, const Common& common) {
    const Input input = read_text(args.file, common);
    Lines lines;
    scan_ini(
        input,
        [&](const IniSection& section) {
            std::string line(section.name);
            if (section.argument)
                line.append("\t").append(*section.argument);
            lines.add(line);
        },
        [](const IniKey&) {});
    write_output(lines.text(), common);
    return kExitOk;
}

int list_keys(const IniArgs& args, const Common& common) {
    const Input input = read_text(args.file, common);
    Lines lines;
    bool inside = false;
    bool found = false;
    scan_ini(
        input,
        [&](const IniSection& section) {
            inside = args.name.fits(section);
            found = found || inside;
        },
        [&](const IniKey& key) {
            if (inside)
                lines.add(key.name);
        });
    if (!found)
        throw failure(input.name + ": " + args.name.header(), WIQ_ERR_KEY_NOT_FOUND);
    write_output(lines.text(), common);
    return kExitOk;
}

CLI::App* add_command(CLI::App& ini, Session& session, const std::shared_ptr<IniArgs>& args,
                      const char* name, const char* help,
                      int (*run)(const IniArgs& args, const Common& common)) {
    CLI::App* command = ini.add_subcommand(name, help);
    command->callback([args, run, &session] {
        session.action = [args, run, &session] { return run(*args, session.common); };
    });
    return command;
}

void add_section(CLI::App& command, IniArgs& args) {
    command.add_option("section", args.name.section, "The section's name")
        ->type_name("SECTION")
        ->required();
    command
        .add_option_function<std::string>(
            "-a,--argument",
            [&args](const std::string& argument) { args.name.argument = argument; },
            "The section's argument, as in [section \"argument\"]")
        ->type_name("TEXT");
}

// Accepts SECTION KEY [FILE], or SECTION ARGUMENT KEY FILE; with -f, SECTION [ARGUMENT] KEY.
void read_words(IniArgs& args) {
    std::vector<std::string> words = args.words;
    if (args.file.empty() && words.size() > 2) {
        args.file = words.back();
        words.pop_back();
        if (args.file.empty())
            throw CLI::ValidationError("FILE", "the name of the file is empty");
    }
    if (words.size() > 3 || (words.size() == 3 && args.name.argument))
        throw CLI::ExtrasError({words.back()});
    args.name.section = words.front();
    args.key = words.back();
    if (words.size() == 3)
        args.name.argument = words[1];
}

void add_get(CLI::App& ini, Session& session) {
    auto args = std::make_shared<IniArgs>();
    CLI::App* command = ini.add_subcommand("get", "Print the value of a key");
    command
        ->add_option("words", args->words,
                     "SECTION KEY [FILE], or SECTION ARGUMENT KEY FILE; \"-\" or nothing is "
                     "standard input")
        ->type_name("SECTION [ARGUMENT] KEY [FILE]")
        ->required()
        ->expected(2, 4);
    command
        ->add_option_function<std::string>(
            "-a,--argument",
            [args](const std::string& argument) { args->name.argument = argument; },
            "The section's argument, as in [section \"argument\"]")
        ->type_name("TEXT");
    command
        ->add_option("-f,--file", args->file,
                     "The file to read, given here and not after the words")
        ->type_name("FILE")
        ->transform(CLI::Validator(refuse_empty, ""));
    command->callback([args, &session] {
        read_words(*args);
        session.action = [args, &session] { return get_value(*args, session.common); };
    });
}

void add_edits(CLI::App& ini, Session& session) {
    auto set = std::make_shared<IniArgs>();
    CLI::App* command =
        add_command(ini, session, set, "set",
                    "Store the value of a key, and leave every other byte", set_value);
    add_section(*command, *set);
    command->add_option("key", set->key, "The key")->type_name("KEY")->required();
    command->add_option("value", set->value, "The value")->type_name("VALUE")->required();
    add_input(*command, set->file);
    add_in_place(*command, session);

    auto remove = std::make_shared<IniArgs>();
    command = add_command(ini, session, remove, "remove",
                          "Remove a key, and leave every other byte", remove_value);
    add_section(*command, *remove);
    command->add_option("key", remove->key, "The key; \"\" is the whole section")
        ->type_name("KEY")
        ->required();
    add_input(*command, remove->file);
    add_in_place(*command, session);
}

}  // namespace

void add_ini_commands(CLI::App& app, Session& session) {
    CLI::App* ini = app.add_subcommand("ini", "Work on an INI file");
    ini->require_subcommand(1);

    auto convert = std::make_shared<IniArgs>();
    CLI::App* command = add_command(*ini, session, convert, "to-json",
                                    "Print the file as a JSON document", to_json);
    add_input(*command, convert->file);
    add_layout(*command, convert->layout);

    add_get(*ini, session);
    add_edits(*ini, session);

    auto sections = std::make_shared<IniArgs>();
    command =
        add_command(*ini, session, sections, "sections",
                    "Print the sections, each followed by a tab and its argument", list_sections);
    add_input(*command, sections->file);

    auto keys = std::make_shared<IniArgs>();
    command = add_command(*ini, session, keys, "keys", "Print the keys of a section", list_keys);
    add_section(*command, *keys);
    add_input(*command, keys->file);
}

}  // namespace tool
