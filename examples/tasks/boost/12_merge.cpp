#include <boost/json.hpp>
#include <iostream>

void merge(boost::json::object& into, const boost::json::object& patch) {
    for (auto& [key, value] : patch) {
        if (value.is_null())
            into.erase(key);
        else if (value.is_object() && into[key].is_object())
            merge(into[key].get_object(), value.get_object());
        else
            into[key] = value;
    }
}

int main() {
    boost::json::object drive{{"hours", 12}, {"label", "lab"}};
    merge(drive, {{"hours", 13}, {"label", nullptr}});
    std::cout << drive << "\n";
}
