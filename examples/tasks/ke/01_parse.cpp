#include <iostream>
#include <ke/json.hpp>

int main() {
    const auto report = ke::json::parse("{\"drive\": {\n  \"hours\": 12x}}");
    if (!report)
        std::cout << "line " << report.line() << "\n";
}
