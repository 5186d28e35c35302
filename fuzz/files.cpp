// A script of operations on files and folders, compared with a model of the folder's contents. It runs in a
// separate folder, which is empty again afterwards.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <optional>

#include "script.h"

namespace {

// Maps a path, relative to the folder and with "/", to a file's content, or to nothing for a folder.
using Tree = std::map<std::string, std::optional<std::string>>;

const std::string& base() {
    static const std::string* const path = [] {
        std::string name = (std::filesystem::temp_directory_path() / "ke-fuzz-XXXXXX").string();
        CHECK(mkdtemp(name.data()) != nullptr);
        // Never destroyed, so that it is still valid when the program ends.
        atexit([] { rmdir(base().c_str()); });
        return new std::string(name);
    }();
    return *path;
}

class Run {
  public:
    void step(const Op& op) {
        const std::string a = path_of(op.a);
        const std::string b = path_of(op.b);
        switch (op.code % 9) {
            case 0:
            case 1:
                make(a);
                break;
            case 2:
                write(a, std::string(op.c % 130, static_cast<char>('a' + op.d % 4)));
                break;
            case 3:
                read(a, op.c % 8);
                break;
            case 4:
                remove_folder(a);
                break;
            case 5:
                remove_file(a);
                break;
            case 6:
                rename(a, b);
                break;
            case 7:
                temporary(a);
                break;
            default:
                lines(a);
        }
        CHECK((wiq_access(real(a).c_str(), 0) == 0) == (tree_.count(a) != 0));
    }
    // Checks that everything in the model exists, and nothing else does.
    void check() const {
        size_t count = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(base())) {
            const auto found = tree_.find(entry.path().string().substr(base().size() + 1));
            CHECK(found != tree_.end());
            CHECK(entry.is_directory() == !found->second);
            ++count;
        }
        CHECK(count == tree_.size());
    }

  private:
    // Makes a path of up to three parts from three names.
    static std::string path_of(u8 operand) {
        std::string path(1, static_cast<char>('a' + operand % 3));
        if (operand / 3 % 3 != 0)
            path += std::string("/") + static_cast<char>('a' + operand / 9 % 3);
        if (operand / 3 % 3 == 2)
            path += std::string("/") + static_cast<char>('a' + operand / 27 % 3);
        return path;
    }
    // Returns the path as callers write it: with the separator of Windows.
    static std::string real(const std::string& path) {
        std::string text = base() + "\\" + path;
        std::replace(text.begin() + static_cast<ptrdiff_t>(base().size()), text.end(), '/', '\\');
        return text;
    }
    bool is_folder(const std::string& path) const {
        const auto found = tree_.find(path);
        return path.empty() || (found != tree_.end() && !found->second);
    }
    bool is_file(const std::string& path) const {
        return tree_.count(path) != 0 && !is_folder(path);
    }
    static std::string above(const std::string& path) {
        const size_t slash = path.rfind('/');
        return slash == std::string::npos ? "" : path.substr(0, slash);
    }
    bool has_children(const std::string& path) const {
        const auto next = tree_.upper_bound(path + "/");
        return next != tree_.end() && next->first.compare(0, path.size() + 1, path + "/") == 0;
    }

