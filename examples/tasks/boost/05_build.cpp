#include <boost/json.hpp>
#include <iostream>

int main() {
    const boost::json::value report{{"drive", {{"hours", 12}, {"temps", {38, 41}}}}};
    std::cout << report.at("drive").at("temps").at(1) << " of "
              << report.at("drive").as_object().size() << "\n";
}
