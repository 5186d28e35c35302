#include <boost/json.hpp>
#include <iostream>

int main() {
    const boost::json::object drive{{"hours", 12}};
    for (auto& [key, value] : drive)
        std::cout << key << "=" << value << "\n";
}
