#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>

int main() {
    const nlohmann::json report{{"hours", 12}};
    std::ofstream file("tasks_saved.json");
    file << report << std::endl;
    std::cout << (file ? "saved" : "failed") << "\n";
}
