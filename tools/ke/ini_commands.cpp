// ke ini to-json, get: INI files through the library's callback parser.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "json_text.h"
#include "ke_utils.h"
#include "platform.h"

namespace tool {

namespace {

// A stream over a text in memory, since the parser reads streams: standard input and files alike become
// one, and the text stays at hand for messages.
class TextStream {
  public:
    explicit TextStream(std::string_view text) : stream_(scratch_file()) {
        if (stream_ == nullptr)
            throw failure("a temporary file", WIQ_ERR_IO);
        if (fwrite(text.data(), 1, text.size(), stream_) != text.size()) {
            fclose(stream_);
            throw failure("a temporary file", WIQ_ERR_IO);
        }
        rewind(stream_);
    }
    TextStream(const TextStream&) = delete;
    TextStream& operator=(const TextStream&) = delete;
    ~TextStream() { fclose(stream_); }

    FILE* get() { return stream_; }

  private:
    FILE* stream_;
};

// Parses, and shows a mistake where it stands.
void parse_ini(const Input& input, WiqIniSectionFn on_section, WiqIniKeyFn on_key, void* user) {
    struct Handler {
        WiqIniSectionFn on_section;
        WiqIniKeyFn on_key;
        void* user;
        WiqIniLocation mistake;
    };
    Handler handler = {on_section, on_key, user, {}};
    TextStream stream(input.bytes);
    const i32 status = wiq_ini_parse(
        stream.get(),
        [](const char* name, const WiqIniLocation* name_location, const char* argument,
           const WiqIniLocation* argument_location, void* self) {
            auto* h = static_cast<Handler*>(self);
            return h->on_section(name, name_location, argument, argument_location, h->user);
        },
        [](const char* key, const WiqIniLocation* key_location, const char* value,
           const WiqIniLocation* value_location, void* self) {
            auto* h = static_cast<Handler*>(self);
            return h->on_key(key, key_location, value, value_location, h->user);
        },
        [](const WiqIniLocation* location, void* self) {
            static_cast<Handler*>(self)->mistake = *location;
        },
        &handler);
    if (status == WIQ_ERR_INI_SYNTAX) {
        size_t offset = 0;
        for (u32 line = 1; line < handler.mistake.line; ++line)
            offset = input.bytes.find('\n', offset) + 1;
        throw failure_at(input.name, input.bytes, offset + handler.mistake.column - 1, status);
    }
    check(input.name, status);
}

// {section: {key: value}}, and {section: {argument: {key: value}}} for sections with an argument.
struct Builder {
    wiq_json_t* root;
    wiq_json_t* section;
};

i32 build_section(const char* name, const WiqIniLocation*, const char* argument,
                  const WiqIniLocation*, void* user) {
    auto* builder = static_cast<Builder*>(user);
    u32 err = 0;
    builder->section = wiq_json_obj_getd_obj(builder->root, name, &err);
    if (argument != nullptr)
        builder->section = wiq_json_obj_getd_obj(builder->section, argument, &err);
    return static_cast<i32>(err);
}

i32 build_key(const char* key, const WiqIniLocation*, const char* value, const WiqIniLocation*,
              void* user) {
    u32 err = 0;
    wiq_json_obj_put_str(static_cast<Builder*>(user)->section, key, value, &err);
    return static_cast<i32>(err);
}

int to_json(const std::string& file, const Session& session) {
    const Input input = read_input(file, session.common);
    const Json root(wiq_json_obj_new(0, nullptr));
    Builder builder = {root.get(), nullptr};
    parse_ini(input, build_section, build_key, &builder);
    write_output(dump_json(root.get(), WIQ_JSON_DUMP_PRETTY | WIQ_JSON_DUMP_SORT_KEYS) + "\n",
                 input, session.common);
    return kExitOk;
}

// What `ke ini get` looks for, and what it found.
struct Search {
    std::string section, argument, key;
    bool in_section = false;
    bool found = false;
    std::string value;
};

i32 search_section(const char* name, const WiqIniLocation*, const char* argument,
                   const WiqIniLocation*, void* user) {
    auto* search = static_cast<Search*>(user);
    search->in_section =
        search->section == name && search->argument == (argument == nullptr ? "" : argument);
    return 0;
}

i32 search_key(const char* key, const WiqIniLocation*, const char* value, const WiqIniLocation*,
               void* user) {
    auto* search = static_cast<Search*>(user);
    if (search->in_section && search->key == key) {
        search->found = true;
        search->value = value;  // the last one counts
    }
    return 0;
}

int get_value(const std::vector<std::string>& words, const std::string& file,
              const Session& session) {
    Search search;
    search.section = words.front();
    search.key = words.back();
    if (words.size() == 3)
        search.argument = words[1];
    const Input input = read_input(file, session.common);
    parse_ini(input, search_section, search_key, &search);
    if (!search.found)
        throw failure(input.name + ": [" + search.section +
                          (search.argument.empty() ? "" : " \"" + search.argument + "\"") + "] " +
                          search.key,
                      WIQ_ERR_KEY_NOT_FOUND);
    write_output(search.value + "\n", input, session.common);
    return kExitOk;
}

}  // namespace

void add_ini_commands(CLI::App& app, Session& session) {
    CLI::App* ini = app.add_subcommand("ini", "Read an INI file");
    ini->require_subcommand(1);

    auto file = std::make_shared<std::string>();
    CLI::App* convert = ini->add_subcommand("to-json", "Print the file as a JSON document");
    add_input(*convert, *file);
    convert->callback([file, &session] {
        session.action = [file, &session] { return to_json(*file, session); };
    });

    auto words = std::make_shared<std::vector<std::string>>();
    CLI::App* get = ini->add_subcommand("get", "Print the value of a key");
    get->add_option("words", *words, "SECTION KEY, or SECTION ARGUMENT KEY")
        ->type_name("SECTION [ARGUMENT] KEY")
        ->required()
        ->expected(2, 3);
    get->add_option("-f,--file", *file, "The file to read; \"-\" or nothing is standard input")
        ->type_name("FILE");
    get->callback([words, file, &session] {
        session.action = [words, file, &session] { return get_value(*words, *file, session); };
    });
}

}  // namespace tool
