// Parsing, from strings and from streams; bytes a second are those of the text. Each parse builds the tree
// and releases it, so allocation is part of the figure, as it is for every user.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "ke_utils/json.h"

namespace {

// A report of many drives, as the tools of a drive manager exchange it, indented by four or on one line.
std::string drive_reports(int count, bool indented) {
    const std::string feed = indented ? "\n    " : "";
    std::string text = "[";
    for (int i = 0; i < count; ++i) {
        const std::string n = std::to_string(i);
        text += (i == 0 ? "" : ",") + feed + "{\"SerialNumber\": \"ZR5" + n + "00AB\"," + feed +
                "\"Model\": \"EXAMPLE 12TB SAS\"," + feed + "\"CapacityBytes\": 12000138625024," +
                feed + "\"Temperature\": {\"Current\": " + std::to_string(20 + i % 30) +
                ", \"Maximum\": 65}," + feed +
                "\"DataUnitsRead\": 123456789012345678901234567890," + feed +
                "\"WearPercent\": 12.5, \"Healthy\": true, \"Partner\": null," + feed +
                "\"Enclosure\": {\"$ref\": \"#/enclosures/" + n + "\"}," + feed +
                "\"Errors\": [0, 0, 17, 0, 4, 123456, -1, 0]}";
    }
    return text + "]";
}

std::string array_of(int count, const std::string& element) {
    std::string text = "[";
    for (int i = 0; i < count; ++i)
        text += (i == 0 ? "" : ",") + element;
    return text + "]";
}

const std::string& text_of(i64 kind) {
    static const std::string texts[] = {
        drive_reports(1000, false),
        drive_reports(1000, true),
        array_of(100000, "1234567"),
        array_of(50000, "-1234.5678e12"),
        array_of(5000, "\"" + std::string(200, 'x') + "\""),
        array_of(5000, "\"two words\\nand \\u00e9 again, two words\\nand \\ud83d\\ude00 again\""),
        "\"" + std::string(2000000, 'b') + "\"",
        "[" + array_of(100000, "[]") + "]",
    };
    return texts[kind];
}

const char* const kNames[] = {"reports", "reports indented", "integers", "reals",
                              "strings", "escapes",          "blob",     "empty arrays"};

void ParseString(benchmark::State& state) {
    const std::string& text = text_of(state.range(0));
    state.SetLabel(kNames[state.range(0)]);
    for (auto _ : state) {
        wiq_json_t* node = wiq_json_loads(text.c_str(), 0, nullptr);
        if (node == nullptr)
            state.SkipWithError("not parsed");
        wiq_json_unref(node);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<i64>(text.size()));
}
BENCHMARK(ParseString)->DenseRange(0, 7);

void ParseStream(benchmark::State& state) {
    const std::string& text = text_of(state.range(0));
    state.SetLabel(kNames[state.range(0)]);
    FILE* stream = tmpfile();
    if (stream == nullptr || fwrite(text.data(), 1, text.size(), stream) != text.size()) {
        state.SkipWithError("no file");
        return;
    }
    for (auto _ : state) {
        rewind(stream);
        wiq_json_t* node = wiq_json_loadf(stream, 0, nullptr);
        if (node == nullptr)
            state.SkipWithError("not parsed");
        wiq_json_unref(node);
    }
    fclose(stream);
    state.SetBytesProcessed(state.iterations() * static_cast<i64>(text.size()));
}
BENCHMARK(ParseStream)->DenseRange(0, 7);

// One value after another from a long text, each found where the one before ended.
void ParseValuesOneByOne(benchmark::State& state) {
    std::string text;
    for (i64 i = 0; i < state.range(0); ++i)
        text += "{\"id\":" + std::to_string(i) + "}\n";
    for (auto _ : state) {
        const char* p = text.c_str();
        wiq_json_load_error error;
        while (wiq_json_t* node = wiq_json_loads(p, WIQ_JSON_ALLOW_TRAILING, &error)) {
            p += error.position;
            wiq_json_unref(node);
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<i64>(text.size()));
}
BENCHMARK(ParseValuesOneByOne)->Arg(1000)->Arg(100000);

}  // namespace
