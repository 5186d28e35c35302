#include <ke_utils.h>
#include <unistd.h>

// Writes a file next to the old one, flushes it to the disk, then replaces the old one in one step.
static bool save(const char* name, wiq_json_t* value) {
    char fresh[256];
    snprintf(fresh, sizeof fresh, "%s.XXXXXX", name);
    FILE* const stream = wiq_mkstemp(fresh, NULL, "wb");
    if (stream == NULL)
        return false;
    bool written = wiq_json_fdump(value, stream, 0, 0) >= 0 && fputc('\n', stream) == '\n' &&
                   fflush(stream) == 0 && fsync(fileno(stream)) == 0;
    written = fclose(stream) == 0 && written;
    return written && rename(fresh, name) == 0;
}

int main(void) {
    wiq_json_t* const report = wiq_json_obj_new(0, NULL);
    wiq_json_obj_put_i64(report, "hours", 12, NULL);
    puts(save("tasks_saved.json", report) ? "saved" : "failed");
    wiq_json_unref(report);
    return 0;
}
