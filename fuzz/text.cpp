// Functions that change, measure and compare texts, and those that format into growing buffers, compared with
// the standard library.
#include <algorithm>
#include <cctype>
#include <ctime>
#include <vector>

#include "input.h"

namespace {

bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
std::string trimmed(std::string text) {
    while (!text.empty() && is_blank(text.back()))
        text.pop_back();
    size_t start = 0;
    while (start < text.size() && is_blank(text[start]))
        ++start;
    return text.substr(start);
}
char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}
char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

// Checks a function that works in place against the expected result.
template <class Change>
void check_change(const std::string& text, const std::string& expected, Change change) {
    std::vector<char> copy(text.c_str(), text.c_str() + text.size() + 1);
    change(copy.data());
    CHECK(expected == copy.data());
}

void check_changes(const std::string& text, char from, char to) {
    check_change(text, trimmed(text), trim_in_place);
    std::string expected = text;
    for (char& c : expected)
        c = upper(c);
    check_change(text, expected, wiq_upper_all);
    expected = text;
    for (size_t i = 0; i < expected.size(); ++i)
        expected[i] = i == 0 || expected[i - 1] == ' ' ? upper(expected[i]) : expected[i];
    check_change(text, expected, wiq_upper_first);
    if (from == '\0' || to == '\0')
        return;
    expected = text;
    for (char& c : expected)
        c = c == from ? to : c;
    check_change(text, expected, [=](char* copy) { wiq_strchr_replace(copy, from, to); });
}

int sign(int number) {
    return number < 0 ? -1 : number > 0 ? 1 : 0;
}
void check_order(std::string a, std::string b) {
    const i32 order = wiq_strcasecmp(a.c_str(), b.c_str());
    for (char& c : a)
        c = lower(c);
    for (char& c : b)
        c = lower(c);
    CHECK(sign(order) == sign(strcmp(a.c_str(), b.c_str())));
}

void check_fields(const std::string& bytes) {
    // A block of exactly this size: the field has no NUL of its own.
    const std::vector<char> field(bytes.begin(), bytes.end());
    const std::string text = std::string(bytes.c_str());
    CHECK(wiq_strnlen(field.data(), field.size()) == text.size());
    char* block = nullptr;
    u64 room = 0;
    wiq_strbuf buf;
    CHECK(wiq_strbuf_init(&buf, 0) == 0);
    for (const bool trim : {false, true}) {
        const std::string expected = trim ? trimmed(text) : text;
        if (field.empty())
            break;
        CHECK(wiq_struct_str(field.data(), field.size(), &block, &room, trim) == 0);
        CHECK(expected == block);
        CHECK(wiq_strbuf_struct_str(&buf, field.data(), field.size(), trim) == 0);
        CHECK(expected == buf.data);
    }
    std::string hex;
    for (const char c : bytes) {
        char digits[3];
        snprintf(digits, sizeof(digits), "%02X", static_cast<u8>(c));
        hex += digits;
    }
    CHECK(wiq_strbuf_reset(&buf) == 0);
    CHECK(wiq_strbuf_printhex(&buf, bytes.data(), bytes.size()) == 0);
    CHECK(hex == buf.data);
    char* taken = wiq_strbuf_release(&buf);
    CHECK(hex == taken);
    free(taken);
    wiq_strbuf_finalize(&buf);
    free(block);
}

void check_formats(const std::string& a, const std::string& b, i32 number) {
    const std::string expected = b + "|" + std::to_string(number) + "|" + a + "|" + b;
    char* text = nullptr;
    CHECK(wiq_asprintf(&text, "%2$s|%3$d|%1$s|%2$s", a.c_str(), b.c_str(), number) ==
          static_cast<i32>(expected.size()));
    CHECK(expected == text);
    free(text);
    char* block = nullptr;
    u64 room = 0;
    CHECK(wiq_rasprintf(&block, &room, "%s", a.c_str()) == static_cast<i32>(a.size()));
    CHECK(wiq_rastrcat(&block, &room, b.c_str()) == static_cast<i32>(b.size()));
    CHECK(wiq_rapsprintf(&block, &room, "%2$d%1$s", block, number) > 0);  // its own text
    CHECK(a + b + std::to_string(number) + a + b == block);
    CHECK(strlen(block) < room);
    free(block);
    wiq_strbuf buf;
    CHECK(wiq_strbuf_init(&buf, 1) == 0);
    CHECK(wiq_strbuf_rprintf(&buf, "%s", a.c_str()) == static_cast<i32>(a.size()));
    CHECK(wiq_strbuf_printf(&buf, "%2$s%1$d", number, buf.data) > 0);
    CHECK(a + a + std::to_string(number) == buf.data);
    CHECK(wiq_strbuf_rwrite(&buf, b.data(), b.size()) == static_cast<i32>(b.size()));
    CHECK(b == buf.data);
    if (!b.empty())
        CHECK(wiq_strbuf_getc(&buf, -1) == b.back() && wiq_strbuf_getc(&buf, 0) == b[0]);
    CHECK(wiq_strbuf_reset_pos(&buf, b.size() / 2) == 0 && b.substr(0, b.size() / 2) == buf.data);
    wiq_strbuf_finalize(&buf);
}

