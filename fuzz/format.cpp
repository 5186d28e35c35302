// Formats of the safe subset, compared with the C runtime's snprintf() in the "C" locale.
#include "input.h"

namespace {

// Makes a conversion from the input: flags, width, precision and one of the kinds below.
std::string conversion(Input& input, char kind) {
    std::string format = "%";
    const u8 bits = input.byte();
    for (int i = 0; i < 4; ++i) {
        if ((bits & (1 << i)) != 0)
            format += "-0 +"[i];
    }
    if ((bits & 16) != 0)
        format += std::to_string(1 + input.byte() % 40);
    if ((bits & 32) != 0)
        format += "." + std::to_string(input.byte() % 20);
    return format + kind;
}

template <class Value>
void compare(const std::string& format, Value value) {
    char ours[512];
    char expected[512];
    const std::string framed = "[" + format + "]";
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wformat-nonliteral"
#pragma clang diagnostic ignored "-Wformat-security"
    const int length = snprintf(expected, sizeof(expected), framed.c_str(), value);
    const i32 result = wiq_snprintf(ours, sizeof(ours), framed.c_str(), value);
#pragma clang diagnostic pop
    if (length < 0 || length >= static_cast<int>(sizeof(expected)))
        return;
    CHECK(result == length);
    CHECK(strcmp(ours, expected) == 0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Input input(data, size);
    while (!input.empty()) {
        switch (input.byte() % 7) {
            case 0:
                compare(conversion(input, 'd'), input.number<i32>());
                break;
            case 1:
                compare(conversion(input, 'u'), input.number<u32>());
                break;
            case 2:
                compare(conversion(input, 'x'), input.number<u32>());
                break;
            case 3:
                compare(conversion(input, 'X'), input.number<u32>());
                break;
            case 4:
                compare(conversion(input, 'c'), 1 + input.byte() % 126);
                break;
            case 5: {
                const std::string format = conversion(input, 's');
                const std::string text = input.line();
                compare(format, text.c_str());
                break;
            }
            default:
                compare(conversion(input, 'f'), static_cast<double>(input.number<i32>()) / 1024.0);
        }
    }
    return 0;
}
