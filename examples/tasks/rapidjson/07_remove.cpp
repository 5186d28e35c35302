#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <iostream>

int main() {
    rapidjson::Document list;
    list.Parse("[38,91,41,95]");
    for (auto at = list.Begin(); at != list.End();)
        at = at->GetInt() > 90 ? list.Erase(at) : at + 1;
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    list.Accept(writer);
    std::cout << text.GetString() << "\n";
}