// A format from the input: whatever it is, the buffer keeps its bounds.
void check_any_format(const std::string& format) {
    for (size_t at = format.find('%'); at != std::string::npos; at = format.find('%', at + 1)) {
        // Only conversions of integers are tried: all others would read arguments that do not exist.
        at = format.find_first_not_of("-0+ #123456789$.", at + 1);
        if (at == std::string::npos ||
            (format[at] != 'd' && format[at] != 'x' && format[at] != '%'))
            return;
    }
    for (size_t i = 1; i < format.size(); ++i) {
        if (isdigit(static_cast<u8>(format[i - 1])) != 0 &&
            isdigit(static_cast<u8>(format[i])) != 0)
            return;  // a width of gigabytes, or a missing argument
        if (format[i] == '$' && (format[i - 1] < '1' || format[i - 1] > '9'))
            return;  // undefined, and glibc reads what follows as another conversion
    }
    char* text = nullptr;
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wformat-nonliteral"
#pragma clang diagnostic ignored "-Wformat-security"
    const i32 length = wiq_asprintf(&text, format.c_str(), 1, 2, 3, 4, 5, 6, 7, 8, 9);
    CHECK(length < 0 ? text == nullptr : static_cast<size_t>(length) == strlen(text));
#pragma clang diagnostic pop
    free(text);
}

void check_list(const std::vector<std::string>& texts) {
    wiq_strv list;
    CHECK(wiq_strv_init(&list) == 0);
    std::vector<std::string> model = texts;
    for (const std::string& text : texts)
        CHECK(wiq_strv_push(&list, text.c_str()) == 0);
    CHECK(wiq_strv_pushf(&list, "%d%s", 7, texts[0].c_str()) >= 0);
    model.push_back("7" + texts[0]);
    CHECK(wiq_strv_push(&list, nullptr) == 0);
    wiq_strv_sort(&list);
    std::sort(model.begin(), model.end());
    for (u32 i = 0; i < model.size(); ++i)
        CHECK(model[i] == wiq_strv_get(&list, i));
    CHECK(wiq_strv_get(&list, static_cast<u32>(-1)) == nullptr);
    CHECK(wiq_strv_finalize(&list) == 0);
}

void check_escapes(const std::string& text) {
    char* escaped = wiq_json_escape_str(text.c_str());
    if (escaped == nullptr)
        return;  // invalid UTF-8
    bool ascii = true;
    for (const char c : text)
        ascii = ascii && c > 0;
    wiq_json_t* read = wiq_json_loads(("\"" + std::string(escaped) + "\"").c_str(), 0, nullptr);
    CHECK((read != nullptr) == ascii);
    if (read != nullptr)
        CHECK(text == wiq_json_str_get(read));
    wiq_json_unref(read);
    free(escaped);
}

void check_small(u64 number) {
    const u32 low = static_cast<u32>(number);
    u32 exponent = 99;
    const bool power = low != 0 && (low & (low - 1)) == 0;
    CHECK(wiq_log2_whole(low, &exponent) == (power ? 0 : WIQ_ERR_INVALID_ARG));
    CHECK(!power || u32{1} << exponent == low);
    const u32 length = wiq_utf8_char_sz(static_cast<u8>(number));
    const u8 lead = static_cast<u8>(number);
    CHECK(length == (lead < 0x80   ? 1u
                     : lead < 0xc2 ? 0u
                     : lead < 0xe0 ? 2u
                     : lead < 0xf0 ? 3u
                     : lead < 0xf5 ? 4u
                                   : 0u));
    const u64 gb = 50 + number % 1000000;
    for (const int sector : {512, 4096})
        CHECK(wiq_get_cap_idema(wiq_get_lba_count_idema(gb, sector), sector) == gb);
    const i64 seconds = static_cast<i64>(number % 32535216000);
    struct tm ours = {};
    CHECK(wiq_gmtime_real(&seconds, &ours) == 0);
    CHECK(timegm(&ours) == seconds);
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Input input(data, size);
    const u64 number = input.number<u64>();
    const char from = static_cast<char>(input.byte());
    const char to = static_cast<char>(input.byte());
    const std::string first = input.line().c_str();
    const std::string bytes = input.rest();
    const std::string second = bytes.c_str();
    check_changes(first, from, to);
    check_order(first, second);
    check_fields(bytes);
    check_formats(first, second, static_cast<i32>(number));
    check_any_format(first);
    check_list({first, second, first.substr(first.size() / 2), ""});
    check_escapes(second);
    check_small(number);
    return 0;
}
