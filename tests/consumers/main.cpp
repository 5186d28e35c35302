// The same program with the C++ layer.
#include <iostream>
#include <ke_utils.hpp>

int main() {
    auto root = ke::json::parse("{\"drive\":[1,2]}");
    if (!root) {
        std::cerr << root.message() << "\n";
        return 2;
    }
    std::cout << *root->dump() << "\n";
    return 0;
}
