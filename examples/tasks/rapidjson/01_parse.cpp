#include <rapidjson/document.h>
#include <algorithm>
#include <iostream>
#include <string>

int main() {
    const std::string text = "{\"drive\": {\n  \"hours\": 12x}}";
    rapidjson::Document report;
    if (report.Parse(text.c_str()).HasParseError()) {
        const auto end = text.begin() + static_cast<std::ptrdiff_t>(report.GetErrorOffset());
        std::cout << "line " << 1 + std::count(text.begin(), end, '\n') << "\n";
    }
}
