#include <iostream>
#include <ke/json.hpp>

int main() {
    const ke::json drive{{"hours", 12}};
    for (auto [key, value] : drive.members())
        std::cout << key << "=" << value << "\n";
}
