#include <iostream>
#include <nlohmann/json.hpp>

int main() {
    nlohmann::json drive{{"hours", 12}, {"label", "lab"}};
    drive.merge_patch({{"hours", 13}, {"label", nullptr}});
    std::cout << drive << "\n";
}
