// ke json set, remove: commands that change one place of a document.
#include <cstdlib>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "json_text.h"
#include "ke_utils.h"

namespace tool {

namespace {

struct Args {
    std::string pointer, value, file;
};

void finish(wiq_json_t* root, const Input& input, const Session& session) {
    write_output(dump_json(root, WIQ_JSON_DUMP_PRETTY) + "\n", input, session.common);
}

int set_value(const Args& args, const Session& session) {
    const Input input = read_input(args.file, session.common);
    const Json root = parse_json(input.name, input.bytes);
    Json value = parse_json("VALUE", args.value);
    if (args.pointer.empty()) {
        // The empty pointer names the whole document, which has no place to be put into.
        finish(value.get(), input, session);
        return kExitOk;
    }
    check("pointer \"" + args.pointer + "\"",
          wiq_json_ptr_put(root.get(), args.pointer.c_str(), value.get()));
    (void)value.release();  // the document owns it now
    finish(root.get(), input, session);
    return kExitOk;
}

// The container of a node, found by the pointer of the node without its last step.
wiq_json_t* parent_of(wiq_json_t* root, wiq_json_t* node) {
    char* text = nullptr;
    check("the document", wiq_json_ptr(node, &text));
    std::string pointer(text);
    free(text);
    return find(root, pointer.substr(0, pointer.rfind('/')));
}

int remove_value(const Args& args, const Session& session) {
    const Input input = read_input(args.file, session.common);
    const Json root = parse_json(input.name, input.bytes);
    wiq_json_t* node = find(root.get(), args.pointer);
    if (node == root.get())
        throw Failure{"pointer \"" + args.pointer + "\": the whole document cannot be removed"};
    wiq_json_t* parent = parent_of(root.get(), node);
    if (const char* key = wiq_json_parent_key(node)) {
        check(input.name, wiq_json_obj_remove(parent, key));
    } else {
        // Filtering leaves no placeholder behind: the elements after it move up.
        const auto keep = [](wiq_json_t* elem, void* removed) { return elem != removed; };
        check(input.name, wiq_json_array_filter(parent, keep, node));
    }
    finish(root.get(), input, session);
    return kExitOk;
}

void add_set(CLI::App& json, Session& session) {
    auto args = std::make_shared<Args>();
    CLI::App* command = json.add_subcommand(
        "set", "Store a value where a JSON pointer names it, making the containers on the way");
    command
        ->add_option("pointer", args->pointer,
                     "A JSON pointer; \"-\" as a step appends to an array")
        ->type_name("POINTER")
        ->required();
    command->add_option("value", args->value, "The value, as JSON text")
        ->type_name("VALUE")
        ->required();
    add_input(*command, args->file);
    add_in_place(*command, session);
    command->callback([args, &session] {
        session.action = [args, &session] { return set_value(*args, session); };
    });
}

void add_remove(CLI::App& json, Session& session) {
    auto args = std::make_shared<Args>();
    CLI::App* command = json.add_subcommand("remove", "Remove the value that a JSON pointer names");
    command->add_option("pointer", args->pointer, "A JSON pointer")
        ->type_name("POINTER")
        ->required();
    add_input(*command, args->file);
    add_in_place(*command, session);
    command->callback([args, &session] {
        session.action = [args, &session] { return remove_value(*args, session); };
    });
}

}  // namespace

void add_json_edit_commands(CLI::App& json, Session& session) {
    add_set(json, session);
    add_remove(json, session);
}

}  // namespace tool
