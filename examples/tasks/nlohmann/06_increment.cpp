#include <iostream>
#include <nlohmann/json.hpp>

int main() {
    nlohmann::json drive{{"hours", 12}};
    drive["hours"] = drive.value("hours", 0) + 1;
    std::cout << drive << "\n";
}
