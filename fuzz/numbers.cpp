// Texts of numbers, compared with the C runtime's conversions where both accept the text.
#include <cerrno>
#include <cmath>

#include "input.h"

namespace {

// If the library accepts a text, the runtime must accept all of it, with the same result.
void check_integer(const std::string& text) {
    i64 value = 0;
    const i32 status = wiq_strtoint64(text.c_str(), &value);
    if (status == 0) {
        errno = 0;
        char* end = nullptr;
        const long long expected = strtoll(text.c_str(), &end, 0);
        CHECK(errno == 0);
        CHECK(value == expected);
    }
    i32 narrow_value = 0;
    if (wiq_strtoint32(text.c_str(), &narrow_value) == 0) {
        CHECK(status == 0);
        CHECK(narrow_value == value);
    } else if (status == 0) {
        CHECK(value < INT32_MIN || value > INT32_MAX);
    }
}

void check_double(const std::string& text) {
    double value = 0;
    if (wiq_strtodouble(text.c_str(), &value) != 0)
        return;
    char* end = nullptr;
    const double expected = strtod(text.c_str(), &end);
    CHECK(std::isnan(value) ? std::isnan(expected) : value == expected);
    CHECK(std::signbit(value) == std::signbit(expected) || std::isnan(value));
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Input input(data, size);
    std::string text = input.rest();
    text.resize(strlen(text.c_str()));
    check_integer(text);
    check_double(text);
    return 0;
}
