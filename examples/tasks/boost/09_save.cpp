#include <boost/json.hpp>
#include <fstream>
#include <iostream>

int main() {
    const boost::json::value report{{"hours", 12}};
    std::ofstream file("tasks_saved.json");
    file << report << std::endl;
    std::cout << (file ? "saved" : "failed") << "\n";
}
