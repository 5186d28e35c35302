#include <iostream>
#include <nlohmann/json.hpp>

int main() {
    const nlohmann::json list{1, 2, 3, 4};
    int sum = 0;
    for (auto& element : list)
        sum += element.is_number_integer() ? element.get<int>() : 0;
    std::cout << sum << "\n";
}
