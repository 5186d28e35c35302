#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>

int main() {
    const std::string text = "{\"drive\": {\n  \"hours\": 12x}}";
    try {
        const auto report = nlohmann::json::parse(text);
    } catch (const nlohmann::json::parse_error& error) {
        const auto end = text.begin() + static_cast<std::ptrdiff_t>(error.byte);
        std::cout << "line " << 1 + std::count(text.begin(), end, '\n') << "\n";
    }
}
