#include <iostream>
#include <ke/json.hpp>

struct drive {
    std::string name;
    int hours = 0;
    KE_JSON_MEMBERS(drive, name, hours)
};

int main() {
    const ke::json made = ke::json::of(drive{"sda", 12});
    const drive read = made.to<drive>().value_or(drive{});
    std::cout << read.name << " " << read.hours << "\n";
}
