#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>

int main() {
    nlohmann::json list{38, 91, 41, 95};
    list.erase(std::remove_if(list.begin(), list.end(), [](auto& t) { return t > 90; }),
               list.end());
    std::cout << list << "\n";
}
