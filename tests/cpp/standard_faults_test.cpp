// Sweeps of the C++ layer with operator new failing, too: each allocation inside a call, whether the
// library's, the layer's or the standard library's, fails once. The call must return WIQ_ERR_NO_MEMORY or
// throw std::bad_alloc, leak nothing, and leave what it would have changed unchanged.
#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>
#include <map>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "failing_new.h"
#include "ke_utils.hpp"
#include "support/alloc_faults.h"

using namespace ke::literals;
using ke::json;
using ke::json_view;

namespace {

// Too long for the inline buffer of a std::string, so each copy allocates.
const char kLong[] = "a text that is too long to lie inside a std::string";
const char kDocument[] =
    R"({"list":[3,1,2],"names":["a text that is too long to lie inside a std::string","b"],)"
    R"("a text that is too long to lie inside a std::string":)"
    R"({"a text that is too long to lie inside a std::string":1,"1":2},)"
    R"("o":{"a":1,"b":2,"c":3,"d":4,"e":5,"f":6,"g":7,"h":8,"i":9,"j":10}})";

struct disk {
    std::string name;
    std::vector<std::string> labels;
    std::map<std::string, std::string> notes;
    KE_JSON_MEMBERS(disk, name, labels, notes)
};
disk a_disk() {
    return {kLong, {kLong, "b"}, {{kLong, kLong}}};
}
bool operator==(const disk& a, const disk& b) {
    return a.name == b.name && a.labels == b.labels && a.notes == b.notes;
}

i32 code_of(const ke::status& status) {
    return status.code();
}
template <class T>
i32 code_of(const ke::result<T>& result) {
    return result.code();
}
template <class T>
i32 code_of(const T&) {
    return 0;  // a call without a status can only throw
}

// Runs a call with faults armed. Returns whether the call succeeded.
template <class Call>
bool RunWithFaults(AllocFaults& faults, Call&& call) {
    i32 code = 0;
    bool thrown = false;
    try {
        const FailingNew failing;
        faults.arm();
        const auto done = call();
        faults.disarm();
        code = code_of(done);
    } catch (const std::bad_alloc&) {
        faults.disarm();
        thrown = true;
    }
    EXPECT_FALSE(thrown && !faults.fired());
    EXPECT_TRUE(code == 0 || (code == WIQ_ERR_NO_MEMORY && faults.fired())) << code;
    return code == 0 && !thrown;
}

// Sweeps a call that changes nothing.
template <class Call>
void Sweep(const char* what, Call&& call) {
    SCOPED_TRACE(what);
    (void)call();  // allocates what is made once and kept
    const size_t points = SweepAllocations([&](AllocFaults& faults) {
        const bool done = RunWithFaults(faults, call);
        EXPECT_TRUE(done || faults.fired());
    });
    EXPECT_GT(points, 0u);
}

// Sweeps a call that changes the result of `make()`; after a failure it must still be equal to `make()`. A
// call that succeeds although an allocation failed is a success.
template <class Make, class Call>
void SweepChange(const char* what, Make make, Call call) {
    SCOPED_TRACE(what);
    const auto before = make();
    {
        auto warm = make();
        EXPECT_EQ(code_of(call(warm)), 0);
    }
    const size_t points = SweepAllocations([&](AllocFaults& faults) {
        auto changed = make();
        if (!RunWithFaults(faults, [&] { return call(changed); })) {
            EXPECT_TRUE(changed == before);
        }
    });
    EXPECT_GT(points, 0u);
}
json document() {
    return *json::parse(kDocument);
}
template <class Call>
void SweepDocument(const char* what, Call call) {
    SweepChange(what, document, call);
}

TEST(CppStandardFaults, Reading) {
    const json root = document();
    const json made = *json::make(a_disk());
    Sweep("texts", [&] { return root.get<std::string>("/names/0"_ptr); });
    Sweep("lists", [&] { return root.get<std::vector<std::string>>("names"); });
    Sweep("deques", [&] { return root.get<std::deque<int>>("list"); });
    Sweep("maps", [&] { return root.get<std::map<std::string, int>>("o"); });
    Sweep("types of the user", [&] { return made.to<disk>(); });
    Sweep("members", [&] { return root["o"].members().size(); });
    Sweep("paths", [&] { return root.get<int>(ke::path() / "o" / "a" / kLong).status() == 0; });
    Sweep("locations", [&] { return root["o"]["a"].location(); });
    Sweep("dumps", [&] { return root.dump(ke::pretty | ke::sort_keys); });
    Sweep("dumps in ASCII", [&] { return ke::dump_ascii(root); });
    Sweep("sentences", [&] { return json::parse("[1,\n x]").describe(); });
    const std::string key(300, 'k');
    Sweep("long keys", [&] {
        const auto found = root.get<int>(std::string_view(key));
        return found.code() == WIQ_ERR_KEY_NOT_FOUND ? ke::status() : found.status();
    });
}

TEST(CppStandardFaults, AStructThatCannotBeReadIsUnchanged) {
    const json made = *json::make(a_disk());
    SweepChange(
        "from_json",
        [] {
            return disk{"old", {kLong}, {}};
        },
        [&](disk& to) { return from_json(made, to); });
}

TEST(CppStandardFaults, Changing) {
    SweepDocument("a type of the user", [](json& d) { return d.set("disk", a_disk()); });
    SweepDocument("a list of them", [](json& d) {
        return d.set("disks", std::vector<disk>{a_disk(), a_disk()});
    });
    SweepDocument("a map of them", [](json& d) {
        return d.set("disks", std::map<std::string, disk>{{"a", a_disk()}});
    });
    SweepDocument("a tuple of them",
                  [](json& d) { return d.set("disks", std::make_tuple(1, a_disk(), a_disk())); });
    SweepDocument("insert", [](json& d) { return d["list"].insert(0, kLong); });
    SweepDocument("sort", [](json& d) {
        return d["list"].sort([](json_view a, json_view b) {
            return a.to<int>().value_or(0) < b.to<int>().value_or(0);
        });
    });
    SweepDocument("erase_if of an array",
                  [](json& d) { return d["list"].erase_if([](json_view v) { return v == 1; }); });
    SweepDocument("erase", [](json& d) { return d.erase(ke::path() / kLong / kLong); });
    SweepDocument("take", [](json& d) { return d.take(ke::path() / kLong / 1); });
    const json steps = *json::parse(R"([{"op":"replace","path":"/o/a","value":[1]},)"
                                    R"({"op":"move","from":"/list","path":"/o/list"}])");
    SweepDocument("apply_patch", [&](json& d) { return ke::apply_patch(d, steps); });
    const json removal = *json::parse(R"([{"op":"remove","path":""}])");
    SweepDocument("a patch that leaves nothing",
                  [&](json& d) { return ke::apply_patch(d, removal); });
}

// Several members are removed one after the other. Once their names have been collected, removing needs no
// memory.
TEST(CppStandardFaults, ErasingMembers) {
    SweepDocument("erase_if of an object",
                  [](json& d) { return d["o"].erase_if([](json_view v) { return v != 1; }); });
}

// A merge that ends early may be partly done, as documented; nothing is lost or leaks.
TEST(CppStandardFaults, Merging) {
    const json patch{{"o", {{"a", nullptr}, {kLong, {1, 2}}, {"new", {{"deep", {{"er", 1}}}}}}}};
    const size_t points = SweepAllocations([&](AllocFaults& faults) {
        json changed = document();
        if (!RunWithFaults(faults, [&] { return ke::merge_patch(changed, patch); })) {
            EXPECT_EQ(changed["list"].size(), 3);
        }
    });
    EXPECT_GT(points, 0u);
}

TEST(CppStandardFaults, BracedLists) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        json made;
        const bool done = RunWithFaults(faults, [&] {
            made = json{{"disk", a_disk()}, {"list", {1, a_disk()}}};
            return 0;
        });
        EXPECT_EQ(static_cast<bool>(made), !faults.fired());
        EXPECT_TRUE(done || !made);
    });
    EXPECT_GT(points, 10u);
}

