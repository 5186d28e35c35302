#include <boost/json.hpp>
#include <iostream>

int main() {
    const boost::json::value report{{"drive", {{"hours", 12}}}};
    boost::json::error_code error;
    const auto* hours = report.find_pointer("/drive/hours", error);
    const auto* writes = report.find_pointer("/drive/writes", error);
    std::cout << (hours != nullptr && hours->is_int64() ? hours->get_int64() : 0) << " "
              << (writes != nullptr && writes->is_int64() ? writes->get_int64() : 7) << "\n";
}
