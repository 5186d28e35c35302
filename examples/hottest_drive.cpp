// The C++ layer at work: finds the hottest sensor of a report and writes it into the document.
#include <iostream>
#include <ke_utils.hpp>

using namespace ke::literals;

int main() {
    auto report = ke::json::parse(R"({"sensors":[{"name":"controller","celsius":51},
                                                 {"name":"flash","celsius":63},
                                                 {"name":"board","celsius":40}]})");
    if (!report) {
        std::cerr << report.line() << ":" << report.column() << ": " << report.message() << "\n";
        return 1;
    }
    ke::json hottest;
    ke::i64 highest = 0;
    for (ke::json sensor : (*report)["sensors"].elements()) {
        const ke::i64 celsius = sensor["celsius"].to<ke::i64>().value_or(0);
        if (celsius > highest) {
            highest = celsius;
            hottest = sensor;
        }
    }
    const auto name = hottest["name"].to<std::string>().value_or("none");
    if (report->set("/summary/hottest"_ptr, name) != 0 ||
        report->set("/summary/celsius"_ptr, highest) != 0)
        return 1;
    std::cout << report->at("/summary"_ptr).dump(WIQ_JSON_DUMP_SORT_KEYS).value_or("") << "\n";
    return 0;
}
