#include <iostream>
#include <nlohmann/json.hpp>

struct drive {
    std::string name;
    int hours = 0;
    NLOHMANN_DEFINE_TYPE_INTRUSIVE(drive, name, hours)
};

int main() {
    const nlohmann::json made = drive{"sda", 12};
    const auto read = made.get<drive>();
    std::cout << read.name << " " << read.hours << "\n";
}
