#include <iostream>
#include <ke/files.hpp>

int main() {
    const auto report = ke::load_file("tasks_saved.json");
    std::cout << (report ? report->value_or("hours", 0) : -1) << "\n";
}
