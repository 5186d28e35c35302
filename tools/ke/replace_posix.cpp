// See replace_file.h. If the file system allows it (O_TMPFILE), the temporary file has no name until it is
// complete, so no file remains even if the program is killed. Otherwise a signal handler removes the file.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "failure.h"
#include "ke_utils/core.h"
#include "replace_file.h"

namespace tool {

void (*on_replacement_step)(const char* step) = nullptr;
bool temporary_is_named = false;

namespace {

constexpr int kTerminatingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGALRM, SIGXCPU, SIGXFSZ};

void step_done(const char* step) {
    if (on_replacement_step != nullptr)
        on_replacement_step(step);
}

Failure system_failure(const std::string& path, const char* action) {
    const int code = errno;
    return {path + ": " + action + ": " + strerror(code)};
}

// The name of the temporary file, as long as it must be removed if a signal ends the program.
char g_temporary[PATH_MAX];

void remove_temporary(int signal_number) {
    if (g_temporary[0] != '\0')
        unlink(g_temporary);
    signal(signal_number, SIG_DFL);
    raise(signal_number);
}

void remove_on_signal(const std::string& name) {
    if (name.size() >= sizeof(g_temporary))
        return;
    memcpy(g_temporary, name.c_str(), name.size() + 1);
    for (int number : kTerminatingSignals) {
        struct sigaction old = {};
        // A signal that was ignored when the program started stays ignored.
        if (sigaction(number, nullptr, &old) == 0 && old.sa_handler == SIG_DFL)
            signal(number, remove_temporary);
    }
}

void keep_on_signal() {
    g_temporary[0] = '\0';
}

// Blocks the signals that would end the program between naming the temporary file and renaming it.
class HeldSignals {
  public:
    HeldSignals() {
        sigset_t all;
        sigemptyset(&all);
        for (int number : kTerminatingSignals)
            sigaddset(&all, number);
        sigprocmask(SIG_BLOCK, &all, &before_);
    }
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;
    ~HeldSignals() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

