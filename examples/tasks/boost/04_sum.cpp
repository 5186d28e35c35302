#include <boost/json.hpp>
#include <iostream>

int main() {
    const boost::json::array list{1, 2, 3, 4};
    std::int64_t sum = 0;
    for (auto& element : list)
        sum += element.is_int64() ? element.get_int64() : 0;
    std::cout << sum << "\n";
}
