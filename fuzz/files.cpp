// A script of operations on files and folders, compared with a model of the folder's contents. It runs in a
// separate folder, which is empty again afterwards. If system calls fail, the status says so, and each file is as it
// was before the operation or as the operation leaves it.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>

#include "failing_calls.h"
#include "script.h"

using failing::faulty;
using failing::fired;

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
        if (op.code % 16 >= 9) {
            failing::prepare(op.a, op.b, op.c);
            if (op.d % 8 == 7)
                places(op);
            return;
        }
        const std::string a = path_of(op.a);
        const std::string b = path_of(op.b);
        switch (op.code % 16) {
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
    void check() const { CHECK(actual() == tree_); }

  private:
    // Returns the folder's contents.
    static Tree actual() {
        Tree tree;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(base())) {
            std::optional<std::string> content;
            if (!entry.is_directory()) {
                std::ifstream stream(entry.path(), std::ios::binary);
                content.emplace(std::istreambuf_iterator<char>(stream),
                                std::istreambuf_iterator<char>());
            }
            tree[entry.path().string().substr(base().size() + 1)] = content;
        }
        return tree;
    }
    // Called after an operation in which system calls have failed. Everything in the folder must be as it was before
    // the operation or as the operation should leave it; a path that exists in both states must still exist.
    void accept_either(const Tree& before, const Tree& after) {
        tree_ = actual();
        for (const auto& [path, content] : tree_) {
            const bool old = before.count(path) != 0 && before.at(path) == content;
            CHECK(old || (after.count(path) != 0 && after.at(path) == content));
        }
        for (const auto& [path, content] : before)
            CHECK(after.count(path) == 0 || tree_.count(path) != 0);
    }
    // Returns whether a function may return this status when a system call fails.
    static bool is_failure(i32 status) {
        return status == WIQ_ERR_IO || status == WIQ_ERR_ACCESS_DENIED ||
               status == WIQ_ERR_NOT_FOUND;
    }

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
        const bool parents_only = above(path).empty() ? false : path.back() == 'a';
        const std::string file = real(path) + "\\file";
        const i32 status = faulty([&] {
            return parents_only ? wiq_mkdir_parents(file.c_str()) : wiq_mkdir(real(path).c_str());
        });
        CHECK(status == expected ||
              (fired() && (status == 0 || status == WIQ_ERR_ALREADY_EXISTS ||
                           status == WIQ_ERR_PATH_NOT_FOUND || status == WIQ_ERR_ACCESS_DENIED ||
                           status == WIQ_ERR_IO)));
        // If a parent only seems to be missing, it is made again, which does no harm.
        CHECK(status == expected || failing::g_fired.size() != failing::g_fired.count("access"));
        Tree after = tree_;
        for (std::string at = path; expected == 0 && !at.empty(); at = above(at))
            after[at] = std::nullopt;
        if (fired())
            accept_either(tree_, after);
        else
            tree_ = after;
        CHECK(status != 0 || tree_ == after);
    }
    void write(const std::string& path, const std::string& content) {
        u32 err = 7;
        FILE* fp = faulty([&] { return wiq_fopen(real(path).c_str(), "wb", &err); });
        const bool good = is_folder(above(path)) && !is_folder(path);
        if (fired()) {
            CHECK((fp != nullptr) == (err == 0) && (err == 0 || is_failure(static_cast<i32>(err))));
            CHECK(fp == nullptr || good);
            // Opening empties the file before a later system call can fail.
            Tree after = tree_;
            if (good)
                after[path] = "";
            accept_either(tree_, after);
        } else {
            CHECK((fp != nullptr) == good);
            CHECK(static_cast<i32>(err) == (good              ? 0
                                            : is_folder(path) ? WIQ_ERR_ACCESS_DENIED
                                                              : WIQ_ERR_NOT_FOUND));
        }
        if (fp != nullptr) {
            fwrite(content.data(), 1, content.size(), fp);
            fclose(fp);
            tree_[path] = content;
        }
    }
    void read(const std::string& path, size_t pad) const {
        void* block = nullptr;
        const i32 size = faulty([&] { return wiq_load_file(real(path).c_str(), &block, pad); });
        // An empty file has been read, even if it could not be closed.
        const bool is_empty = is_file(path) && tree_.at(path)->empty();
        if (fired() && size < 0) {
            CHECK(is_failure(size) || (is_empty && size == WIQ_ERR_FILE_EMPTY));
        } else if (is_file(path)) {
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
        FILE* fp = faulty([&] { return wiq_fopen(real(path).c_str(), "r", nullptr); });
        CHECK((fp != nullptr) == is_file(path) || fired());
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
        const i32 status = faulty([&] { return wiq_rmdir(real(path).c_str()); });
        CHECK(status == (good && !fired() ? 0 : WIQ_ERR_IO));
        if (status == 0)
            tree_.erase(path);
        CHECK(!fired() || actual() == tree_);
    }
    void remove_file(const std::string& path) {
        const i32 status = faulty([&] { return wiq_unlink(real(path).c_str()); });
        CHECK(fired() ? is_failure(status)
                      : status == (is_file(path)     ? 0
                                   : is_folder(path) ? WIQ_ERR_ACCESS_DENIED
                                                     : WIQ_ERR_NOT_FOUND));
        if (status == 0)
            tree_.erase(path);
        CHECK(!fired() || actual() == tree_);
    }
    void rename(const std::string& from, const std::string& to) {
        const bool there = tree_.count(from) != 0;
        const bool inside = to.compare(0, from.size() + 1, from + "/") == 0;
        const bool free = tree_.count(to) == 0 && is_folder(above(to)) && !inside;
        const bool good = there && (from == to || free);
        const i32 status = faulty([&] { return wiq_rename(real(from).c_str(), real(to).c_str()); });
        // If the system reports that the new name exists, the library accepts a renaming to the same name.
        const bool believed = from == to && failing::g_reason == EEXIST;
        CHECK(fired() ? (status == 0 ? good || believed : is_failure(status))
                      : (status == 0) == good);
        if (status == 0 && from != to)
            tree_ = moved(from, to);
        if (!fired())
            return;
        // If neither the old name nor, after that, the new one could be removed, the file has both.
        Tree both = tree_;
        if (status != 0 && good && failing::g_fired.count("unlink") > 1 && is_file(from))
            both[to] = tree_.at(from);
        const Tree now = actual();
        CHECK(now == tree_ || now == both);
        // Remove one of the two names: a change to the file under one name would show under the other.
        if (now != tree_)
            CHECK(std::filesystem::remove(base() + "/" + to));
    }
    // Returns what the folder holds after a renaming.
    Tree moved(const std::string& from, const std::string& to) const {
        Tree tree;
        for (const auto& [path, content] : tree_) {
            const bool moves = path == from || path.compare(0, from.size() + 1, from + "/") == 0;
            tree[moves ? to + path.substr(from.size()) : path] = content;
        }
        return tree;
    }
    // Creates a file with a new name, and removes it again.
    void temporary(const std::string& path) const {
        std::string name = real(path) + "\\XXXXXX";
        u32 err = 7;
        FILE* fp = faulty([&] { return wiq_mkstemp(name.data(), &err, "w+b"); });
        CHECK(fp != nullptr ? is_folder(path) : !is_folder(path) || fired());
        if (fp == nullptr) {
            CHECK(is_failure(static_cast<i32>(err)));
            // The file stays only if it could not be removed.
            const bool left =
                failing::g_fired.count("fdopen") != 0 && failing::g_fired.count("unlink") != 0;
            CHECK(fired() ? left == (wiq_unlink(name.c_str()) == 0) : true);
            CHECK(!fired() || actual() == tree_);
            return;
        }
        CHECK(err == 0 && name.find("XXXXXX") == std::string::npos);
        fclose(fp);
        CHECK(wiq_unlink(name.c_str()) == 0);
    }

    // Calls functions on known folders, times and modules while system calls fail.
    static void places(const Op& op) {
        if (op.e % 8 < 3) {
            char* text = faulty(op.e % 8 == 0 ? wiq_install_dir : wiq_home_dir);
            CHECK((text == nullptr) == fired());
            free(text);
        } else if (op.e % 8 == 3) {
            struct tm now;
            CHECK(faulty([&] { return wiq_get_tm(&now); }) ==
                  (fired() ? WIQ_ERR_TIME_CONVERSION : 0));
        } else if (op.e % 8 == 4) {
            // The function continues to sleep after an interruption, so the failures must end at some point.
            failing::g_which %= 256;
            faulty([] {
                wiq_sleep_real(0);
                return 0;
            });
        } else if (op.e % 8 == 5) {
            u32 err = 7;
            CHECK(faulty([&] { return wiq_schema_open("no such schema.json", &err); }) == nullptr);
            CHECK(is_failure(static_cast<i32>(err)));
        } else {
            wiq_lib lib = {};
            const i32 status = faulty([&] { return wiq_dlopen_real("libm.so.6", &lib); });
            CHECK(status == (fired() ? WIQ_ERR_DLOPEN : 0));
            failing::prepare(op.a, op.b, op.c);
            void* symbol = nullptr;
            if (status == 0) {
                const i32 found = faulty([&] { return wiq_dlsym_real(&lib, "cos", &symbol); });
                CHECK(found == (fired() ? WIQ_ERR_DLSYM : 0) && (symbol == nullptr) == fired());
            }
            wiq_dlclose_real(&lib);
        }
    }

    Tree tree_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Run run;
    failing::prepare(0, 0, 0);
    Script script = script_of(data, size);
    script.resize(std::min<size_t>(script.size(), 40));
    for (const Op& op : script)
        run.step(op);
    run.check();
    for (const auto& entry : std::filesystem::directory_iterator(base()))
        std::filesystem::remove_all(entry.path());
    return 0;
}
