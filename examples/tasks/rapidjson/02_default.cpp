#include <rapidjson/document.h>
#include <rapidjson/pointer.h>
#include <iostream>

int main() {
    rapidjson::Document report;
    report.Parse(R"({"drive":{"hours":12}})");
    const auto* hours = rapidjson::Pointer("/drive/hours").Get(report);
    const auto* writes = rapidjson::Pointer("/drive/writes").Get(report);
    std::cout << (hours != nullptr && hours->IsInt() ? hours->GetInt() : 0) << " "
              << (writes != nullptr && writes->IsInt() ? writes->GetInt() : 7) << "\n";
}
