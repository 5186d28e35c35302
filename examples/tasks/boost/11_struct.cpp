#include <boost/json.hpp>
#include <iostream>

struct drive {
    std::string name;
    int hours = 0;
};
void tag_invoke(boost::json::value_from_tag, boost::json::value& to, const drive& from) {
    to = {{"name", from.name}, {"hours", from.hours}};
}
drive tag_invoke(boost::json::value_to_tag<drive>, const boost::json::value& from) {
    return {boost::json::value_to<std::string>(from.at("name")),
            boost::json::value_to<int>(from.at("hours"))};
}

int main() {
    const auto made = boost::json::value_from(drive{"sda", 12});
    const auto read = boost::json::value_to<drive>(made);
    std::cout << read.name << " " << read.hours << "\n";
}
