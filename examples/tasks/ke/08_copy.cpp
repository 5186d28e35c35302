#include <iostream>
#include <ke/json.hpp>

int main() {
    const ke::json report{{"drive", {{"temps", {38, 41}}}}};
    ke::json summary = ke::json::object();
    if (summary.set("temps", report["drive"]["temps"]).ok())
        std::cout << summary << "\n";
}