// Returns the entries of a map, sorted.
template <class Map>
std::map<std::string, std::string> entries_of(Map& map) {
    std::map<std::string, std::string> entries;
    for (auto [key, value] : map)
        entries.emplace(key, value);
    return entries;
}

TEST(CppStandardFaults, Maps) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        ke::map<std::string> map;
        for (int i = 0; i < 30; ++i) {  // meanwhile the table grows
            const std::string key = kLong + std::to_string(i);
            const auto before = entries_of(map);
            const bool done =
                RunWithFaults(faults, [&] { return map.set(key, std::string(kLong)); });
            if (!done) {
                EXPECT_EQ(entries_of(map), before);
            } else {
                ASSERT_NE(map.find(key), nullptr);
                EXPECT_EQ(*map.find(key), kLong);
            }
        }
    });
    EXPECT_GT(points, 60u);
}

TEST(CppStandardFaults, LockedMaps) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        ke::locked_map<std::string> map;
        for (int i = 0; i < 30; ++i) {
            const std::string key = kLong + std::to_string(i % 20);
            const auto before = map.size();
            const bool there = map.contains(key);
            const bool done =
                RunWithFaults(faults, [&] { return map.set(key, std::string(kLong)); });
            EXPECT_EQ(map.size(), before + (done && !there));
            EXPECT_EQ(map.contains(key), done || there);
        }
        (void)RunWithFaults(faults, [&] { return map.find(kLong + std::string("1")); });
        const std::string fresh = kLong + std::string("fresh");
        const bool made = RunWithFaults(
            faults, [&] { return map.find_or_make(fresh, [] { return std::string(kLong); }); });
        EXPECT_TRUE(!made || map.contains(fresh));
        (void)RunWithFaults(faults, [&] {
            std::vector<std::string> keys;
            map.for_each([&](std::string_view key, std::string&) { keys.emplace_back(key); });
            return keys;
        });
    });
    EXPECT_GT(points, 60u);
}

