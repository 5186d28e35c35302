#include <boost/json.hpp>
#include <fstream>
#include <iostream>
#include <iterator>

int main() {
    std::ifstream file("tasks_saved.json");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    boost::json::error_code error;
    const auto report = boost::json::parse(text, error);
    std::cout << (error ? -1 : report.at("hours").as_int64()) << "\n";
}
