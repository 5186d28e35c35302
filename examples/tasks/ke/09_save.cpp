#include <iostream>
#include <ke/files.hpp>

int main() {
    const ke::json report{{"hours", 12}};
    std::cout << (ke::save_file("tasks_saved.json", report).ok() ? "saved" : "failed") << "\n";
}
