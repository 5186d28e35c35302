#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <iostream>

int main() {
    rapidjson::Document drive;
    drive.Parse(R"({"hours":12})");
    for (auto& member : drive.GetObject()) {
        rapidjson::StringBuffer text;
        rapidjson::Writer<rapidjson::StringBuffer> writer(text);
        member.value.Accept(writer);
        std::cout << member.name.GetString() << "=" << text.GetString() << "\n";
    }
}
