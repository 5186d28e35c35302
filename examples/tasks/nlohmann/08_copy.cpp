#include <iostream>
#include <nlohmann/json.hpp>

int main() {
    const nlohmann::json report{{"drive", {{"temps", {38, 41}}}}};
    nlohmann::json summary = nlohmann::json::object();
    summary["temps"] = report["drive"]["temps"];
    std::cout << summary << "\n";
}