  private:
    sigset_t before_ = {};
};

std::string folder_of(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// Returns the descriptor of this process that a path names, as /dev/stdout does at the end of its links;
// otherwise -1. The shell may have opened its file for appending, so the file must be neither replaced nor
// opened again.
int descriptor_at(const std::string& path) {
    if (path[0] != '/')
        return -1;
    struct Free {
        void operator()(char* block) const { free(block); }
    };
    const std::unique_ptr<char, Free> folder(realpath(folder_of(path).c_str(), nullptr));
    const std::string own = "/proc/" + std::to_string(getpid()) + "/fd";
    const std::string number = path.substr(path.rfind('/') + 1);
    if (!folder || own != folder.get() || number.empty() || number.size() > 9 ||
        number.find_first_not_of("0123456789") != std::string::npos)
        return -1;
    return atoi(number.c_str());
}

// Returns the file at the end of a chain of links; it need not exist.
std::string end_of_links(std::string path) {
    for (int links = 0; links < 40; ++links) {
        if (descriptor_at(path) >= 0)
            return path;
        char target[PATH_MAX];
        const ssize_t length = readlink(path.c_str(), target, sizeof(target));
        // What may be a link must not be replaced as if it were a file.
        if (length < 0 && errno != EINVAL && errno != ENOENT)
            throw system_failure(path, "cannot be written");
        if (length < 0)
            return path;
        const std::string text(target, static_cast<size_t>(length));
        path = text[0] == '/' ? text : folder_of(path).append("/").append(text);
    }
    throw Failure{path + ": too many links lead from one to the next"};
}

void write_fully(int fd, const std::string& path, const char* bytes, size_t size) {
    while (size != 0) {
        const ssize_t written = ::write(fd, bytes, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            throw system_failure(path, "cannot be written");
        bytes += written;
        size -= static_cast<size_t>(written);
    }
}

// Copies access lists and other attributes besides the mode, ignoring those that cannot be copied.
void copy_extended_attributes(const std::string& from, int to) {
    std::vector<char> names(
        static_cast<size_t>(std::max<ssize_t>(0, listxattr(from.c_str(), nullptr, 0))));
    const ssize_t length = listxattr(from.c_str(), names.data(), names.size());
    const size_t end = static_cast<size_t>(std::max<ssize_t>(0, length));
    for (size_t at = 0; at < end; at += strlen(&names[at]) + 1) {
        const char* name = &names[at];
        std::vector<char> value(
            static_cast<size_t>(std::max<ssize_t>(0, getxattr(from.c_str(), name, nullptr, 0))));
        const ssize_t size = getxattr(from.c_str(), name, value.data(), value.size());
        if (size >= 0)
            fsetxattr(to, name, value.data(), static_cast<size_t>(size), 0);
    }
}

}  // namespace

struct Replacement::State {
    std::string shown;   // as the user wrote it
    std::string target;  // the end of the links
    std::string temporary;
    int fd = -1;
    bool into = false;  // the target is not a regular file, so it is written into
    bool exists = false;
    bool unnamed = false;  // the temporary file has no name yet
    struct stat old = {};

    void inspect_target() {
        if (stat(target.c_str(), &old) != 0) {
            if (errno != ENOENT)
                throw system_failure(shown, "cannot be written");
            return;
        }
        exists = true;
        if (S_ISDIR(old.st_mode))
            throw Failure{shown + ": is a directory; name a file to write to"};
        into = !S_ISREG(old.st_mode);
        // The superuser may write to any file, but one that nobody may write to is meant to stay unchanged.
        if (access(target.c_str(), W_OK) != 0 || (!into && (old.st_mode & 0222) == 0))
            throw Failure{shown +
                          ": is read-only; make it writable first, or write to another "
                          "file with -o (WIQ_ERR_ACCESS_DENIED, -4)"};
    }

    void open_temporary() {
        const std::string folder = folder_of(target);
        // Until the file has the old file's mode and owner, nobody else may read it.
        const mode_t mode = exists ? 0600 : 0666;
        if (!temporary_is_named)
            fd = open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, mode);
        unnamed = fd >= 0;
        if (unnamed && access("/proc/self/fd", X_OK) != 0) {
            close(fd);  // without /proc it cannot be given a name
            unnamed = false;
            fd = -1;
        }
        for (int attempt = 0; fd < 0 && attempt < 1000; ++attempt) {
            temporary = name_beside(attempt);
            const HeldSignals held;
            fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
            if (fd >= 0)
                remove_on_signal(temporary);
            else if (errno != EEXIST)
                break;
        }
        if (fd < 0) {
            temporary.clear();
            if (errno == ENOENT || errno == ENOTDIR)
                throw failure(shown, WIQ_ERR_NOT_FOUND);
            throw system_failure(shown, "no temporary file can be made next to it");
        }
    }

    std::string name_beside(int attempt) const {
        const size_t slash = target.rfind('/') + 1;  // npos + 1 is 0
        return target.substr(0, slash) + ".ke-" + std::to_string(getpid()) + "-" +
               std::to_string(attempt);
    }

    // Gives the new file the mode, owner and attributes of the old one.
    void copy_metadata() const {
        if (!exists)
            return;
        copy_extended_attributes(target, fd);
        if (fchown(fd, old.st_uid, old.st_gid) != 0) {
            struct stat now = {};
            if (fstat(fd, &now) != 0 || now.st_uid != old.st_uid || now.st_gid != old.st_gid)
                throw Failure{shown +
                              ": belongs to another user or group, which the new file "
                              "could not; write to another file with -o"};
        }
        if (fchmod(fd, old.st_mode & 07777) != 0)
            throw system_failure(shown, "its mode cannot be kept");
    }

    void give_name() {
        const std::string link = "/proc/self/fd/" + std::to_string(fd);
        for (int attempt = 0; attempt < 1000; ++attempt) {
            const std::string name = name_beside(attempt);
            if (linkat(AT_FDCWD, link.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
                temporary = name;
                unnamed = false;
                return;
            }
            if (errno != EEXIST)
                break;
        }
        throw system_failure(shown, "cannot be replaced");
    }

    void move_to_target() {
        if (rename(temporary.c_str(), target.c_str()) != 0)
            throw system_failure(shown, "cannot be replaced");
        temporary.clear();
        keep_on_signal();
        step_done("renamed");
        const int folder = open(folder_of(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (folder >= 0) {
            fsync(folder);  // the name must be on the disk, too
            close(folder);
        }
    }
};

Replacement::Replacement(const std::string& path) : state_(std::make_unique<State>()) {
    state_->shown = path;
    std::string native = path;
    std::replace(native.begin(), native.end(), '\\', '/');  // as the library does
    state_->target = end_of_links(native);
    const int descriptor = descriptor_at(state_->target);
    if (descriptor >= 0) {
        state_->into = true;
        state_->fd = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        if (state_->fd < 0)
            throw system_failure(path, "cannot be written");
        return;
    }
    state_->inspect_target();
    if (state_->into) {
        state_->fd = open(state_->target.c_str(), O_WRONLY | O_CLOEXEC);
        if (state_->fd < 0)
            throw system_failure(path, "cannot be written");
        return;
    }
    state_->open_temporary();
    step_done("created");
}

Replacement::~Replacement() {
    if (state_->fd >= 0)
        close(state_->fd);
    if (!state_->temporary.empty()) {
        unlink(state_->temporary.c_str());
        keep_on_signal();
    }
}

void Replacement::write(const char* bytes, size_t size) {
    write_fully(state_->fd, state_->shown, bytes, size);
}

void Replacement::commit() {
    State& state = *state_;
    if (!state.into) {
        step_done("written");
        if (fsync(state.fd) != 0)
            throw system_failure(state.shown, "cannot be written");
        step_done("flushed");
        state.copy_metadata();
        step_done("metadata");
        const HeldSignals held;
        if (state.unnamed)
            state.give_name();
        step_done("named");
        state.move_to_target();
    }
    const int fd = state.fd;
    state.fd = -1;
    if (close(fd) != 0)
        throw system_failure(state.shown, "cannot be written");
}

}  // namespace tool
