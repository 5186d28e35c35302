// See large_test.h. At the end, prints the largest amount of memory that the program had.
#include "large/large_test.h"

#include <cstdio>

#include "ke_utils/json.h"
#include "support/temporary_stream.h"
#ifdef _WIN32
#include <windows.h>
// Must come after windows.h.
#include <psapi.h>
#else
#include <sys/resource.h>
#endif

namespace {

double peak_gigabytes() {
#ifdef _WIN32
    PROCESS_MEMORY_COUNTERS counters = {};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return static_cast<double>(counters.PeakWorkingSetSize) / 1e9;
#else
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024 / 1e9;
#endif
}

class Peak : public testing::Environment {
    void TearDown() override { printf("peak memory: %.1f GB\n", peak_gigabytes()); }
};
[[maybe_unused]] const testing::Environment* const g_peak =
    testing::AddGlobalTestEnvironment(new Peak);

// The first dump of each kind registers a type, which is kept; no test must take that for a leak.
class DumpTypes : public testing::Environment {
    void SetUp() override {
        wiq_json_t* node = wiq_json_null_new(nullptr);
        char* text = nullptr;
        ASSERT_EQ(wiq_json_sdump(node, &text, 0), 4);
        free(text);
        FILE* stream = temporary_stream();
        ASSERT_NE(stream, nullptr);
        ASSERT_EQ(wiq_json_fdump(node, stream, 0, 0), 4);
        fclose(stream);
        wiq_json_unref(node);
    }
};
[[maybe_unused]] const testing::Environment* const g_dump_types =
    testing::AddGlobalTestEnvironment(new DumpTypes);

}  // namespace

SparseFile::SparseFile(const std::string& head, size_t count, const std::string& tail)
    : name_("large_test.tmp") {
    FILE* fp = fopen(name_.c_str(), "wb");
    if (fp == nullptr)
        abort();
    fwrite(head.data(), 1, head.size(), fp);
#ifdef _WIN32
    _fseeki64(fp, static_cast<i64>(count), SEEK_CUR);
#else
    fseeko(fp, static_cast<off_t>(count), SEEK_CUR);
#endif
    fwrite(tail.data(), 1, tail.size(), fp);
    fclose(fp);
}

SparseFile::~SparseFile() {
    remove(name_.c_str());
}
