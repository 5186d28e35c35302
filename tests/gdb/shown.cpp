// Holds values of the C++ layer for a debugger to show, and a place to stop at.
#include "ke_utils.hpp"

using namespace ke::literals;

extern "C" int stop_here();
int stop_here() {
    return 0;
}

int main() {
    ke::json report{{"hours", 12}, {"temps", {38, 41}}};
    const ke::json_view temps = report["temps"];
    const ke::json_ref place = report["hours"];
    const ke::json empty;
    const auto parsed = ke::json::parse("[\"one\"]");
    const auto hours = report.get<int>("hours");
    const auto missing = report.get<int>("none");
    const auto broken = ke::json::parse("[1,\n x]");
    const auto nothing = empty.get<std::string>("a");
    const ke::status good = ke::json::array().clear();
    const ke::status bad = WIQ_ERR_RANGE;
    const ke::uint128 big = (1_u128 << 64) + 5u;
    ke::strbuf text;
    const ke::status appended = text.append("drive ", 7);
    const bool used = temps && place && parsed && hours && !missing && !broken && !nothing &&
                      good.ok() && bad.failed() && big && appended.ok();
    return used ? stop_here() : 1;
}
