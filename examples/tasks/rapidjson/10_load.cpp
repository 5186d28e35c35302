#include <rapidjson/document.h>
#include <rapidjson/filereadstream.h>
#include <cstdio>
#include <iostream>

int main() {
    std::FILE* file = std::fopen("tasks_saved.json", "rb");
    char buffer[4096];
    rapidjson::FileReadStream stream(file, buffer, sizeof buffer);
    rapidjson::Document report;
    report.ParseStream(stream);
    std::fclose(file);
    std::cout << (report.HasParseError() ? -1 : report["hours"].GetInt()) << "\n";
}
