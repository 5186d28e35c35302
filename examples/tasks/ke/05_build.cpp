#include <iostream>
#include <ke/json.hpp>

int main() {
    const ke::json report{{"drive", {{"hours", 12}, {"temps", {38, 41}}}}};
    std::cout << report["drive"]["temps"][1] << " of " << report["drive"].size() << "\n";
}
