#include <iostream>
#include <ke/json.hpp>

int main() {
    ke::json drive{{"hours", 12}};
    if (drive.set("hours", drive.value_or("hours", 0) + 1).ok())
        std::cout << drive << "\n";
}
