#include <algorithm>
#include <boost/json.hpp>
#include <iostream>

int main() {
    const std::string text = "{\"drive\": {\n  \"hours\": 12x}}";
    boost::json::stream_parser parser;
    boost::json::error_code error;
    const auto read = parser.write_some(text.data(), text.size(), error);
    if (error) {
        const auto end = text.begin() + static_cast<std::ptrdiff_t>(read);
        std::cout << "line " << 1 + std::count(text.begin(), end, '\n') << "\n";
    }
}
