// Tests of the smaller families: visitors and objects, tagged values, text, time, modules, hooks, error codes.
#include "parsed.h"

#include <stdexcept>
#include <string>

namespace {

using namespace ke::literals;
using ke::json;
using ke::json_view;

class Outline : public ke::json_visitor {
  public:
    std::string text;
    std::string stop_at;
    bool throws = false;

  protected:
    ke::status on_member(json_view parent, std::string_view key, json_view value,
                         bool first) override {
        text += std::string(key) + ":";
        if (key == stop_at) {
            if (throws)
                throw std::runtime_error("stopped");
            return WIQ_ERR_RANGE;
        }
        return json_visitor::on_member(parent, key, value, first);
    }
    ke::status on_element(json_view array, ke::i32 index, json_view value) override {
        text += std::to_string(index) + ":";
        return json_visitor::on_element(array, index, value);
    }
    ke::status on_string(json_view, std::string_view value) override { return note(value); }
    ke::status on_integer(json_view, ke::i64 value) override { return note(std::to_string(value)); }
    ke::status on_uint128(json_view, ke::uint128 value) override { return note(value.to_string()); }
    ke::status on_real(json_view, double value) override {
        return note(value == 2.5 ? "2.5" : "?");
    }
    ke::status on_bool(json_view, bool value) override { return note(value ? "yes" : "no"); }
    ke::status on_null(json_view) override { return note("null"); }
    ke::status on_reference(json_view, std::string_view uri) override { return note(uri); }
    ke::status on_unsigned(json_view, ke::u64 value) override {
        return note(std::to_string(value));
    }

