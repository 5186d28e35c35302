#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>

int main() {
    std::ifstream file("tasks_saved.json");
    const auto report = nlohmann::json::parse(file, nullptr, false);
    std::cout << (report.is_object() ? report.value("hours", 0) : -1) << "\n";
}
