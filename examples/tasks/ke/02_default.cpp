#include <iostream>
#include <ke/json.hpp>

using namespace ke::literals;

int main() {
    const ke::json report{{"drive", {{"hours", 12}}}};
    std::cout << report.value_or("/drive/hours"_ptr, 0) << " "
              << report.value_or("/drive/writes"_ptr, 7) << "\n";
}