    void make(const std::string& path) {
        i32 expected = tree_.count(path) == 0 ? 0
                       : is_folder(path)      ? WIQ_ERR_ALREADY_EXISTS
                                              : WIQ_ERR_PATH_NOT_FOUND;
        for (std::string parent = above(path); !parent.empty(); parent = above(parent)) {
            if (is_file(parent))
                expected = WIQ_ERR_PATH_NOT_FOUND;
        }
        CHECK(wiq_mkdir(real(path).c_str()) == expected);
        for (std::string at = path; expected == 0 && !at.empty(); at = above(at))
            tree_[at] = std::nullopt;
    }
    void write(const std::string& path, const std::string& content) {
        u32 err = 7;
        FILE* fp = wiq_fopen(real(path).c_str(), "wb", &err);
        const bool good = is_folder(above(path)) && !is_folder(path);
        CHECK((fp != nullptr) == good);
        CHECK(static_cast<i32>(err) == (good              ? 0
                                        : is_folder(path) ? WIQ_ERR_ACCESS_DENIED
                                                          : WIQ_ERR_NOT_FOUND));
        if (fp != nullptr) {
            fwrite(content.data(), 1, content.size(), fp);
            fclose(fp);
            tree_[path] = content;
        }
    }
    void read(const std::string& path, size_t pad) const {
        void* block = nullptr;
        const i32 size = wiq_load_file(real(path).c_str(), &block, pad);
        if (is_file(path)) {
            const std::string& content = *tree_.at(path);
            CHECK(size ==
                  (content.empty() ? WIQ_ERR_FILE_EMPTY : static_cast<i32>(content.size())));
            CHECK((block == nullptr) == content.empty());
            const size_t full = pad == 0 ? content.size() : (content.size() / pad + 1) * pad;
            for (size_t i = 0; i < full && block != nullptr; ++i)
                CHECK(static_cast<char*>(block)[i] == (i < content.size() ? content[i] : '\0'));
        } else {
            CHECK(size == (is_folder(path) ? WIQ_ERR_ACCESS_DENIED : WIQ_ERR_NOT_FOUND));
        }
        free(block);
    }
    void lines(const std::string& path) const {
        FILE* fp = wiq_fopen(real(path).c_str(), "r", nullptr);
        if (fp == nullptr)
            return;
        char* line = nullptr;
        size_t room = 0;
        std::string all;
        i32 length = 0;
        while ((length = wiq_getline(&line, &room, fp)) >= 0)
            all.append(line, static_cast<size_t>(length));
        CHECK(length == WIQ_ERR_EOF && all == *tree_.at(path));
        free(line);
        fclose(fp);
    }
    void remove_folder(const std::string& path) {
        const bool good = tree_.count(path) != 0 && is_folder(path) && !has_children(path);
        CHECK(wiq_rmdir(real(path).c_str()) == (good ? 0 : WIQ_ERR_IO));
        if (good)
            tree_.erase(path);
    }
    void remove_file(const std::string& path) {
        const i32 status = wiq_unlink(real(path).c_str());
        CHECK(status == (is_file(path)     ? 0
                         : is_folder(path) ? WIQ_ERR_ACCESS_DENIED
                                           : WIQ_ERR_NOT_FOUND));
        if (status == 0)
            tree_.erase(path);
    }
    void rename(const std::string& from, const std::string& to) {
        const bool there = tree_.count(from) != 0;
        const bool inside = to.compare(0, from.size() + 1, from + "/") == 0;
        const bool free = tree_.count(to) == 0 && is_folder(above(to)) && !inside;
        const bool good = there && (from == to || free);
        const i32 status = wiq_rename(real(from).c_str(), real(to).c_str());
        CHECK((status == 0) == good);
        if (status != 0 || from == to)
            return;
        Tree moved;
        for (auto entry = tree_.begin(); entry != tree_.end();) {
            const bool below = entry->first.compare(0, from.size() + 1, from + "/") == 0;
            if (below || entry->first == from) {
                moved[to + entry->first.substr(from.size())] = entry->second;
                entry = tree_.erase(entry);
            } else {
                ++entry;
            }
        }
        tree_.insert(moved.begin(), moved.end());
    }
    // Creates a file with a new name, and removes it again.
    void temporary(const std::string& path) const {
        std::string name = real(path) + "\\XXXXXX";
        u32 err = 7;
        FILE* fp = wiq_mkstemp(name.data(), &err, "w+b");
        CHECK((fp != nullptr) == is_folder(path));
        if (fp == nullptr)
            return;
        CHECK(err == 0 && name.find("XXXXXX") == std::string::npos);
        fclose(fp);
        CHECK(wiq_unlink(name.c_str()) == 0);
    }

    Tree tree_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Run run;
    Script script = script_of(data, size);
    script.resize(std::min<size_t>(script.size(), 40));
    for (const Op& op : script)
        run.step(op);
    run.check();
    for (const auto& entry : std::filesystem::directory_iterator(base()))
        std::filesystem::remove_all(entry.path());
    return 0;
}
