// Path texts by the rules of Windows, which apply on every platform: the functions that split and join paths,
// compared with models that treat a path as parts between separators.
#include <vector>

#include "input.h"

namespace {

size_t tail_of(const std::string& path) {
    const size_t last = path.find_last_of("\\/");
    return last == std::string::npos ? 0 : last + 1;
}

// Turns "C:\\dir\\f" into "C:\\dir"; roots keep their separator.
std::string directory_of(const std::string& path) {
    const size_t tail = tail_of(path);
    const std::string head = path.substr(0, tail);
    if (head.size() <= 1 || (head.size() == 3 && head[1] == ':'))
        return head;
    return head.substr(0, tail - 1);
}

std::string trimmed(const std::string& path) {
    const bool separated = !path.empty() && (path.back() == '\\' || path.back() == '/');
    return path.substr(0, path.size() - (separated ? 1 : 0));
}

void append(std::string& path, const std::string& part) {
    path += path.empty() || path.back() == '\\' || part.empty() ? "" : "\\";
    path += part;
}

void check_cuts(const std::string& path) {
    CHECK(wiq_basename(path.c_str()) == path.c_str() + tail_of(path));
    CHECK(wiq_filename_only(path.c_str()) == (path.find_first_of("\\/") == std::string::npos));
    CHECK(wiq_is_abs_path(path.c_str()) ==
          (!path.empty() && (path[0] == '\\' || (path.size() > 1 && path[1] == ':'))));
    std::vector<char> text(path.c_str(), path.c_str() + path.size() + 1);
    CHECK(wiq_dirname(text.data()) == text.data());
    CHECK(directory_of(path) == text.data());
    text.assign(path.c_str(), path.c_str() + path.size() + 1);
    wiq_trim_dirsep(text.data());
    CHECK(trimmed(path) == text.data());
}

void check_joins(const std::string& first, const std::string& second) {
    char* joined = wiq_build_path(first.c_str(), second.c_str());
    CHECK(joined == trimmed(first) + "\\" + second);
    free(joined);
    std::string model;
    wiq_strbuf buf;
    CHECK(wiq_strbuf_init(&buf, 1) == 0);
    for (const std::string& part : {first, second, first}) {
        const size_t before = model.size();
        append(model, part);
        CHECK(wiq_append_path(&buf, part.c_str()) == static_cast<i32>(model.size() - before));
    }
    // Append parts that are in the buffer, which is reallocated meanwhile: a tail of it, and all of it.
    const std::string now = model;
    const std::string tail = now.substr(now.size() / 2);
    append(model, tail);
    append(model, second);
    append(model, now);
    CHECK(wiq_append_paths(&buf, 3, buf.data + now.size() / 2, second.c_str(), buf.data) ==
          static_cast<i32>(model.size() - now.size()));
    CHECK(buf.len == model.size());
    CHECK(model == (buf.data == nullptr ? "" : buf.data));
    wiq_strbuf_finalize(&buf);
}

// Valid UTF-8 survives both conversions; in other text, U+FFFD replaces what is invalid.
void check_conversion(const std::string& text) {
    u32 err = 7;
    wchar_t* wide = widen(text.c_str(), &err);
    CHECK(wide != nullptr && err == 0);
    char* again = narrow(wide, &err);
    CHECK(again != nullptr && err == 0);
    CHECK(text == again || strstr(again, "\xEF\xBF\xBD") != nullptr);
    const wchar_t* const items[] = {wide, L"x", wide};
    char** array = narrow_array(3, items, &err);
    CHECK(array != nullptr && strcmp(array[0], again) == 0 && strcmp(array[2], again) == 0);
    free_narrow_array(3, array, &err);
    free(again);
    free(wide);
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Input input(data, size);
    const std::string first = input.line().c_str();
    const std::string second = input.rest().c_str();
    check_cuts(first);
    check_cuts(second);
    check_joins(first, second);
    check_conversion(first);
    return 0;
}
