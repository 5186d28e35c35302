#include <iostream>
#include <nlohmann/json.hpp>

int main() {
    const nlohmann::json drive{{"hours", 12}};
    for (auto& [key, value] : drive.items())
        std::cout << key << "=" << value << "\n";
}
