// Tests of reading: look-ups, conversions, ranges, and how long their results live.
#include "parsed.h"
#include "support/temporary_stream.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <map>
#include <numeric>
#include <optional>
#include <sstream>
#include <vector>

#if defined(__cpp_lib_ranges)
#include <ranges>
#endif

namespace {

using namespace ke::literals;
using ke::json;
using ke::json_ref;
using ke::json_view;

int count_of(json_view value) {
    return wiq_json_parent_key(value.node()) == nullptr && value.parent().node() == nullptr
               ? ke::detail::header_of(value.node()).count
               : ke::detail::header_of(value.node()).count - 1;
}

TEST(CppView, EmptyHandlesAnswerEveryCall) {
    const json nothing;
    EXPECT_FALSE(nothing);
    EXPECT_EQ(nothing.node(), nullptr);
    EXPECT_EQ(nothing.kind(), ke::kind::nothing);
    EXPECT_FALSE(nothing.is_null());
    EXPECT_EQ(nothing.size(), 0);
    EXPECT_FALSE(nothing["a"]);
    EXPECT_FALSE(nothing[0]);
    EXPECT_FALSE(nothing.at("/a"_ptr));
    EXPECT_FALSE(nothing.contains("a"));
    EXPECT_FALSE(nothing.parent());
    EXPECT_FALSE(nothing.root());
    EXPECT_TRUE(nothing.members().empty());
    EXPECT_TRUE(nothing.elements().empty());
    EXPECT_STREQ(nothing.type_name(), "<none>");
    EXPECT_EQ(nothing.to<ke::i64>().status(), ke::err_empty);
    EXPECT_EQ(nothing.to<double>().status(), ke::err_empty);
    EXPECT_EQ(nothing.to<bool>().status(), ke::err_empty);
    EXPECT_EQ(nothing.to<std::string>().status(), ke::err_empty);
    EXPECT_EQ(nothing.to<std::vector<int>>().status(), ke::err_empty);
    EXPECT_EQ(nothing.get<int>("a").status(), ke::err_empty);
    EXPECT_EQ(nothing.get<int>(0).status(), ke::err_empty);
    EXPECT_EQ(nothing.get<int>("/a"_ptr).status(), ke::err_empty);
    EXPECT_EQ(nothing.dump().status(), ke::err_empty);
    EXPECT_EQ(nothing.clone().status(), ke::err_empty);
    EXPECT_EQ(nothing.location().status(), ke::err_empty);
    EXPECT_EQ(nothing.resolve().status(), ke::err_empty);
    EXPECT_EQ(nothing, json());
}

TEST(CppView, LookUpsCountNoReferences) {
    static_assert(sizeof(json_view) == sizeof(void*) && std::is_trivially_copyable_v<json_view>);
    static_assert(std::is_trivially_copyable_v<json_ref>);
    json root = parsed(R"({"a":{"b":[1,2,3]}})");
    const json_view b = root["a"]["b"];
    EXPECT_EQ(count_of(b), 0) << "a look-up takes no reference";
    EXPECT_EQ(count_of(root), 1);
    {
        const json owner = b;
        EXPECT_EQ(count_of(b), 1);
        const json other = b.share();
        EXPECT_EQ(count_of(b), 2);
        EXPECT_EQ(other.node(), owner.node());
    }
    EXPECT_EQ(count_of(b), 0);
}

TEST(CppView, LookUpsAreAsMutableAsTheirDocument) {
    json root = parsed(R"({"a":{}})");
    static_assert(std::is_same_v<decltype(root["a"]), json_ref>);
    static_assert(std::is_same_v<decltype(std::as_const(root)["a"]), json_view>);
    static_assert(std::is_same_v<decltype(json()["a"]), json>);
    static_assert(std::is_same_v<decltype(root.at("/a"_ptr)), json_ref>);
    static_assert(std::is_same_v<decltype(std::as_const(root).at("/a"_ptr)), json_view>);
    static_assert(std::is_same_v<decltype(json().at("/a"_ptr)), json>);
    static_assert(!std::is_assignable_v<decltype(root["a"]), json>);
    static_assert(!std::is_assignable_v<decltype(root["a"]), json_ref>);
    static_assert(!std::is_assignable_v<decltype(root["a"]), int>);
    static_assert(!std::is_assignable_v<decltype(json()["a"]), json>);
    static_assert(!std::is_convertible_v<const json&, json_ref>);
    static_assert(!std::is_convertible_v<json_view, json_ref>);
    static_assert(std::is_convertible_v<json&, json_ref>);
    static_assert(std::is_convertible_v<const json&, json_view>);
}

TEST(CppView, LookUpsInATemporaryOwnTheirResult) {
    const auto b = parsed(R"({"a":{"b":[1,2,3]}})")["a"]["b"];
    EXPECT_EQ(text_of(b), "[1,2,3]");
    const auto at = parsed(R"({"a":{"b":[1,2,3]}})").at("/a/b/0"_ptr);
    EXPECT_EQ(at, 1);
    const auto name = parsed(R"({"a":"text"})")["a"].to<std::string>();
    EXPECT_EQ(*name, "text");
    EXPECT_EQ(parsed(R"(["x","y"])").find_text("y"), "y");
    EXPECT_EQ(parsed(R"({"a":"text"})").value_or("a", "none"), "text");
    EXPECT_EQ(parsed(R"({"a":"text"})").value_or("b", std::string("none")), "none");
    const auto root = parsed(R"({"a":[7]})").root();
    static_assert(std::is_same_v<decltype(root), const json>);
    EXPECT_EQ(text_of(root), R"({"a":[7]})");
    const auto target = parsed("[8]").resolve();
    ASSERT_TRUE(target);
    EXPECT_EQ(text_of(*target), "[8]");
    EXPECT_EQ(json().resolve().status(), ke::err_empty);
    using ke::detail::borrows;
    static_assert(borrows<std::string_view> && borrows<std::vector<json_view>> &&
                  borrows<std::pair<int, std::optional<std::string_view>>> &&
                  borrows<std::array<json_ref, 2>>);
    static_assert(!borrows<std::string> && !borrows<std::vector<json>> && !borrows<int> &&
                  !borrows<std::map<std::string, int>>);
}

TEST(CppView, Indexes) {
    const json list = parsed("[10,20,30]");
    EXPECT_EQ(list[0], 10);
    EXPECT_EQ(list[0u], 10);
    EXPECT_EQ(list[0ull], 10);
    EXPECT_EQ(list[std::size_t{2}], 30);
    EXPECT_EQ(list[static_cast<signed char>(-1)], 30);
    EXPECT_EQ(list[-3], 10);
    EXPECT_FALSE(list[3]);
    EXPECT_FALSE(list[-4]);
    EXPECT_FALSE(list[ke::u64{1} << 32]) << "not the element that the low half names";
    EXPECT_FALSE(list[0xFFFFFFFFu]) << "a large index is not a negative one";
    EXPECT_FALSE(list[std::numeric_limits<ke::i64>::min()]);
    EXPECT_EQ(list.get<int>(3).status(), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(list.get<int>(ke::u64{1} << 32).status(), WIQ_ERR_INDEX_OUT_OF_RANGE);
}

TEST(CppView, KeysOfEveryKindOfText) {
    json root = json::object();
    const std::string longer(1000, 'k');
    EXPECT_EQ(root.set(longer, 1), 0);
    EXPECT_EQ(root.set("short", 2), 0);
    EXPECT_EQ(root[longer], 1);
    EXPECT_EQ(root[longer.c_str()], 1);
    EXPECT_EQ(root[std::string_view(longer)], 1);
    EXPECT_EQ(root[std::string_view("shorter").substr(0, 5)], 2);
    char buffer[16] = "short";
    EXPECT_EQ(root[buffer], 2);
    EXPECT_EQ(root[std::string("short")], 2);
    for (std::size_t length : {254u, 255u, 256u, 257u}) {
        const std::string key(length, 'x');
        EXPECT_EQ(root.set(std::string_view(key), length), 0);
        EXPECT_EQ(root[key], length);
        EXPECT_EQ(root[std::string_view(key)], length);
    }
    EXPECT_FALSE(root[std::string_view()]);
    EXPECT_EQ(root.set(std::string_view(), "no name"), 0);
    EXPECT_EQ(root[""], "no name");
}

TEST(CppView, ATextThatContainsANulIsNotAKey) {
    json root = parsed(R"({"a":1})");
    const std::string broken("a\0b", 3);
    EXPECT_FALSE(root[broken]);
    EXPECT_FALSE(root[std::string_view(broken)]);
    EXPECT_FALSE(root.contains(broken));
    EXPECT_EQ(root.get<int>(broken).status(), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(root.set(broken, 2), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(root.set("b", broken), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(json::parse(std::string("1\0", 2)).code(), WIQ_ERR_INVALID_ARG);
    const std::string far(std::string(400, 'a') + '\0');
    EXPECT_EQ(root.set(std::string_view(far), 2), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text_of(root), R"({"a":1})");
}

template <class T>
void expect_range_of() {
    using limits = std::numeric_limits<T>;
    EXPECT_EQ(json::of(limits::max()).template to<T>().value(), limits::max());
    EXPECT_EQ(json::of(limits::min()).template to<T>().value(), limits::min());
    const ke::uint128 over = ke::uint128(static_cast<ke::u64>(limits::max())) + 1;
    EXPECT_EQ(json::of(over).template to<T>().status(), WIQ_ERR_RANGE) << over;
    if (limits::is_signed && sizeof(T) < 8) {
        EXPECT_EQ(json::of(static_cast<ke::i64>(limits::min()) - 1).template to<T>().status(),
                  WIQ_ERR_RANGE);
    }
    if (!limits::is_signed) {
        EXPECT_EQ(json::of(-1).template to<T>().status(), WIQ_ERR_RANGE);
    }
    EXPECT_EQ(json::of(1.5).template to<T>().status(), WIQ_ERR_NOT_INTEGRAL);
    EXPECT_EQ(json::of(-0.0).template to<T>().value(), 0);
    EXPECT_EQ(json::of(100.0).template to<T>().value(), 100);
    EXPECT_EQ(json::of("1").template to<T>().status(), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(json::of(true).template to<T>().status(), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(json::of(limits::max()), limits::max());
}
TEST(CppView, IntegerTypesAreRangeChecked) {
    expect_range_of<signed char>();
    expect_range_of<unsigned char>();
    expect_range_of<short>();
    expect_range_of<unsigned short>();
    expect_range_of<int>();
    expect_range_of<unsigned>();
    expect_range_of<long>();
    expect_range_of<unsigned long>();
    expect_range_of<long long>();
    expect_range_of<unsigned long long>();
}

TEST(CppView, DoublesAtTheEdgesOfIntegers) {
    EXPECT_EQ(json::of(9223372036854775808.0).to<ke::i64>().status(), WIQ_ERR_RANGE);
    EXPECT_EQ(json::of(-9223372036854775808.0).to<ke::i64>().value(), INT64_MIN);
    EXPECT_EQ(json::of(9223372036854775808.0).to<ke::u64>().value(), ke::u64{1} << 63);
    EXPECT_EQ(json::of(18446744073709551616.0).to<ke::u64>().status(), WIQ_ERR_RANGE);
    EXPECT_EQ(json::of(std::numeric_limits<double>::infinity()).to<int>().status(), WIQ_ERR_RANGE);
    EXPECT_EQ(json::of(std::numeric_limits<double>::quiet_NaN()).to<int>().status(), WIQ_ERR_RANGE);
    EXPECT_EQ(json::of(1e300).to<int>().status(), WIQ_ERR_RANGE);
    EXPECT_EQ(json::of(0.5).to<int>().status(), WIQ_ERR_NOT_INTEGRAL);
}

TEST(CppView, IntegersAsRealsWithoutLoss) {
    const ke::i64 exact = ke::i64{1} << 53;
    EXPECT_EQ(json::of(exact).to<double>().value(), 9007199254740992.0);
    EXPECT_EQ(json::of(exact + 1).to<double>().status(), WIQ_ERR_RANGE);
    EXPECT_EQ(json::of(-exact - 1).to<double>().status(), WIQ_ERR_RANGE);
    EXPECT_EQ(json::of(exact * 4).to<double>().value(), 36028797018963968.0);
    EXPECT_EQ(json::of(INT64_MIN).to<double>().value(), -9223372036854775808.0);
    EXPECT_EQ(json::of(UINT64_MAX).to<double>().status(), WIQ_ERR_RANGE);
    EXPECT_EQ(json::of(1_u128 << 100u).to<double>().value(), 1267650600228229401496703205376.0);
    EXPECT_EQ(json::of((1_u128 << 100u) + 1).to<double>().status(), WIQ_ERR_RANGE);
    EXPECT_EQ(json::of(1 << 24).to<float>().value(), 16777216.0f);
    EXPECT_EQ(json::of((1 << 24) + 1).to<float>().status(), WIQ_ERR_RANGE);
    EXPECT_EQ(json::of(0.1).to<float>().value(), 0.1f) << "fractions are rounded";
    EXPECT_EQ(json::of(1e39).to<float>().status(), WIQ_ERR_RANGE);
    EXPECT_EQ(json::of(-1e39).to<float>().status(), WIQ_ERR_RANGE);
    EXPECT_EQ(json::of(std::numeric_limits<double>::infinity()).to<float>().value(),
              std::numeric_limits<float>::infinity());
    EXPECT_EQ(json::of(2.5).to<long double>().value(), 2.5L);
    EXPECT_EQ(json::of("x").to<double>().status(), WIQ_ERR_WRONG_TYPE);
}

TEST(CppView, WideIntegers) {
    const ke::uint128 wide = 340282366920938463463374607431768211455_u128;
    EXPECT_EQ(json::of(wide).to<ke::uint128>().value(), wide);
    EXPECT_EQ(json::of(7).to<ke::uint128>().value(), 7);
    EXPECT_EQ(json::of(-7).to<ke::uint128>().status(), WIQ_ERR_RANGE);
    EXPECT_EQ(json::of(wide).to<wiq_uint128>().value().hi, UINT64_MAX);
    EXPECT_EQ(json::of(wide), wide);
    EXPECT_EQ(json::of(1.5).to<ke::uint128>().status(), WIQ_ERR_NOT_INTEGRAL);
}

TEST(CppView, ComparesWithScalars) {
    const json root = parsed(R"({"n":5,"t":"text","b":true,"z":null,"r":2.5})");
    EXPECT_EQ(root["n"], 5);
    EXPECT_EQ(5u, root["n"]);
    EXPECT_EQ(root["n"], 5.0);
    EXPECT_NE(root["n"], 6);
    EXPECT_NE(root["n"], "5");
    EXPECT_NE(root["n"], true);
    EXPECT_EQ(root["t"], "text");
    EXPECT_EQ(std::string("text"), root["t"]);
    EXPECT_EQ(root["t"], std::string_view("text"));
    EXPECT_NE(root["t"], "texts");
    EXPECT_EQ(root["b"], true);
    EXPECT_NE(root["b"], 1);
    EXPECT_EQ(root["z"], nullptr);
    EXPECT_NE(root["n"], nullptr);
    EXPECT_EQ(root["none"], nullptr) << "as a pointer to nothing";
    EXPECT_FALSE(root["none"] != nullptr);
    EXPECT_FALSE(root["none"].is_null()) << "this distinguishes it from null";
    EXPECT_EQ(root["r"], 2.5);
    EXPECT_NE(root["r"], 2);
    EXPECT_NE(root["none"], 0);
    EXPECT_FALSE(json::of(std::numeric_limits<double>::quiet_NaN()) ==
                 std::numeric_limits<double>::quiet_NaN());
}

TEST(CppView, GetReportsWhatIsMissing) {
    const json root = parsed(R"({"a":{"n":300},"l":[1]})");
    EXPECT_EQ(root.get<int>("/a/n"_ptr).value(), 300);
    EXPECT_EQ(root.get<int>("b").status(), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(root.get<int>("/b/n"_ptr).status(), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(root.get<int>("/l/1"_ptr).status(), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(root.get<int>("/a/n/x"_ptr).status(), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(root.get<int>("a").status(), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(root.get<ke::u8>("/a/n"_ptr).status(), WIQ_ERR_RANGE);
    EXPECT_EQ(root["l"].get<int>("x").status(), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(root.value_or("/a/n"_ptr, 1), 300);
    EXPECT_EQ(root.value_or("/a/m"_ptr, 1), 1);
    EXPECT_EQ(root.value_or("b", "none"), "none");
    EXPECT_EQ(root.value_or<ke::u8>("/a/n"_ptr, 7), 7) << "an out-of-range value counts as missing";
    EXPECT_EQ(root.get<int>("/a/n").status(), WIQ_ERR_PTR_SYNTAX) << "_ptr is missing";
    EXPECT_EQ(root.get<int>(ke::key("/a/n")).status(), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(root.get<int>(std::string("/a/n")).status(), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(parsed(R"({"/a/n":1})").get<int>("/a/n").value(), 1) << "a member of that very name";
    EXPECT_EQ(root.get<int>(ke::pointer{std::string("/a/n").c_str()}).value(), 300);
}

TEST(CppView, PathsAreBuiltOfSteps) {
    const json root = parsed(R"({"a/b":[{"~":1},{"~":2}]})");
    const ke::path path = ke::path() / "a/b" / 1 / "~";
    EXPECT_EQ(path.str(), "/a~1b/1/~0");
    EXPECT_EQ(root.at(path), 2);
    EXPECT_EQ(root[path], 2);
    EXPECT_EQ(root.get<int>(path).value(), 2);
    EXPECT_EQ(root[ke::path("/a~1b"_ptr) / 0u / std::string("~")], 1);
    EXPECT_EQ(root.at(path).location().value(), path.str());
    EXPECT_EQ(root[ke::path()], root);
    json cut = parsed(R"({"a":1})");
    const ke::path nul = ke::path() / std::string_view("a\0b", 3);
    EXPECT_FALSE(cut[nul]) << "not the member \"a\"";
    EXPECT_EQ(cut.set(nul / "c", 1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(cut.erase(nul), WIQ_ERR_INVALID_ARG);
    const ke::path none{ke::pointer{nullptr}};
    EXPECT_FALSE(cut[none]) << "not the whole document";
    EXPECT_FALSE(cut[none / "a"]);
    EXPECT_EQ(cut.set(none / "a", 2), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text_of(cut), R"({"a":1})");
}

TEST(CppView, KnowsItsParentAndLocation) {
    const json root = parsed(R"({"a":[7,{"b":1}]})");
    const json_view b = root.at("/a/1/b"_ptr);
    EXPECT_STREQ(b.parent_key(), "b");
    EXPECT_EQ(b.parent_index(), -1);
    EXPECT_EQ(b.parent().parent_index(), 1);
    EXPECT_EQ(b.parent().parent().node(), root["a"].node());
    EXPECT_EQ(b.root().node(), root.node());
    EXPECT_FALSE(root.parent());
    EXPECT_EQ(b.location().value(), "/a/1/b");
    EXPECT_EQ(root.location().value(), "");
}

TEST(CppView, LookUpsReturnTheStoredValue) {
    json root = parsed(R"({"a":[7],"b":{"$ref":"#/a"},"l":[{"$ref":"#/a"}],"c":{"$ref":"#/c"}})");
    EXPECT_TRUE(root["b"].is_reference());
    EXPECT_TRUE(root.at("/b"_ptr).is_reference());
    EXPECT_TRUE((*root["l"].elements().begin()).is_reference());
    for (auto [key, value] : root.members())
        EXPECT_EQ(value.node(), root[key].node());
    EXPECT_STREQ(root["b"].reference_text(), "#/a");
    EXPECT_EQ(root["b"].resolve()->node(), root["a"].node());
    EXPECT_EQ(root["a"].resolve()->node(), root["a"].node());
    EXPECT_EQ(root["c"].resolve().status(), WIQ_ERR_JREF_CYCLE);
    EXPECT_EQ(root.erase("c"), 0);
    EXPECT_EQ(root.expand(), 0);
    EXPECT_EQ(root["b"], root["a"]);
    EXPECT_NE(root["b"].node(), root["a"].node());
}

TEST(CppRanges, VisitEveryChild) {
    const json root = parsed(R"({"a":1,"b":2,"c":[10,20,30]})");
    std::vector<std::string> keys;
    for (auto [key, value] : root.members()) {
        keys.emplace_back(key);
        EXPECT_EQ(value, root[key]);
    }
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(keys, (std::vector<std::string>{"a", "b", "c"}));
    ke::i64 sum = 0;
    for (json_view element : root["c"].elements())
        sum += element.to<ke::i64>().value();
    EXPECT_EQ(sum, 60);
    EXPECT_EQ(root.size(), 3);
    EXPECT_EQ(root["a"].elements().size(), 0);
    for (auto element : root["a"].elements())
        ADD_FAILURE() << element.type_name();
    for (auto [key, value] : root["c"].members())
        ADD_FAILURE() << key << value.type_name();
}

TEST(CppRanges, ManyMembers) {
    json root = json::object();
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(root.set(std::to_string(i), i), 0);
    int sum = 0;
    auto first = root.members();
    auto members = std::move(first);
    EXPECT_TRUE(first.empty());  // NOLINT(bugprone-use-after-move): a moved-from range is empty
    for (auto [key, value] : members) {
        EXPECT_EQ(value, std::stoi(std::string(key)));
        sum += *value.to<int>();
    }
    EXPECT_EQ(sum, 499500);
    const auto few = [] { return parsed(R"({"a":1})").members(); }();
    EXPECT_EQ((*few.begin()).key, "a");
}

json made_by_set() {
    json root = json::object();
    EXPECT_EQ(root.set(std::string("a key that is longer than any short text"), "value"), 0);
    return root;
}
TEST(CppRanges, KeepATemporaryAlive) {
    for (auto [key, value] : made_by_set().members()) {
        EXPECT_EQ(key, "a key that is longer than any short text");
        EXPECT_EQ(value, "value");
    }
    for (auto element : parsed("[[1],[2]]").elements())
        EXPECT_EQ(element.size(), 1);
    for (auto element : parsed(R"({"a":[1,2]})")["a"].elements())
        EXPECT_GE(element.to<int>().value(), 1);
    auto elements = parsed("[1,2]").elements();
    EXPECT_EQ(*elements.begin(), 1);
}

TEST(CppRanges, ContainersMayBeErasedDuringTheWalk) {
    json root = parsed(R"({"list":[1,2,3]})");
    int seen = 0;
    for (auto element : root["list"].elements()) {
        (void)root.erase("list");
        seen += *element.to<int>();
    }
    EXPECT_EQ(seen, 6);
    root = parsed(R"({"a":1,"b":2,"c":3})");
    for (auto [key, value] : root.members())
        EXPECT_EQ(root.erase(std::string(key)), 0) << "the current member may be removed";
    EXPECT_TRUE(root.empty());
}

TEST(CppRanges, GiveMutableHandles) {
    json root = parsed(R"({"l":[{"n":1},{"n":2}]})");
    for (auto drive : root["l"].elements())
        EXPECT_EQ(drive.set("n", *drive["n"].to<int>() + 1), 0);
    for (auto [key, value] : root.members())
        EXPECT_EQ(value.push_back(key), 0);
    EXPECT_EQ(text_of(root), R"({"l":[{"n":2},{"n":3},"l"]})");
}

TEST(CppRanges, WorkWithAlgorithms) {
    const json list = parsed("[3,1,2]");
    const auto elements = list.elements();
    EXPECT_EQ(std::count_if(elements.begin(), elements.end(), [](json_view v) { return v == 2; }),
              1);
    EXPECT_EQ(std::find(elements.begin(), elements.end(), 1) - elements.begin(), 1);
    EXPECT_EQ(std::accumulate(elements.begin(), elements.end(), 0,
                              [](int sum, json_view v) { return sum + *v.to<int>(); }),
              6);
    const std::vector<json_view> copied(elements.begin(), elements.end());
    EXPECT_EQ(copied.size(), 3u);
    EXPECT_EQ(elements.begin()->to<int>().value(), 3);
    EXPECT_EQ(elements.begin()[2], 2);
    EXPECT_EQ(elements.end() - elements.begin(), 3);
#if defined(__cpp_lib_ranges)
    static_assert(std::ranges::random_access_range<ke::json_elements<json_view>>);
    static_assert(std::ranges::random_access_range<ke::json_members<json_ref>>);
    static_assert(std::ranges::sized_range<ke::json_elements<json_ref>>);
    EXPECT_EQ(std::ranges::max(elements, {}, [](json_view v) { return *v.to<int>(); }), 3);
    int sum = 0;
    for (int n : elements | std::views::transform([](json_view v) { return *v.to<int>(); }) |
                     std::views::filter([](int n) { return n > 1; }))
        sum += n;
    EXPECT_EQ(sum, 5);
    EXPECT_EQ(std::ranges::count_if(parsed(R"({"a":1,"b":2})").members(),
                                    [](auto member) { return member.key == "b"; }),
              1);
#endif
}

TEST(CppView, ParsesByFlags) {
    const char* const twice = R"({"a":1,"a":2} rest)";
    EXPECT_EQ(json::parse(twice).code(), WIQ_ERR_JSON_TRAILING_DATA);
    EXPECT_EQ(json::parse(twice, ke::allow_trailing).value()["a"], 2);
    EXPECT_EQ(json::parse(twice, WIQ_JSON_REJECT_DUPLICATES).code(), WIQ_ERR_JSON_DUPLICATE_KEY);
    EXPECT_EQ(json::parse(twice, ke::allow_trailing | ke::reject_duplicates).code(),
              WIQ_ERR_JSON_DUPLICATE_KEY);
    static_assert((ke::pretty | ke::u128_as_object) == 10);
}

TEST(CppView, Dumps) {
    const json root = parsed(R"({"a":[1,true,null]})");
    EXPECT_EQ(root.dump(ke::pretty | ke::sort_keys).value(),
              "{\n  \"a\": [\n    1,\n    true,\n    null\n  ]\n}");
    std::ostringstream out;
    out << root << root["a"][0];
    EXPECT_EQ(out.str(), R"({"a":[1,true,null]}1)");
    out << json();
    EXPECT_TRUE(out.fail());
    ke::strbuf buffer;
    EXPECT_EQ(buffer.append("text: "), 0);
    EXPECT_EQ(root.dump_to(buffer.get()), 0);
    EXPECT_EQ(buffer.view(), R"(text: {"a":[1,true,null]})");
    EXPECT_EQ(json::of("\xff").dump().status(), WIQ_ERR_BAD_FORMAT);

    FILE* stream = temporary_stream();
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(root.dump_to(stream), 0);
    rewind(stream);
    const ke::result<json> again = json::load(stream);
    fclose(stream);
    ASSERT_TRUE(again);
    EXPECT_EQ(*again, root);
}

}  // namespace
