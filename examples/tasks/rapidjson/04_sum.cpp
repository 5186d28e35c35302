#include <rapidjson/document.h>
#include <iostream>

int main() {
    rapidjson::Document list;
    list.Parse("[1,2,3,4]");
    int sum = 0;
    for (auto& element : list.GetArray())
        sum += element.IsInt() ? element.GetInt() : 0;
    std::cout << sum << "\n";
}
