#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <iostream>

using rapidjson::Value;

void merge(Value& into, const Value& patch, rapidjson::Document::AllocatorType& memory) {
    for (auto& member : patch.GetObject()) {
        auto there = into.FindMember(member.name);
        if (member.value.IsNull()) {
            into.RemoveMember(member.name);
        } else if (there == into.MemberEnd()) {
            into.AddMember(Value(member.name, memory), Value(member.value, memory), memory);
        } else if (member.value.IsObject() && there->value.IsObject()) {
            merge(there->value, member.value, memory);
        } else {
            there->value.CopyFrom(member.value, memory);
        }
    }
}

int main() {
    rapidjson::Document drive, patch;
    drive.Parse(R"({"hours":12,"label":"lab"})");
    patch.Parse(R"({"hours":13,"label":null})");
    merge(drive, patch, drive.GetAllocator());
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    drive.Accept(writer);
    std::cout << text.GetString() << "\n";
}
