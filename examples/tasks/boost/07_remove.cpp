#include <boost/json.hpp>
#include <iostream>

int main() {
    boost::json::array list{38, 91, 41, 95};
    for (auto at = list.begin(); at != list.end();)
        at = at->as_int64() > 90 ? list.erase(at) : at + 1;
    std::cout << list << "\n";
}
