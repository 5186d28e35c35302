#include <iostream>
#include <ke/json_patch.hpp>

int main() {
    ke::json drive{{"hours", 12}, {"label", "lab"}};
    if (ke::merge_patch(drive, ke::json{{"hours", 13}, {"label", nullptr}}).ok())
        std::cout << drive << "\n";
}
