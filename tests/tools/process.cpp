// See process.h.
#include "tools/process.h"

#include <uv.h>

#include <cstdio>
#include <cstdlib>

#include "ke_utils/files.h"
#include "support/pipes.h"

namespace {

// One end of a pipe, which is either read to its end, or written to and closed.
struct Channel {
    uv_pipe_t pipe;
    std::string text;
    char piece[4096];
};

void close_handle(uv_handle_t* handle) {
    if (uv_is_closing(handle) == 0)
        uv_close(handle, nullptr);
}

void give_room(uv_handle_t* handle, size_t, uv_buf_t* buf) {
    auto* channel = static_cast<Channel*>(handle->data);
    *buf = uv_buf_init(channel->piece, sizeof(channel->piece));
}

void take(uv_stream_t* stream, ssize_t count, const uv_buf_t* buf) {
    if (count >= 0)
        static_cast<Channel*>(stream->data)->text.append(buf->base, static_cast<size_t>(count));
    else
        close_handle(reinterpret_cast<uv_handle_t*>(stream));
}

struct Child {
    uv_process_t process;
    int64_t status = -1;
    int signal = 0;
};

void note_exit(uv_process_t* process, int64_t status, int signal) {
    auto* child = static_cast<Child*>(process->data);
    child->status = status;
    child->signal = signal;
    close_handle(reinterpret_cast<uv_handle_t*>(process));
}

uv_stdio_container_t as_stdio(Channel* channel, int flags) {
    uv_stdio_container_t container = {};
    container.flags = static_cast<uv_stdio_flags>(UV_CREATE_PIPE | flags);
    container.data.stream = reinterpret_cast<uv_stream_t*>(&channel->pipe);
    return container;
}

uv_stream_t* stream_of(Channel& channel) {
    return reinterpret_cast<uv_stream_t*>(&channel.pipe);
}

Outcome run_once(const std::string& name, const std::vector<std::string>& args,
                 const std::string& input, bool has_reader);

}  // namespace

std::string program_folder() {
    char* dir = wiq_install_dir();
    const std::string folder = dir == nullptr ? "" : dir;
    free(dir);
    return folder;
}

// A busy Wine occasionally fails to start a program, and succeeds the next time.
Outcome run_program(const std::string& name, const std::vector<std::string>& args,
                    const std::string& input, bool has_reader) {
    Outcome outcome = run_once(name, args, input, has_reader);
    for (int tries = 1; tries < 3 && outcome.err.rfind("not started", 0) == 0; ++tries)
        outcome = run_once(name, args, input, has_reader);
    return outcome;
}

namespace {

Outcome run_once(const std::string& name, const std::vector<std::string>& args,
                 const std::string& input, bool has_reader) {
    // A program that does not read its input may have ended before it is written.
    [[maybe_unused]] const NoPipeSignal quiet;
#ifdef _WIN32
    std::string program = program_folder() + "\\" + name + ".exe";
#else
    std::string program = program_folder() + "/" + name;
#endif
    std::vector<std::string> words = {program};
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    uv_loop_t loop;
    uv_loop_init(&loop);
    Channel in;
    Channel out;
    Channel err;
    for (Channel* channel : {&in, &out, &err}) {
        uv_pipe_init(&loop, &channel->pipe, 0);
        channel->pipe.data = channel;
    }
    uv_stdio_container_t stdio[] = {as_stdio(&in, UV_READABLE_PIPE),
                                    as_stdio(&out, UV_WRITABLE_PIPE),
                                    as_stdio(&err, UV_WRITABLE_PIPE)};
    uv_process_options_t options = {};
    options.file = program.c_str();
    options.args = argv.data();
    options.stdio = stdio;
    options.stdio_count = 3;
    options.exit_cb = note_exit;
    Child child;
    child.process.data = &child;
    uv_write_t write;
    const int started = uv_spawn(&loop, &child.process, &options);
    if (started == 0) {
        if (has_reader)
            uv_read_start(stream_of(out), give_room, take);
        else
            close_handle(reinterpret_cast<uv_handle_t*>(&out.pipe));
        uv_read_start(stream_of(err), give_room, take);
        uv_buf_t buf =
            uv_buf_init(const_cast<char*>(input.data()), static_cast<unsigned>(input.size()));
        uv_write(&write, stream_of(in), &buf, 1, [](uv_write_t* request, int) {
            close_handle(reinterpret_cast<uv_handle_t*>(request->handle));
        });
    } else {
        for (Channel* channel : {&in, &out, &err})
            close_handle(reinterpret_cast<uv_handle_t*>(&channel->pipe));
    }
    uv_run(&loop, UV_RUN_DEFAULT);
    uv_loop_close(&loop);

    Outcome outcome;
    if (started != 0)
        outcome.err = std::string("not started: ") + uv_strerror(started);
    else if (child.signal != 0)
        outcome.err = "ended by signal " + std::to_string(child.signal) + "\n" + err.text;
    else
        outcome = {static_cast<int>(child.status), out.text, err.text};
    return outcome;
}

}  // namespace

std::string read_file(const std::string& path) {
    FILE* fp = wiq_fopen(path.c_str(), "rb", nullptr);
    if (fp == nullptr)
        return "(absent)";
    std::string content;
    char piece[4096];
    for (size_t n = 0; (n = fread(piece, 1, sizeof(piece), fp)) != 0;)
        content.append(piece, n);
    fclose(fp);
    return content;
}

void write_file(const std::string& path, const std::string& content) {
    FILE* fp = wiq_fopen(path.c_str(), "wb", nullptr);
    if (fp == nullptr)
        abort();
    fwrite(content.data(), 1, content.size(), fp);
    fclose(fp);
}
