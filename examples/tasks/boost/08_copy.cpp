#include <boost/json.hpp>
#include <iostream>

int main() {
    const boost::json::value report{{"drive", {{"temps", {38, 41}}}}};
    boost::json::object summary;
    summary["temps"] = report.at("drive").at("temps");
    std::cout << summary << "\n";
}
