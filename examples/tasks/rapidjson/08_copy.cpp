#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <iostream>

int main() {
    rapidjson::Document report;
    report.Parse(R"({"drive":{"temps":[38,41]}})");
    rapidjson::Document summary(rapidjson::kObjectType);
    rapidjson::Value temps(report["drive"]["temps"], summary.GetAllocator());
    summary.AddMember("temps", temps, summary.GetAllocator());
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    summary.Accept(writer);
    std::cout << text.GetString() << "\n";
}
