#include <iostream>
#include <ke/json.hpp>

int main() {
    ke::json list{38, 91, 41, 95};
    if (list.erase_if([](ke::json_view t) { return t.to<int>().value_or(0) > 90; }))
        std::cout << list << "\n";
}
