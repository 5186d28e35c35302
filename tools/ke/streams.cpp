// See streams.h. Pieces of 64 KiB, so that progress is smooth and memory grows with what is really there.
#include "streams.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "failure.h"
#include "ke_utils.h"
#include "platform.h"

namespace tool {

namespace {

constexpr size_t kPiece = size_t{64} * 1024;
constexpr size_t kShowProgressFrom = size_t{1024} * 1024;

struct CloseFile {
    void operator()(FILE* fp) const { fclose(fp); }
};
using File = std::unique_ptr<FILE, CloseFile>;

// "ke: reading report.json 42 % 310 MB/s", rewritten in place; only where a person looks at it.
class Progress {
  public:
    Progress(const char* verb, const std::string& name, size_t total, const Common& common)
        : verb_(verb),
          name_(name),
          total_(total),
          shown_(!common.quiet && stderr_is_terminal()),
          start_(std::chrono::steady_clock::now()) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() {
        if (drawn_)
            fputs("\r\033[K", stderr);
    }

    void at(size_t done) {
        if (!shown_ || done < next_)
            return;
        next_ = done + kShowProgressFrom;
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start_;
        const double mb = static_cast<double>(done) / 1e6;
        const double rate = passed.count() > 0 ? mb / passed.count() : 0;
        if (total_ != 0) {
            fprintf(stderr, "\r\033[Kke: %s %s %3.0f %% %.0f MB/s", verb_, name_.c_str(),
                    100.0 * static_cast<double>(done) / static_cast<double>(total_), rate);
        } else {
            fprintf(stderr, "\r\033[Kke: %s %s %.0f MB %.0f MB/s", verb_, name_.c_str(), mb, rate);
        }
        fflush(stderr);
        drawn_ = true;
    }

  private:
    const char* verb_;
    const std::string& name_;
    size_t total_;
    bool shown_;
    bool drawn_ = false;
    size_t next_ = kShowProgressFrom;
    std::chrono::steady_clock::time_point start_;
};

// The size of a file that can be measured, else 0.
size_t size_of(FILE* fp) {
    if (fseek(fp, 0, SEEK_END) != 0)
        return 0;
    const long end = ftell(fp);
    rewind(fp);
    return end > 0 ? static_cast<size_t>(end) : 0;
}

void read_all(FILE* fp, Input& input, size_t total, const Common& common) {
    Progress progress("reading", input.name, total, common);
    input.bytes.reserve(total);
    std::vector<char> piece(kPiece);
    for (;;) {
        const size_t n = fread(piece.data(), 1, piece.size(), fp);
        input.bytes.append(piece.data(), n);
        progress.at(input.bytes.size());
        if (n < piece.size())
            break;
    }
    if (ferror(fp) != 0)
        throw failure(input.name, WIQ_ERR_IO);
}

void write_all(FILE* fp, std::string_view text, const std::string& name, const Common& common) {
    Progress progress("writing", name, text.size(), common);
    for (size_t done = 0; done < text.size();) {
        const std::string_view piece = text.substr(done, kPiece);
        if (fwrite(piece.data(), 1, piece.size(), fp) != piece.size())
            throw failure(name, WIQ_ERR_IO);
        done += piece.size();
        progress.at(done);
    }
    if (fflush(fp) != 0)
        throw failure(name, WIQ_ERR_IO);
}

// A file that is gone again unless it was moved to its place.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::string& beside) : name_(beside + ".XXXXXX") {
        u32 err = 0;
        file_.reset(wiq_mkstemp(name_.data(), &err, "wb"));
        if (!file_)
            throw failure(beside, static_cast<i32>(err));
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        file_.reset();
        if (!moved_)
            wiq_unlink(name_.c_str());
    }

    FILE* stream() { return file_.get(); }

    void move_to(const std::string& path) {
        if (fclose(file_.release()) != 0)
            throw failure(path, WIQ_ERR_IO);
        check(path, replace_file(name_, path));
        moved_ = true;
    }

  private:
    std::string name_;
    File file_;
    bool moved_ = false;
};

}  // namespace

Input read_input(const std::string& argument, const Common& common) {
    Input input;
    if (argument.empty() || argument == "-") {
        input.name = "standard input";
        read_all(stdin, input, 0, common);
        return input;
    }
    input.name = argument;
    input.path = argument;
    u32 err = 0;
    const File file(wiq_fopen(argument.c_str(), "rb", &err));
    if (!file)
        throw failure(argument, static_cast<i32>(err));
    read_all(file.get(), input, size_of(file.get()), common);
    return input;
}

void write_output(std::string_view text, const Input& input, const Common& common) {
    if (common.in_place && input.path.empty())
        throw Failure{"ke: --in-place needs a file to replace", kExitUsage};
    const std::string& target = common.in_place ? input.path : common.output;
    if (target.empty() || target == "-") {
        write_all(stdout, text, "standard output", common);
        return;
    }
    TemporaryFile file(target);
    write_all(file.stream(), text, target, common);
    file.move_to(target);
}

}  // namespace tool
