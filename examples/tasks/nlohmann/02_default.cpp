#include <iostream>
#include <nlohmann/json.hpp>

using namespace nlohmann::literals;

int main() {
    const nlohmann::json report{{"drive", {{"hours", 12}}}};
    std::cout << report.value("/drive/hours"_json_pointer, 0) << " "
              << report.value("/drive/writes"_json_pointer, 7) << "\n";
}
