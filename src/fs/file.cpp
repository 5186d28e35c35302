// Two readers: one reads a whole file into one block, the other one line into a caller's buffer.

#include <cstdlib>
#include <cstring>

#include "fs/file.h"
#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "os/os.h"

namespace {

constexpr size_t kLineStep = 128;
// While a line of this size or more is read, its block is larger than the recorded size. Otherwise
// an allocator that cannot grow a large block in place would copy it again for every few bytes.
constexpr size_t kMinLongLine = size_t{64} * 1024;

// Returns the size of an open file, and moves back to its start. Returns WIQ_ERR_FILE_EMPTY for an
// empty file, and WIQ_ERR_IO if the size cannot be determined or does not fit into 31 bits.
i32 measure(FILE* fp) {
    if (fseek(fp, 0, SEEK_END) != 0)
        return WIQ_ERR_IO;
    const i64 size = ke::os::stream_position(fp);
    if (size < 0 || size > INT32_MAX || fseek(fp, 0, SEEK_SET) != 0)
        return WIQ_ERR_IO;
    return size == 0 ? static_cast<i32>(WIQ_ERR_FILE_EMPTY) : static_cast<i32>(size);
}

i32 load(FILE* fp, void** out, size_t pad) {
    const i32 measured = measure(fp);
    if (measured < 0)
        return measured;
    const size_t size = static_cast<size_t>(measured);
    const size_t padding = pad == 0 ? 0 : pad - size % pad;
    u8* block = padding > SIZE_MAX - size ? nullptr : static_cast<u8*>(malloc(size + padding));
    // The caller gets the block before it is filled, and keeps it if reading fails.
    *out = block;
    if (block == nullptr)
        return WIQ_ERR_NO_MEMORY;
    memset(block + size, 0, padding);
    return fread(block, 1, size, fp) == size ? measured : static_cast<i32>(WIQ_ERR_IO);
}

// A line that is being read into a growing buffer.
struct Line {
    char* data;
    size_t size;  // the size that the caller will be told
    size_t length;
    size_t room;  // the real size of the block in bytes, `size` or more
};

// Grows the buffer by one step. Returns 0, or WIQ_ERR_NO_MEMORY with nothing changed.
i32 grow_line(Line* line) {
    const size_t size = line->size + kLineStep;
    if (size > line->room) {
        const size_t room = size < kMinLongLine ? size : size + size / 2;
        char* grown = static_cast<char*>(realloc(line->data, room));
        if (grown == nullptr)
            return WIQ_ERR_NO_MEMORY;
        line->data = grown;
        line->room = room;
    }
    line->size = size;
    return 0;
}

// Shrinks the block to the size that the caller will be told. If that fails, the block stays
// larger, which does no harm.
void trim_line(Line* line) {
    if (line->room == line->size)
        return;
    char* trimmed = static_cast<char*>(realloc(line->data, line->size));
    if (trimmed != nullptr)
        line->data = trimmed;
}

// Reads a line that begins with the byte `c`. Returns its length; WIQ_ERR_NO_MEMORY; or WIQ_ERR_IO
// for a line longer than `max_length`, whose next byte is then still to be read. The buffer
// contains the part of the line that was read, with a NUL unless memory ran out.
i32 read_line(Line* line, int c, FILE* stream, size_t max_length) {
    for (; c != EOF; c = ke::os::getc_locked(stream)) {
        if (line->length == max_length) {
            ungetc(c, stream);
            line->data[line->length] = '\0';
            return WIQ_ERR_IO;
        }
        // Room for the byte and a NUL. As a sum, the test also works for a size of 0 or 1.
        if (line->length + 2 > line->size && grow_line(line) != 0)
            return WIQ_ERR_NO_MEMORY;
        line->data[line->length++] = static_cast<char>(c);
        if (c == '\n')
            break;
    }
    line->data[line->length] = '\0';
    return static_cast<i32>(line->length);
}

}  // namespace

namespace ke {

i32 getline_locked(char** line, size_t* size, FILE* stream, size_t max_length) {
    const int c = ke::os::getc_locked(stream);
    if (c == EOF)
        return WIQ_ERR_EOF;
    const bool is_fresh = *line == nullptr;
    Line reading = {*line, *size, 0, *size};
    if (is_fresh)
        reading = {static_cast<char*>(malloc(kLineStep)), kLineStep, 0, kLineStep};
    if (reading.data == nullptr)
        return WIQ_ERR_NO_MEMORY;
    const i32 result = read_line(&reading, c, stream, max_length);
    if (is_fresh && result == WIQ_ERR_NO_MEMORY) {
        free(reading.data);
        return result;
    }
    trim_line(&reading);
    // Stored after a failure, too, since the caller's block may have moved.
    *line = reading.data;
    *size = reading.size;
    return result;
}

}  // namespace ke

i32 wiq_load_file(const char* path, void** out, size_t pad) {
    if (out == nullptr)
        return WIQ_ERR_INVALID_ARG;
    u32 err = 0;
    FILE* fp = wiq_fopen(path, "rb", &err);
    if (fp == nullptr)
        return static_cast<i32>(err);
    const i32 result = load(fp, out, pad);
    fclose(fp);
    return result;
}

i32 wiq_getline(char** line, size_t* size, FILE* stream) {
    if (line == nullptr || size == nullptr || stream == nullptr)
        return WIQ_ERR_INVALID_ARG;
    ke::os::lock_stream(stream);
    const i32 result = ke::getline_locked(line, size, stream);
    ke::os::unlock_stream(stream);
    return result;
}