// If the map cannot be allocated at first, the next call for which there is memory allocates it.
TEST(CppStandardFaults, AMapThatCannotBeAllocated) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        faults.arm();
        ke::map<int> map;
        ke::locked_map<int> locked;
        faults.disarm();
        EXPECT_EQ(map.set("a", 1), 0);
        EXPECT_EQ(*map.find("a"), 1);
        const ke::status stored = locked.set("a", 1);
        EXPECT_TRUE(stored.ok() || (faults.fired() && stored == WIQ_ERR_NO_MEMORY));
        EXPECT_EQ(locked.find("a").has_value(), stored.ok());
        EXPECT_EQ(locked.size(), stored.ok() ? 1u : 0u);
    });
    EXPECT_GT(points, 1u);
}

TEST(CppStandardFaults, Buffers) {
    SweepAllocations([](AllocFaults& faults) {
        ke::strbuf text;
        for (int i = 0; i < 6; ++i) {  // each doubles the text
            const std::string before = text.str();
            const bool done = RunWithFaults(faults, [&] {
                return text.append(kLong, i, ' ', 2.5, 0xFFFFFFFFFFFFFFFFFFFF_u128, text);
            });
            EXPECT_EQ(text.size() > before.size(), done);
            if (!done) {
                EXPECT_EQ(text.view(), before);
            }
        }
    });
    Sweep("append_format", [] {
        ke::strbuf text;
        return text.append_format("{} of {}: {}", 1_u128, 2.5, kLong);
    });
}

TEST(CppStandardFaults, Texts) {
    Sweep("base64_encode", [] { return ke::base64_encode(kLong, sizeof kLong); });
    Sweep("base64_decode", [] { return ke::base64_decode("bGlnaHQgd29yay4gbGlnaHQgd29yay4="); });
    Sweep("field_text", [] { return ke::field_text(kLong, sizeof kLong); });
    Sweep("upper", [] { return ke::upper(kLong); });
    Sweep("to_string", [] { return (~ke::uint128()).to_string(2); });
    Sweep("dump_memory", [] {
        std::vector<std::string> lines;
        return ke::dump_memory(
            kLong, sizeof kLong,
            [&](ke::u64, std::string_view hex, std::string_view) { lines.emplace_back(hex); });
    });
    Sweep("tagged values", [] {
        ke::tagged value;
        KE_TRY(value.set(kLong));
        KE_TRY(value.clone());
        return value.set(std::string_view(std::string(400, 'x')));
    });
}

class Collector : public ke::json_visitor {
  public:
    std::vector<std::string> texts;

  protected:
    ke::status on_string(json_view, std::string_view text) override {
        texts.emplace_back(text);
        return {};
    }
};

// An exception thrown by a visitor's member passes through the C frames and out of visit(), too.
TEST(CppStandardFaults, Visitors) {
    const json root = document();
    EXPECT_TRUE(Collector().visit(root).ok());  // builds the classes, which are kept
    // There is no status that says that an object could not be made.
    const size_t points = SweepAllocations([&](AllocFaults& faults) {
        Collector collector;
        bool failed = false;
        try {
            const FailingNew failing;
            faults.arm();
            const ke::status visited = collector.visit(root);
            faults.disarm();
            failed = visited.failed();
            EXPECT_TRUE(!failed || visited == WIQ_ERR_FAILED || visited == WIQ_ERR_NO_MEMORY);
        } catch (const std::bad_alloc&) {
            faults.disarm();
            failed = true;
        }
        EXPECT_EQ(failed, faults.fired());
        EXPECT_TRUE(collector.visit(root).ok()) << "it can be used again";
    });
    EXPECT_GT(points, 2u);
}

