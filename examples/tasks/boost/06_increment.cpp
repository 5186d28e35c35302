#include <boost/json.hpp>
#include <iostream>

int main() {
    boost::json::object drive{{"hours", 12}};
    drive["hours"] = drive["hours"].as_int64() + 1;
    std::cout << drive << "\n";
}
