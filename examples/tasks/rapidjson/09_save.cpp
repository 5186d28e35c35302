#include <rapidjson/document.h>
#include <rapidjson/filewritestream.h>
#include <rapidjson/writer.h>
#include <cstdio>
#include <iostream>

int main() {
    rapidjson::Document report;
    report.Parse(R"({"hours":12})");
    std::FILE* file = std::fopen("tasks_saved.json", "wb");
    char buffer[4096];
    rapidjson::FileWriteStream stream(file, buffer, sizeof buffer);
    rapidjson::Writer<rapidjson::FileWriteStream> writer(stream);
    const bool written = report.Accept(writer);
    std::cout << (std::fclose(file) == 0 && written ? "saved" : "failed") << "\n";
}
