// Schema files: the name of a command's file, and what is loaded from a file next to the program or one
// folder up, which must equal the parsed text.
#include <sys/stat.h>
#include <unistd.h>

#include "input.h"

namespace {

std::string name_of(const std::string& command, bool input) {
    std::string name = command + (input ? "_input.json" : "_output.json");
    for (char& c : name)
        c = c == '-' ? '_' : c;
    return name;
}

// A name that is unique to this process, since several may run at once.
std::string file_name() {
    return "fuzz-" + std::to_string(getpid());
}

struct Folder {
    Folder() {
        char* dir = wiq_install_dir();
        CHECK(dir != nullptr);
        path = dir;
        free(dir);
    }
    std::string path;
};

void check_file(const std::string& content, bool beside) {
    static const Folder program;
    const std::string folder = program.path + (beside ? "/schemas" : "/../schemas");
    mkdir(folder.c_str(), 0777);
    char* name = wiq_schema_filename(file_name().c_str(), true, nullptr);
    const std::string path = folder + "/" + name;
    FILE* fp = fopen(path.c_str(), "wb");
    CHECK(fp != nullptr);
    CHECK(fwrite(content.data(), 1, content.size(), fp) == content.size());
    fclose(fp);

    u32 err = 7;
    FILE* opened = wiq_schema_open(name, &err);
    CHECK(opened != nullptr && err == 0);
    wiq_json_load_error from_stream = {};
    wiq_json_t* expected = wiq_json_loadf(opened, 0, &from_stream);
    fclose(opened);
    wiq_json_t* schema = wiq_load_schema(name, &err);
    CHECK(static_cast<i32>(err) == from_stream.status);
    CHECK((schema != nullptr) == (expected != nullptr));
    if (schema != nullptr)
        CHECK(dump(schema, 0) == dump(expected, 0));
    wiq_json_unref(schema);
    wiq_json_unref(expected);

    CHECK(remove(path.c_str()) == 0);
    CHECK(wiq_load_schema(name, &err) == nullptr && static_cast<i32>(err) == WIQ_ERR_IO);
    CHECK(wiq_schema_open(name, &err) == nullptr && static_cast<i32>(err) == WIQ_ERR_NOT_FOUND);
    free(name);
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Input input(data, size);
    const u8 flags = input.byte();
    const std::string command = input.line().c_str();
    u32 err = 7;
    char* name = wiq_schema_filename(command.c_str(), (flags & 1) != 0, &err);
    CHECK(err == 0 && name == name_of(command, (flags & 1) != 0));
    free(name);
    check_file(input.rest(), (flags & 2) != 0);
    return 0;
}