  private:
    ke::status note(std::string_view value) {
        text += std::string(value) + " ";
        return {};
    }
};

TEST(CppVisitor, CallsWhatIsOverridden) {
    json root =
        parsed(R"([1,"x",2.5,true,null,{"$ref":"#/0"},18446744073709551616,{"a":{"b":[7]}}])");
    EXPECT_EQ(root.push_back(5u), 0);
    Outline outline;
    EXPECT_EQ(outline.visit(root), 0);
    EXPECT_EQ(outline.text,
              "0:1 1:x 2:2.5 3:yes 4:null 5:#/0 6:18446744073709551616 7:a:b:0:7 8:5 ");
    EXPECT_EQ(outline.visit(json()), ke::err_empty);
    class Nothing : public ke::json_visitor {
    } nothing;
    EXPECT_EQ(nothing.visit(root), 0);
}

TEST(CppVisitor, StopsOnAStatusOrAnException) {
    const json root = parsed(R"({"a":{"b":1}})");
    Outline outline;
    outline.stop_at = "b";
    EXPECT_EQ(outline.visit(root), WIQ_ERR_RANGE);
    EXPECT_EQ(outline.text, "a:b:");
    outline.throws = true;
    EXPECT_THROW((void)outline.visit(root), std::runtime_error);
    outline.stop_at = "";
    outline.text = "";
    EXPECT_EQ(outline.visit(root), 0) << "the visitor can be used again";
    EXPECT_EQ(outline.text, "a:b:1 ");
}

class Follower : public Outline {
  protected:
    ke::status on_reference(json_view value, std::string_view) override {
        const auto target = value.resolve();
        return target ? visit(*target) : target.status();
    }
};

TEST(CppVisitor, MayVisitAnotherValueOnTheWay) {
    const json root = parsed(R"({"a":{"$ref":"#/b"},"b":{"c":1},"d":2})");
    Follower follower;
    EXPECT_EQ(follower.visit(root), 0);
    EXPECT_EQ(follower.text.size(), std::string("a:c:1 b:c:1 d:2 ").size()) << follower.text;
    follower.stop_at = "c";
    follower.throws = true;
    EXPECT_THROW((void)follower.visit(root), std::runtime_error);
    follower.throws = false;
    EXPECT_EQ(follower.visit(root), WIQ_ERR_RANGE);
}

TEST(CppObject, CountsItsOwners) {
    EXPECT_EQ(ke::detail::visitor_registration.status(), 0);
    auto made = ke::object<>::make(WiqJsonVisitorType);
    ASSERT_TRUE(made);
    EXPECT_TRUE(made->is_a(WiqJsonVisitorType));
    EXPECT_TRUE(made->is_a(ObjectType));
    EXPECT_FALSE(made->is_a(ke::detail::visitor_type));
    ke::object<> other = *made;
    EXPECT_EQ(other->refcount, 2);
    other = ke::object<>::share(made->get());
    EXPECT_EQ(other->refcount, 2);
    ke::object<> moved = std::move(other);
    EXPECT_FALSE(other);  // NOLINT(bugprone-use-after-move): a moved-from owner is empty
    EXPECT_EQ(moved->refcount, 2);
    EXPECT_FALSE(ke::object<>::share(nullptr));
}

TEST(CppTagged, HoldsOneOfMany) {
    ke::tagged value;
    EXPECT_TRUE(value.is_null());
    EXPECT_EQ(value.set(true), 0);
    EXPECT_TRUE(value.get<bool>().value());
    EXPECT_EQ(value.set(-5), 0);
    EXPECT_EQ(value.get<ke::i32>().value(), -5);
    EXPECT_EQ(value.get<ke::i64>().status(), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(value.set(static_cast<unsigned short>(7)), 0);
    EXPECT_EQ(value.get<ke::u32>().value(), 7u);
    EXPECT_EQ(value.set(UINT64_MAX), 0);
    EXPECT_EQ(value.get<ke::u64>().value(), UINT64_MAX);
    EXPECT_EQ(value.set(1_u128 << 70u), 0);
    EXPECT_EQ(value.get<ke::uint128>().value(), 1_u128 << 70u);
    EXPECT_EQ(value.set(2.5f), 0);
    EXPECT_EQ(value.get<float>().value(), 2.5f);
    EXPECT_EQ(value.set(std::string_view("texts").substr(0, 4)), 0);
    EXPECT_EQ(value.get<std::string_view>().value(), "text");
    EXPECT_EQ(value.set(std::string("a\0b", 3)), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(value.get<std::string_view>().value(), "text");
    const ke::tagged copy = value.clone().value();
    EXPECT_EQ(copy, value);
    EXPECT_EQ(value.set("42"), 0);
    EXPECT_NE(copy, value);
    EXPECT_EQ(value.convert<ke::u32>().value(), 42u);
    EXPECT_EQ(value.set("-42"), 0);
    EXPECT_EQ(value.convert<ke::u64>().status(), WIQ_ERR_BAD_FORMAT);
    const std::string large(70000, 'x');
    EXPECT_EQ(value.set(ke::bytes_view{large.data(), large.size()}), 0);
    EXPECT_EQ(value.get<ke::bytes_view>()->size, large.size());
    ke::tagged moved = std::move(value);
    EXPECT_EQ(moved.type(), WIQ_MTYPE_BLOB);
    EXPECT_EQ(moved.set(ke::status_value{WIQ_ERR_RANGE}), 0);
    EXPECT_EQ(moved.get<ke::status_value>()->code, WIQ_ERR_RANGE);
    EXPECT_EQ(moved.set(static_cast<void*>(&moved)), 0);
    EXPECT_EQ(moved.get<void*>().value(), &moved);
    EXPECT_EQ(moved.set(nullptr), 0);
    EXPECT_TRUE(moved.is_null());
}

TEST(CppText, Numbers) {
    EXPECT_EQ(ke::parse_number<ke::i32>("-0x10").value(), -16);
    EXPECT_EQ(ke::parse_number<ke::u16>("65536").status(), WIQ_ERR_RANGE);
    EXPECT_EQ(ke::parse_number<ke::u64>(std::string_view("123").substr(0, 2)).value(), 12u);
    EXPECT_EQ(ke::parse_number<ke::i64>("5 ").status(), WIQ_ERR_TRAILING_CHARS);
    EXPECT_EQ(ke::parse_number<double>("2.5").value(), 2.5);
    EXPECT_EQ(ke::parse_number<double>("x").status(), WIQ_ERR_BAD_FORMAT);
    EXPECT_EQ(ke::compare_ignoring_case("ABC", "abc"), 0);
    EXPECT_EQ(ke::trimmed("  a b \n"), "a b");
    EXPECT_EQ(ke::upper("aB1"), "AB1");
    EXPECT_EQ(ke::field_text("ab  ", 4), "ab");
    EXPECT_EQ(ke::field_text("ab\0c", 4), "ab");
    EXPECT_EQ(ke::capacity_gigabytes(ke::lba_count(500, 512), 512), 500u);
    EXPECT_EQ(ke::capacity_bytes(500, 512), ke::lba_count(500, 512) * 512);
}

TEST(CppText, BinaryData) {
    EXPECT_EQ(ke::base64_encode("light w", 7), "bGlnaHQgdw==");
    EXPECT_EQ(ke::base64_encode(nullptr, 0), "");
    const auto bytes = ke::base64_decode("bGlnaHQgdw==");
    ASSERT_TRUE(bytes);
    EXPECT_EQ(std::string(bytes->begin(), bytes->end()), "light w");
    EXPECT_TRUE(ke::base64_decode({})->empty());
    EXPECT_EQ(ke::base64_decode("a b").status(), WIQ_ERR_INVALID_VALUE);
    std::string lines;
    EXPECT_EQ(ke::dump_memory("0123456789abcdefgh", 18,
                              [&](ke::u64 offset, std::string_view hex, std::string_view ascii) {
                                  lines += std::to_string(offset) + " " +
                                           std::string(hex.substr(0, 8)) + " " +
                                           std::string(ascii) + "|";
                              }),
              0);
    EXPECT_EQ(lines.substr(0, 29), "0 30313233 0123456789abcdef|1");
    EXPECT_EQ(ke::dump_memory(nullptr, 0, [](ke::u64, std::string_view, std::string_view) {}),
              WIQ_ERR_INVALID_ARG);
    EXPECT_THROW(
        (void)ke::dump_memory("x", 1, [](ke::u64, std::string_view, std::string_view) { throw 1; }),
        int);
}

TEST(CppPlatform, TimeAndModules) {
    using namespace std::chrono_literals;
    EXPECT_GT(ke::now().time_since_epoch(), 24h * 365 * 50);
    const auto fields = ke::utc(std::chrono::system_clock::time_point(86399s));
    ASSERT_TRUE(fields);
    EXPECT_EQ(fields->tm_year, 70);
    EXPECT_EQ(fields->tm_hour, 23);
    EXPECT_EQ(ke::time_of_day(3723004ms), "01:02:03.004");
    const auto before = std::chrono::steady_clock::now();
    ke::sleep_for(5ms);
    EXPECT_GE(std::chrono::steady_clock::now() - before, 4ms);
    ke::sleep_for(-1ms);
    EXPECT_EQ(ke::dynamic_library::open("no such module").status(), WIQ_ERR_DLOPEN);
#if defined(_WIN32)
    auto module = ke::dynamic_library::open("msvcrt.dll");
#else
    auto module = ke::dynamic_library::open("libm.so.6");
#endif
    ASSERT_TRUE(module) << module.describe();
    ke::dynamic_library library = *std::move(module);
    const auto root_of = library.symbol<double(double)>("sqrt");
    ASSERT_TRUE(root_of) << root_of.describe();
    EXPECT_EQ((*root_of)(9.0), 3.0);
    EXPECT_EQ(library.symbol<void()>("no such function").status(), WIQ_ERR_DLSYM);
    const ke::dynamic_library other = std::move(library);
    EXPECT_EQ(library.symbol<void()>("sqrt").status(),  // NOLINT(bugprone-use-after-move)
              ke::err_empty);
}

TEST(CppPlatform, HooksForAScope) {
    const auto before = wiq_malloc_post_cb;
    {
        const ke::leak_scope leaks;
        EXPECT_NE(wiq_malloc_post_cb, before);
        void* const block =
            wiq_wrap_malloc(8, false, nullptr, wiq_malloc_pre_cb, wiq_malloc_post_cb);
        EXPECT_EQ(leaks.balance(), 1);
        wiq_wrap_free(block, wiq_free_cb);
        EXPECT_EQ(leaks.balance(), 0);
        EXPECT_EQ(leaks.count(), 1);
    }
    EXPECT_EQ(wiq_malloc_post_cb, before);
    EXPECT_EQ(wiq_free_cb, nullptr);
}

TEST(CppErrorCode, WorksWithStandardErrorCodes) {
    const std::error_code code = ke::make_error_code(WIQ_ERR_NOT_FOUND);
    EXPECT_TRUE(code);
    EXPECT_EQ(code.value(), WIQ_ERR_NOT_FOUND);
    EXPECT_EQ(code, std::errc::no_such_file_or_directory);
    EXPECT_EQ(code.message(), ke::status_text(WIQ_ERR_NOT_FOUND));
    EXPECT_STREQ(code.category().name(), "ke_utils");
    EXPECT_FALSE(ke::make_error_code(ke::status()));
    EXPECT_NE(ke::make_error_code(WIQ_ERR_ENCODING), std::errc::no_such_file_or_directory);
}

}  // namespace
