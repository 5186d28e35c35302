// See corpora.h.
#include "support/corpora.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace {

std::string number(double value, const char* format) {
    char text[64];
    snprintf(text, sizeof(text), format, value);
    return text;
}

std::string joined(const char* open, int count, const char* close, const auto& element) {
    std::string text = open;
    for (int i = 0; i < count; ++i)
        text += (i == 0 ? "" : ",") + element(i);
    return text + close;
}

// Reports as the tools of a drive manager exchange them, indented.
std::string reports(std::mt19937& random) {
    return joined("[", 800, "\n]", [&](int i) {
        const std::string n = std::to_string(i);
        return "\n  {\n    \"SerialNumber\": \"ZR5" + n +
               "00AB\",\n    \"Model\": \"EXAMPLE 12TB SAS\",\n"
               "    \"CapacityBytes\": 12000138625024,\n    \"Temperature\": {\"Current\": " +
               std::to_string(20 + random() % 30) +
               ", \"Maximum\": 65},\n    \"WearPercent\": 12.5,\n    \"Healthy\": true,\n    "
               "\"Partner\": null,\n"
               "    \"Enclosure\": {\"Slot\": " +
               n + "},\n    \"Errors\": [0, 0, 17, 0, 4, 123456, -1, 0]\n  }";
    });
}

// Objects of many shapes, with numbers as keys, as in catalogues.
std::string catalogue(std::mt19937& random) {
    return joined("{", 4000, "}", [&](int i) {
        return "\"" + std::to_string(138586341 + i) + "\":{\"id\":" + std::to_string(i) +
               ",\"name\":\"event " + std::to_string(random() % 100000) +
               "\",\"logo\":null,\"topics\":[324846099,107888604],\"prices\":" +
               joined("[", static_cast<int>(random() % 4), "]",
                      [&](int k) {
                          return "{\"amount\":" + std::to_string(random() % 90000) +
                                 ",\"seat\":" + std::to_string(k) + "}";
                      }) +
               "}";
    });
}

std::string long_text(std::mt19937& random) {
    return joined("[", 1500, "]", [&](int) {
        std::string text = "\"";
        for (auto words = random() % 120; words != 0; --words)
            text += words % 40 == 7 ? "line\\n" : words % 50 == 9 ? "\\u20ac " : "lorem ipsum ";
        return text + "\"";
    });
}

std::string integers(std::mt19937& random) {
    return joined("[", 120000, "]", [&](int) {
        return std::to_string(static_cast<long>(random()) >> (random() % 32));
    });
}

std::string reals(std::mt19937& random) {
    return joined("[", 60000, "]", [&](int i) {
        const double value = static_cast<double>(random()) / 1000.0 - 2e6;
        return number(value, i % 3 == 0 ? "%.3f" : i % 3 == 1 ? "%.15g" : "%.6e");
    });
}

std::string nested() {
    std::string text;
    for (int i = 0; i < 20000; ++i)
        text += i % 2 == 0 ? "[1," : "{\"k\":";
    text += "null";
    for (int i = 19999; i >= 0; --i)
        text += i % 2 == 0 ? "]" : "}";
    return text;
}

// Returns the text with non-ASCII characters as escapes.
std::string as_ascii(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size();) {
        const unsigned char lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x80) {
            out += text[i++];
            continue;
        }
        const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
        unsigned code = lead & (0x3F >> more);
        for (int k = 1; k <= more; ++k)
            code =
                code << 6 | (static_cast<unsigned char>(text[i + static_cast<size_t>(k)]) & 0x3F);
        i += static_cast<size_t>(more) + 1;
        char escape[16];
        if (code < 0x10000) {
            snprintf(escape, sizeof(escape), "\\u%04x", code);
        } else {
            snprintf(escape, sizeof(escape), "\\u%04x\\u%04x", 0xD800 + ((code - 0x10000) >> 10),
                     0xDC00 + ((code - 0x10000) & 0x3FF));
        }
        out += escape;
    }
    return out;
}

std::vector<Corpus> make() {
    std::mt19937 random(20240318);
    std::vector<Corpus> all = {{"reports", reports(random)}, {"catalogue", catalogue(random)},
                               {"text", long_text(random)},  {"integers", integers(random)},
                               {"reals", reals(random)},     {"nested", nested()}};
    const char* folder = getenv("KE_CORPORA");
    if (folder == nullptr)
        return all;
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".json")
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const auto& path : files) {
        std::ifstream stream(path, std::ios::binary);
        std::ostringstream text;
        text << stream.rdbuf();
        all.push_back({path.stem().string(), as_ascii(text.str())});
    }
    return all;
}

}  // namespace

const std::vector<Corpus>& corpora() {
    static const std::vector<Corpus> all = make();
    return all;
}
