#include <rapidjson/document.h>
#include <iostream>
#include <string>

struct drive {
    std::string name;
    int hours = 0;
};

int main() {
    const drive given{"sda", 12};
    rapidjson::Document made(rapidjson::kObjectType);
    auto& memory = made.GetAllocator();
    made.AddMember("name", rapidjson::Value(given.name.c_str(), memory), memory);
    made.AddMember("hours", given.hours, memory);
    const drive read{made["name"].GetString(), made["hours"].GetInt()};
    std::cout << read.name << " " << read.hours << "\n";
}
