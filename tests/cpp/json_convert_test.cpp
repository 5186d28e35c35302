// What can become a JSON value and what can be read from one: lists in braces, standard containers,
// user-defined types.
#include "parsed.h"

#include <array>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

// A type whose two conversion functions are declared next to it.
namespace geometry {
struct point {
    int x = 0;
    int y = 0;
};
static ke::status to_json(ke::json& out, const point& from) {
    out = ke::json{from.x, from.y};
    return {};
}
static ke::status from_json(ke::json_view in, point& to) {
    const auto pair = in.to<std::array<int, 2>>();
    if (!pair)
        return pair.status();
    to = {(*pair)[0], (*pair)[1]};
    return {};
}
}  // namespace geometry

namespace {

using namespace ke::literals;
using ke::json;
using ke::json_view;

struct sensor {
    std::string name;
    double celsius = 0;
    KE_JSON_MEMBERS(sensor, name, celsius)
};
// As many members as one struct may list.
#define KE_NAMES_8(x) x##0, x##1, x##2, x##3, x##4, x##5, x##6, x##7
struct counters {
    int KE_NAMES_8(a), KE_NAMES_8(b), KE_NAMES_8(c), KE_NAMES_8(d);
    int KE_NAMES_8(e), KE_NAMES_8(f), KE_NAMES_8(g), KE_NAMES_8(h);
    KE_JSON_MEMBERS(counters, KE_NAMES_8(a), KE_NAMES_8(b), KE_NAMES_8(c), KE_NAMES_8(d),
                    KE_NAMES_8(e), KE_NAMES_8(f), KE_NAMES_8(g), KE_NAMES_8(h))
};
struct drive {
    std::string serial;
    ke::u32 hours = 0;
    std::optional<std::string> label;
    std::vector<sensor> sensors;
    geometry::point slot;
    KE_JSON_MEMBERS(drive, serial, hours, label, sensors, slot)
};

TEST(CppBraces, ObjectsAndArrays) {
    EXPECT_EQ(text_of(json{{"a", 1}, {"b", {1, 2}}}), R"({"a":1,"b":[1,2]})");
    EXPECT_EQ(text_of(json{1, "two", 3.5, nullptr, true}), R"([1,"two",3.500000,null,true])");
    EXPECT_EQ(text_of(json{{"a", {{"b", {{"c", nullptr}}}}}}), R"({"a":{"b":{"c":null}}})");
    EXPECT_EQ(text_of(json{{1, 2}, {3, 4}}), "[[1,2],[3,4]]");
    EXPECT_EQ(text_of(json::array({{"a", 1}, {"b", 2}})), R"([["a",1],["b",2]])");
    EXPECT_EQ(text_of(json::object({{"a", 1}})), R"({"a":1})");
    EXPECT_EQ(text_of(json::array({})), "[]");
    EXPECT_EQ(text_of(json::object({})), "{}");
    EXPECT_FALSE(json::object({1, 2})) << "the list must contain pairs of a key and a value";
    const std::string key = "made";
    EXPECT_EQ(text_of(json{{key, std::vector<int>{1}}, {std::string_view("v"), 1_u128}}),
              R"({"made":[1],"v":1})");
}

TEST(CppBraces, HandlesInThem) {
    const json inner = parsed("[1]");
    EXPECT_EQ(text_of(json{{"a", inner}, {"b", inner[0]}}), R"({"a":[1],"b":1})");
    EXPECT_EQ(json{inner}.node(), inner.node()) << "a list of one handle is that handle";
    EXPECT_EQ(text_of(json::array({inner})), "[[1]]");
    EXPECT_FALSE((json{{"a", json()}, {"b", 1}}));
    EXPECT_FALSE(json{});
    EXPECT_FALSE((json{{"a", std::string("x\0y", 3)}}));
}

TEST(CppConvert, StandardContainers) {
    EXPECT_EQ(text_of(json::of(std::vector<std::string>{"a", "b"})), R"(["a","b"])");
    EXPECT_EQ(text_of(json::of(std::vector<bool>{true, false})), "[true,false]");
    EXPECT_EQ(text_of(json::of(std::map<std::string, std::vector<int>>{{"a", {1}}, {"b", {}}})),
              R"({"a":[1],"b":[]})");
    EXPECT_EQ(text_of(json::of(std::array<double, 2>{0.5, 1.5})), "[0.500000,1.500000]");
    EXPECT_EQ(text_of(json::of(std::make_tuple(1, "x", true))), R"([1,"x",true])");
    EXPECT_EQ(text_of(json::of(std::pair(1, 2))), "[1,2]");
    EXPECT_EQ(text_of(json::of(std::optional<int>())), "null");
    EXPECT_EQ(text_of(json::of(std::optional<int>(3))), "3");
    EXPECT_EQ(text_of(json::of(std::map<int, int>{{1, 2}})), "[[1,2]]") << "only texts are keys";

    const json root =
        parsed(R"({"l":[1,2,3],"m":{"a":1,"b":2},"t":[1,"x",true],"o":null,"s":["b","a","b"]})");
    EXPECT_EQ(root["l"].to<std::vector<int>>().value(), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(root["l"].to<std::list<double>>().value(), (std::list<double>{1, 2, 3}));
    EXPECT_EQ((root["l"].to<std::array<int, 3>>().value()), (std::array<int, 3>{1, 2, 3}));
    EXPECT_EQ((root["l"].to<std::array<int, 2>>().status()), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ((root["m"].to<std::map<std::string, int>>().value()),
              (std::map<std::string, int>{{"a", 1}, {"b", 2}}));
    EXPECT_EQ((root["m"].to<std::unordered_map<std::string, int>>()->size()), 2u);
    EXPECT_EQ((root["t"].to<std::tuple<int, std::string, bool>>().value()),
              (std::tuple<int, std::string, bool>(1, "x", true)));
    EXPECT_EQ((root["t"].to<std::pair<int, int>>().status()), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(root["s"].to<std::set<std::string>>()->size(), 2u);
    EXPECT_FALSE(root["o"].to<std::optional<int>>().value().has_value());
    EXPECT_EQ(root["l"][0].to<std::optional<int>>().value(), 1);
    EXPECT_EQ(root["m"].to<std::vector<int>>().status(), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ((root["l"].to<std::map<std::string, int>>().status()), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(root["l"].to<std::vector<std::string>>().status(), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(parsed("[300]").to<std::vector<ke::u8>>().status(), WIQ_ERR_RANGE);
    EXPECT_EQ(root["l"].to<std::vector<json_view>>()->size(), 3u);
}

TEST(CppConvert, BuiltInArrays) {
    const int numbers[] = {1, 2};
    const char* const names[] = {"a", "b"};
    const bool table[2][1] = {{true}, {false}};
    json root = json::object();
    EXPECT_EQ(root.set("numbers", numbers), 0);
    EXPECT_EQ(root.set("names", names), 0);
    EXPECT_EQ(root.set("table", table), 0);
    EXPECT_EQ(root.set("text", "an array as well"), 0);
    EXPECT_EQ(text_of(root), R"({"names":["a","b"],"numbers":[1,2],"table":[[true],[false]],)"
                             R"("text":"an array as well"})");
    EXPECT_EQ(root["none"].to<std::vector<int>>().value_or({3}), std::vector<int>{3});
}

TEST(CppConvert, UserDefinedTypes) {
    const drive made{"A1", 12, "lab", {{"flash", 40.5}}, {3, 4}};
    const json value = json::of(made);
    EXPECT_EQ(text_of(value),
              R"({"hours":12,"label":"lab","sensors":[{"celsius":40.500000,"name":"flash"}],)"
              R"("serial":"A1","slot":[3,4]})");
    const drive read = value.to<drive>().value();
    EXPECT_EQ(read.serial, "A1");
    EXPECT_EQ(read.hours, 12u);
    EXPECT_EQ(read.label, "lab");
    ASSERT_EQ(read.sensors.size(), 1u);
    EXPECT_EQ(read.sensors[0].celsius, 40.5);
    EXPECT_EQ(read.slot.y, 4);

    json root = json::object();
    EXPECT_EQ(root.set("drives", std::vector<drive>{made, made}), 0);
    EXPECT_EQ(root["drives"].push_back(made), 0);
    EXPECT_EQ(root.set("/one/two"_ptr, made), 0);
    EXPECT_EQ(root["drives"].set(0, made), 0);
    EXPECT_EQ(root["drives"].to<std::vector<drive>>()->size(), 3u);
    EXPECT_EQ(root.get<drive>("/one/two"_ptr)->serial, "A1");
    EXPECT_EQ(text_of(json{{"p", geometry::point{1, 2}}}), R"({"p":[1,2]})");
    EXPECT_EQ(root.set("maybe", std::optional<geometry::point>({5, 6})), 0);
    EXPECT_EQ(text_of(root["maybe"]), "[5,6]");
}

TEST(CppConvert, SixtyFourMembers) {
    counters made{};
    made.a0 = 1;
    made.d7 = 2;
    made.h7 = 3;
    const json value = json::of(made);
    EXPECT_EQ(value.size(), 64);
    EXPECT_EQ(value["a0"], 1);
    EXPECT_EQ(value["h7"], 3);
    const counters read = value.to<counters>().value();
    EXPECT_EQ(read.a0 + read.d7 + read.h7, 6);
    EXPECT_EQ(read.e0, 0);
}

TEST(CppConvert, MissingAndWrongMembers) {
    const json whole = json::of(drive{"A1", 12, {}, {}, {}});
    EXPECT_FALSE(whole.contains("label")) << "an empty optional is left out";
    drive target{"old", 1, "kept", {}, {}};
    EXPECT_EQ(from_json(whole, target), 0);
    EXPECT_FALSE(target.label.has_value());

    json without = whole.clone().value();
    EXPECT_EQ(without.erase("serial"), 0);
    EXPECT_EQ(without.to<drive>().status(), WIQ_ERR_KEY_NOT_FOUND);
    json wrong = whole.clone().value();
    EXPECT_EQ(wrong.set("hours", -1), 0);
    target = drive{"old", 1, "kept", {}, {}};
    EXPECT_EQ(from_json(wrong, target), WIQ_ERR_RANGE);
    EXPECT_EQ(target.serial, "old") << "a failure changes nothing";
    EXPECT_EQ(target.label, "kept");
    EXPECT_EQ(wrong.set("extra", 1), 0);
    EXPECT_EQ(wrong.set("hours", 1), 0);
    EXPECT_EQ(wrong.to<drive>()->hours, 1u) << "members that are not requested are ignored";
    EXPECT_EQ(json::of(3).to<drive>().status(), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(json().to<drive>().status(), ke::err_empty);
}

}  // namespace
