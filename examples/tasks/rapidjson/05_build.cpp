#include <rapidjson/document.h>
#include <iostream>

int main() {
    rapidjson::Document report(rapidjson::kObjectType);
    auto& memory = report.GetAllocator();
    rapidjson::Value temps(rapidjson::kArrayType);
    temps.PushBack(38, memory).PushBack(41, memory);
    rapidjson::Value drive(rapidjson::kObjectType);
    drive.AddMember("hours", 12, memory).AddMember("temps", temps, memory);
    report.AddMember("drive", drive, memory);
    std::cout << report["drive"]["temps"][1].GetInt() << " of " << report["drive"].MemberCount()
              << "\n";
}
