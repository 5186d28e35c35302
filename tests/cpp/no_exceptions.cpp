// See no_exceptions.h.
#include "no_exceptions.h"

#include "ke_utils.hpp"

#if __cplusplus >= 202002L
#error "to be compiled as C++17"
#endif
#if defined(__cpp_exceptions)
#error "to be compiled without exceptions"
#endif

#include <map>
#include <vector>

namespace no_exceptions {

using namespace ke::literals;

namespace {

struct drive {
    std::string name;
    int hours = 0;
    std::optional<double> celsius;
    KE_JSON_MEMBERS(drive, name, hours, celsius)
};

class Counter : public ke::json_visitor {
  public:
    int integers = 0;

  protected:
    ke::status on_integer(ke::json_view, ke::i64) override {
        ++integers;
        return {};
    }
};

struct Keys {
    int sections = 0;
    int keys = 0;

    ke::status section(std::string_view, const WiqIniLocation&, std::string_view,
                       const WiqIniLocation&) {
        ++sections;
        return {};
    }
    ke::status key(std::string_view, const WiqIniLocation&, std::string_view,
                   const WiqIniLocation&) {
        ++keys;
        return {};
    }
};

ke::status documents(std::string& out) {
    ke::json root{{"drives", std::vector<drive>{{"sda", 5, 40.5}, {"sdb", 3, {}}}}};
    KE_TRY(root.set("/names/first"_ptr, std::make_pair("one", 2u)));
    KE_TRY(root.set("limits", std::map<std::string, int>{{"hours", 4}}));
    KE_TRY(root["drives"].sort([](ke::json_view a, ke::json_view b) {
        return a.value_or("hours", 0) < b.value_or("hours", 0);
    }));
    KE_TRY(root["drives"].erase_if([](ke::json_view d) { return d["name"] == "sda"; }));
    KE_TRY(root["drives"].insert(0, nullptr));
    KE_TRY(root.take("limits"));
    KE_TRY(ke::merge_patch(root, ke::json{{"drives", {1, 2, ke::uint128(3)}}}));
    KE_TRY(ke::apply_patch(root, ke::json::array({{{"op", "remove"}, {"path", "/drives/0"}}})));
    Counter counter;
    KE_TRY(counter.visit(root));
    const auto numbers = root.get<std::vector<int>>("drives");
    KE_TRY(numbers);
    for (const auto [key, value] : root.members())
        out += std::string(key) + "=" + value.dump().value_or("?") + " ";
    out += std::to_string(numbers->size()) + " " + std::to_string(counter.integers);
    return {};
}

ke::status containers(std::string& out) {
    ke::vector<int> list;
    ke::map<int> map;
    ke::locked_map<std::string> locked;
    ke::string_list names;
    ke::strbuf text;
    ke::tagged value;
    KE_TRY(list.push_back(1));
    KE_TRY(map.set("a", 2));
    KE_TRY(locked.set("b", "three"));
    KE_TRY(names.push_back("four"));
    KE_TRY(locked.find_or_make("b", [] { return std::string("never"); }));
    KE_TRY(value.set(5));
    for (const auto [key, number] : map)
        KE_TRY(text.append(key, number));
    locked.for_each([&](std::string_view key, const std::string& three) {
        (void)text.append(key, three).ok();
    });
    KE_TRY(text.append_format(" {} {} {}", list[0], names[0], value.get<ke::i32>().value_or(0)));
    out = text.str();
    return {};
}

}  // namespace

std::string every_family() {
    std::string first;
    std::string second;
    const ke::status documented = documents(first);
    const ke::status contained = containers(second);
    Keys keys;
    const ke::status parsed = ke::parse_ini(nullptr, keys);
    return first + "|" + second + "|" + documented.name() + contained.name() + parsed.name();
}

long long first_of_a(const char* text) {
    const ke::result<ke::json> root = ke::json::parse(text);
    return root ? root->value_or("/a/0"_ptr, -1LL) : -1;
}

}  // namespace no_exceptions
