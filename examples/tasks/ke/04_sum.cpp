#include <iostream>
#include <ke/json.hpp>

int main() {
    const ke::json list{1, 2, 3, 4};
    int sum = 0;
    for (auto element : list.elements())
        sum += element.to<int>().value_or(0);
    std::cout << sum << "\n";
}
