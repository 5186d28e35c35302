#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <iostream>

int main() {
    rapidjson::Document drive;
    drive.Parse(R"({"hours":12})");
    drive["hours"].SetInt(drive["hours"].GetInt() + 1);
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    drive.Accept(writer);
    std::cout << text.GetString() << "\n";
}
