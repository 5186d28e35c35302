// Operations on paths and files for the target `starved`.
#pragma once

#include <unistd.h>

#include "starved.h"

namespace starved {

// Names of files and folders that are so long that translating them takes memory.
inline void use_paths(const Op& op) {
    const std::string name = "/nonexistent\\" + std::string(size_t{op.c} * 4, 'n');
    const std::string short_name = "/nonexistent\\n";
    // If a path cannot be translated, most functions report WIQ_ERR_ENCODING; wiq_access() grants the access, and
    // making a folder reports WIQ_ERR_NO_MEMORY.
    const i32 unlinked = starving([&] { return wiq_unlink(name.c_str()); });
    CHECK(unlinked == WIQ_ERR_NOT_FOUND || (unlinked == WIQ_ERR_ENCODING && g_fired));
    const i32 removed = starving([&] { return wiq_rmdir(name.c_str()); });
    CHECK(removed == WIQ_ERR_IO || (removed == WIQ_ERR_ENCODING && g_fired));
    const i32 accessed = starving([&] { return wiq_access(name.c_str(), 0); });
    CHECK(accessed == WIQ_ERR_ACCESS_DENIED || (accessed == 0 && g_fired));
    const bool long_target = op.d % 2 == 0;
    const i32 renamed = starving(
        [&] { return wiq_rename(name.c_str(), (long_target ? name + "x" : short_name).c_str()); });
    CHECK(renamed == WIQ_ERR_NOT_FOUND ||
          (g_fired && (renamed == WIQ_ERR_IO || renamed == WIQ_ERR_ENCODING)));
    CHECK(renamed != WIQ_ERR_ENCODING || long_target);
    u32 err = 0;
    CHECK(starving([&] { return wiq_fopen(name.c_str(), "r", &err); }) == nullptr);
    CHECK(static_cast<i32>(err) == WIQ_ERR_NOT_FOUND ||
          (static_cast<i32>(err) == WIQ_ERR_ENCODING && g_fired));
    // Nothing can be created below /dev/null.
    const std::string made = "/dev/null\\" + std::string(size_t{op.c} * 4, 'n');
    const i32 folder = starving([&] {
        return op.d % 4 < 2 ? wiq_mkdir(made.c_str())
                            : wiq_mkdir_parents((made + "\\file").c_str());
    });
    CHECK(folder == WIQ_ERR_PATH_NOT_FOUND || folder == WIQ_ERR_IO ||
          (folder == WIQ_ERR_NO_MEMORY && g_fired));
    wiq_lib lib = {};
    CHECK(starving([&] { return wiq_dlopen_real(name.c_str(), &lib); }) == WIQ_ERR_DLOPEN &&
          lib.errmsg == nullptr);
    for (const auto locate : {wiq_install_dir, wiq_home_dir}) {
        char* text = starving(locate);
        CHECK(text != nullptr || g_fired);
        free(text);
    }
    char* joined = starving([&] { return wiq_build_path("dir", "name"); });
    CHECK(joined == nullptr ? g_fired : strcmp(joined, "dir\\name") == 0);
    free(joined);
    joined = starving([&] { return wiq_schema_filename("a-b", true, &err); });
    CHECK((joined == nullptr) == (err != 0) &&
          !(is_starved(static_cast<i32>(err)) && joined != nullptr));
    free(joined);
    CHECK(starving([&] { return wiq_schema_open("no such schema.json", &err); }) == nullptr);
    CHECK(static_cast<i32>(err) == WIQ_ERR_NOT_FOUND ||
          (static_cast<i32>(err) == WIQ_ERR_NO_MEMORY && g_fired));
    const std::wstring wide(size_t{op.c} + 1, op.e % 2 == 0 ? L'w' : L'\u20ac');
    const wchar_t* items[] = {wide.c_str(), L"b", L"\U0001f600"};
    char** texts = starving([&] { return narrow_array(3, items, &err); });
    CHECK(texts == nullptr ? err == 8 && g_fired : err == 0 && strcmp(texts[1], "b") == 0);
    free_narrow_array(3, texts, nullptr);
    wchar_t* widened = starving([&] { return widen(std::string(op.c, '\xc3').c_str(), &err); });
    CHECK(widened == nullptr ? err == 8 && g_fired : wcslen(widened) == op.c);
    free(widened);
}

// Reads a file as a whole, line by line and as an INI file.
inline void use_file(const Op& op) {
    char name[] = "/tmp/ke-fuzz-XXXXXX";
    const int descriptor = mkstemp(name);
    CHECK(descriptor != -1);
    FILE* fp = fdopen(descriptor, "w+");
    CHECK(fp != nullptr);
    const std::string line(size_t{op.c} * (op.d % 2 == 0 ? 1 : 600), 'l');
    const std::string text = "[s]\nk=" + line + "v\nlast";
    CHECK(fwrite(text.data(), 1, text.size(), fp) == text.size() && fflush(fp) == 0);
    void* block = nullptr;
    const i32 size = starving([&] { return wiq_load_file(name, &block, op.e % 9); });
    CHECK(is_starved(size) ? block == nullptr
                           : text == std::string(static_cast<char*>(block), text.size()));
    free(block);
    rewind(fp);
    char* read = nullptr;
    size_t room = 0;
    std::string lines;
    bool lost = false;
    for (;;) {
        const i32 length = starving([&] { return wiq_getline(&read, &room, fp); });
        if (length == WIQ_ERR_EOF)
            break;
        if (is_starved(length))
            lost = true;
        else
            lines.append(read, static_cast<size_t>(length));
    }
    CHECK(lost || lines == text);
    free(read);
    rewind(fp);
    std::string seen;
    const i32 status = starving([&] {
        return wiq_ini_parse(
            fp, nullptr,
            [](const char* key, const WiqIniLocation*, const char* value, const WiqIniLocation*,
               void* user) {
                static_cast<std::string*>(user)->append(key).append(value);
                return i32{0};
            },
            nullptr, &seen);
    });
    // The last line is a syntax error.
    CHECK(status == WIQ_ERR_INI_SYNTAX ? seen == "k" + line + "v" : is_starved(status));
    fclose(fp);
    CHECK(unlink(name) == 0);
}

}  // namespace starved