// A folder for the files of a test, with a name that is too long for the inline buffer of a std::string.
class CppStandardFilesFaults : public testing::Test {
  protected:
    CppStandardFilesFaults() {
        const char* const temporary = std::getenv("TMPDIR");
        folder_ = std::string(temporary != nullptr ? temporary : ".") + "/ke_cpp_faults_XXXXXX";
        ke::u32 err = 0;
        std::FILE* const stream = wiq_mkstemp(folder_.data(), &err, "wb");
        EXPECT_NE(stream, nullptr);
        std::fclose(stream);
        EXPECT_EQ(ke::remove_file(folder_), 0);
        EXPECT_EQ(ke::make_directory(folder_), 0);
        file_ = folder_ + "/report.json";
        EXPECT_EQ(ke::save_text(file_, kDocument), 0);
    }
    ~CppStandardFilesFaults() override {
        EXPECT_EQ(ke::remove_file(file_), 0);
        EXPECT_EQ(ke::remove_directory(folder_), 0) << "files remain in " << folder_;
    }
    std::string folder_;
    std::string file_;
};

TEST_F(CppStandardFilesFaults, Reading) {
    Sweep("load_text", [&] { return ke::load_text(file_); });
    Sweep("load_file", [&] { return json::load_file(file_); });
    Sweep("read_line", [&]() -> ke::status {
        auto stream = ke::open_file(file_, "rb");
        if (!stream)
            return stream.status();
        std::string line;
        return ke::read_line(stream->get(), line);
    });
    Sweep("join_path", [&] { return ke::join_path(folder_, kLong, std::string_view(kLong)); });
    Sweep("to_wide", [] { return ke::to_wide(kLong); });
    Sweep("to_utf8", [] { return ke::to_utf8(std::wstring(300, L'x')); });
    Sweep("schema_name", [] { return ke::schema_name(kLong, true); });
    Sweep("dir_name", [&] { return ke::dir_name(folder_); });
}

// After a failure the old file is intact. Nothing else may be in the folder, or the folder could not be
// removed.
TEST_F(CppStandardFilesFaults, Saving) {
    const json next = *json::parse("[1,2,3]");
    const auto sweep = [&](auto save) {
        const size_t points = SweepAllocations([&](AllocFaults& faults) {
            EXPECT_EQ(ke::save_text(file_, kDocument), 0);
            const bool done = RunWithFaults(faults, save);
            EXPECT_EQ(*ke::load_file(file_), done ? next : document());
            EXPECT_EQ(ke::remove_file(file_), 0);
            EXPECT_EQ(ke::remove_directory(folder_), 0);
            EXPECT_EQ(ke::make_directory(folder_), 0);
        });
        EXPECT_GT(points, 1u);
        EXPECT_EQ(ke::save_text(file_, kDocument), 0);
    };
    EXPECT_EQ(ke::save_file(file_, next), 0);  // builds the serializer's class, which is kept
    sweep([&] { return ke::save_file(file_, next); });
    sweep([&] { return ke::save_text(std::string_view(file_), "[1,2,3]"); });
}

// If the copy of a name cannot be allocated, the status is not that of an invalid name.
TEST_F(CppStandardFilesFaults, LongNames) {
    const std::string name = folder_ + std::string(300, '/');
    const std::string_view path = name;  // the folder itself, written as a long name
    const std::string_view none = std::string_view(name).substr(0, name.size());
    Sweep("make_directory", [&]() -> ke::status {
        const ke::status made = ke::make_directory(path);
        return made == WIQ_ERR_ALREADY_EXISTS ? ke::status() : made;
    });
    const auto refused = [](const ke::status& status) {
        return status == WIQ_ERR_NO_MEMORY ? status : ke::status();
    };
    Sweep("remove_file", [&] { return refused(ke::remove_file(none)); });
    Sweep("open_file", [&] { return refused(ke::open_file(none, "rb").status()); });
    Sweep("load_text", [&] { return refused(ke::load_text(none).status()); });
    Sweep("load_file", [&] { return refused(ke::load_file(none).status()); });
    Sweep("rename_file", [&] { return refused(ke::rename_file(none, none)); });
    Sweep("load_schema", [&] { return refused(ke::load_schema(none).status()); });
    Sweep("open", [&] { return refused(ke::dynamic_library::open(none).status()); });
}

TEST_F(CppStandardFilesFaults, Ini) {
    EXPECT_EQ(ke::save_text(file_,
                            std::string("[drive sda]\nname = \"") + kLong + "\"\n[other]\nx = 1\n"),
              0);
    Sweep("as a map", [&] { return ke::ini::load(file_); });
}

}  // namespace
