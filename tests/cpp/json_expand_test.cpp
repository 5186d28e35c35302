// The size of an expansion, which is counted before any reference is expanded: compared with the result of the
// expansion, and for documents that would expand to more than memory can hold.
#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "parsed.h"
#include "support/small_stack.h"

namespace {

using namespace ke::literals;
using ke::json;
using ke::json_ref;
using ke::json_view;

constexpr ke::u64 kNoLimit = ~ke::u64{0};

// How many values a tree has, and how many of them are references. It follows weak containers, too.
struct Tally {
    ke::u64 values = 0;
    ke::u64 references = 0;
};
void count(json_view value, Tally& tally) {
    ++tally.values;
    tally.references += value.is_reference();
    for (const json_view element : value.elements())
        count(element, tally);
    for (const auto [key, member] : value.members())
        count(member, tally);
}
Tally tally_of(json_view value) {
    Tally tally;
    count(value, tally);
    return tally;
}

std::string reference_text(const std::string& where) {
    return "{\"$ref\":\"" + where + "\"}";
}

// Returns {"v0":[1], "v1":[two references to "v0"], "v2":[two references to "v1"], ...}.
std::string doubling(int steps) {
    std::string text = "{\"v0\":[1]";
    for (int i = 1; i <= steps; ++i) {
        const std::string below = reference_text("/v" + std::to_string(i - 1));
        text += ",\"v" + std::to_string(i) + "\":[" + below + "," + below + "]";
    }
    return text + "}";
}
ke::u64 doubled(int steps) {
    ke::u64 size = 2;
    ke::u64 sum = 1 + size;
    for (int i = 1; i <= steps; ++i) {
        size = 1 + 2 * size;
        sum += size;
    }
    return sum;
}

TEST(CppExpansion, Sizes) {
    const struct {
        std::string text;
        ke::u64 size;
    } rows[] = {
        {"1", 1},
        {"[]", 1},
        {"{}", 1},
        {"\"text\"", 1},
        {"[1,[2,[]],{\"a\":null}]", 7},
        {"[1,{\"$ref\":\"/0\"}]", 3},
        {"[[1,2],{\"$ref\":\"/0\"},{\"$ref\":\"#/0\"}]", 10},
        // a reference to a reference to a reference, met before and after its target
        {R"({"a":{"$ref":"/b"},"b":{"$ref":"/c"},"c":{"$ref":"/d"},"d":[1,2]})", 13},
        {R"([[7,{"$ref":"/1"}],[8,{"$ref":"/2"}],9])", 1 + 5 + 3 + 1},
        {R"({"$ref":"nowhere","and":"more"})", 3},  // not a reference
        {doubling(1), 8},
        {doubling(3), doubled(3)},
    };
    for (const auto& row : rows) {
        json root = parsed(row.text.c_str());
        EXPECT_EQ(root.expanded_size().value(), row.size) << row.text;
        const std::string before = text_of(root);
        EXPECT_EQ(root.expand(row.size - 1), WIQ_ERR_RANGE) << row.text;
        EXPECT_EQ(text_of(root), before);
        EXPECT_EQ(root.expand(row.size), 0) << row.text;
        EXPECT_EQ(tally_of(root).values, row.size) << row.text;
        EXPECT_EQ(tally_of(root).references, 0u) << row.text;
        EXPECT_EQ(root.expanded_size().value(), row.size) << "expanded already: " << row.text;
    }
}

TEST(CppExpansion, FailuresChangeNothing) {
    const struct {
        const char* text;
        i32 status;
    } rows[] = {
        {R"([1,{"$ref":"#"}])", WIQ_ERR_JREF_CYCLE},
        {R"({"a":{"$ref":"/a"}})", WIQ_ERR_JREF_CYCLE},
        {R"({"a":{"$ref":"/b"},"b":{"$ref":"/a"}})", WIQ_ERR_JREF_CYCLE},
        {R"({"x":{"$ref":"/a"},"a":{"$ref":"/b"},"b":{"$ref":"/a"}})", WIQ_ERR_JREF_CYCLE},
        {R"({"a":[1,{"$ref":"/b"}],"b":{"c":{"$ref":"/a"}}})", WIQ_ERR_JREF_CYCLE},
        {R"({"a":{"b":[{"$ref":"/a/b"}]}})", WIQ_ERR_JREF_CYCLE},
        {R"([[1],{"$ref":"/0"},{"$ref":"/none"}])", WIQ_ERR_WRONG_TYPE},
        {R"([[1],{"$ref":"/0"},{"$ref":"/9"}])", WIQ_ERR_INDEX_OUT_OF_RANGE},
        {R"({"a":[1],"b":{"$ref":"/a"},"c":{"$ref":"/d"}})", WIQ_ERR_KEY_NOT_FOUND},
        {R"({"a":[1],"b":{"$ref":"/c"},"c":{"$ref":"/d"}})", WIQ_ERR_KEY_NOT_FOUND},
        {R"([[1],{"$ref":"/0"},{"$ref":"0"}])", WIQ_ERR_PTR_SYNTAX},
        {R"([[1],{"$ref":"/0"},{"$ref":"/~2"}])", WIQ_ERR_PTR_BAD_ESCAPE},
        // the first failure that a walk meets, whatever follows
        {R"([{"$ref":"/9"},{"$ref":"#"}])", WIQ_ERR_INDEX_OUT_OF_RANGE},
        {R"([{"$ref":"#"},{"$ref":"/9"}])", WIQ_ERR_JREF_CYCLE},
        {R"([[0,{"$ref":"/x"}],{"$ref":"/9"}])", WIQ_ERR_WRONG_TYPE},
    };
    for (const auto& row : rows) {
        json root = parsed(row.text);
        const std::string before = text_of(root);
        EXPECT_EQ(root.expanded_size().status(), row.status) << row.text;
        EXPECT_EQ(root.expand(kNoLimit), row.status) << row.text;
        EXPECT_EQ(text_of(root), before);
        EXPECT_EQ(root.expand(), row.status) << "without a limit: " << row.text;
    }
    json nothing;
    EXPECT_EQ(nothing.expanded_size().status(), ke::err_empty);
    EXPECT_EQ(nothing.expand(1), ke::err_empty);
}

// Sixty lines expand to more values than there are bytes in any memory. The count is exact as long as it fits in
// 64 bits, and stops at the largest number.
TEST(CppExpansion, Doubling) {
    for (const int steps : {10, 60, 61, 62, 63, 64, 200, 20000}) {
        json root = parsed(doubling(steps).c_str());
        const std::string before = text_of(root);
        EXPECT_EQ(root.expanded_size().value(), steps <= 61 ? doubled(steps) : kNoLimit) << steps;
        EXPECT_EQ(root.expand(100), WIQ_ERR_RANGE);
        EXPECT_EQ(root.expand(1000000), steps == 10 ? 0 : WIQ_ERR_RANGE);
        EXPECT_EQ(text_of(root) == before, steps != 10);
    }
}

// Each of these would take hours if anything were counted twice, or if the root were searched for from each reference.
TEST(CppExpansion, LinearTime) {
    const int n = 50000;
    std::string many = "{\"big\":[0";
    for (int i = 1; i < n; ++i)
        many += ",0";
    many += "],\"refs\":[" + reference_text("/big");
    for (int i = 1; i < n; ++i)
        many += "," + reference_text("/big");
    json root = parsed((many + "]}").c_str());
    EXPECT_EQ(root.expanded_size().value(), 3 + ke::u64{n} + ke::u64{n} * (n + 1));
    EXPECT_EQ(root.expand(1000000), WIQ_ERR_RANGE);

    // a chain of references, the first one at its end
    std::string chain = "[0";
    for (int i = 1; i < n; ++i)
        chain += "," + reference_text("/" + std::to_string(i - 1));
    EXPECT_EQ(parsed((chain + "]").c_str()).expanded_size().value(), ke::u64{n} + 1);
    // and at its beginning
    chain = "[" + reference_text("/1");
    for (int i = 2; i < n; ++i)
        chain += "," + reference_text("/" + std::to_string(i));
    EXPECT_EQ(parsed((chain + ",0]").c_str()).expanded_size().value(), ke::u64{n} + 1);

    // references at every depth
    std::string deep = "{\"x\":[1,2],\"deep\":";
    for (int i = 0; i < n; ++i)
        deep += "[" + reference_text("/x") + ",";
    deep += "0" + std::string(n, ']') + "}";
    EXPECT_EQ(parsed(deep.c_str()).expanded_size().value(), 5 + 4 * ke::u64{n});
}

TEST(CppExpansion, MillionLevels) {
    const size_t depth = 1000000;
    std::string text = "{\"deep\":";
    for (size_t i = 0; i < depth; ++i)
        text += i % 2 == 0 ? "[" : "{\"a\":";
    text += "0";
    for (size_t i = depth; i > 0; --i)
        text += (i - 1) % 2 == 0 ? "]" : "}";
    text +=
        ",\"again\":" + reference_text("/deep") + ",\"outer\":[" + reference_text("/again") + "]}";
    json root = parsed(text.c_str());
    run_on_small_stack([&root] {
        EXPECT_EQ(root.expanded_size().value(), 2 + 3 * (depth + 1));
        EXPECT_EQ(root.expand(3 * depth), WIQ_ERR_RANGE);
        EXPECT_TRUE(root["again"].is_reference());
        EXPECT_EQ(root.expand(4 * depth), 0);
        EXPECT_TRUE(root.at("/outer/0/0/a/0"_ptr).is_object());
        root = json();
    });
}

// If a reference leads out of the value, its target outside is expanded, too. That can take many more copies than
// the value itself contains in the end.
TEST(CppExpansion, CopiesOutsideCountToo) {
    const int n = 300;
    std::string text = "{\"start\":[" + reference_text("/t0") + "]";
    for (int i = 0; i < n; ++i)
        text += ",\"t" + std::to_string(i) + "\":[0," +
                reference_text("/t" + std::to_string(i + 1)) + "]";
    text += ",\"t" + std::to_string(n) + "\":[]}";
    json root = parsed(text.c_str());
    const ke::u64 size = 1 + 2 * n + 1;
    const ke::u64 copied = n * (n + 1) + (n + 1);  // 1 + 3 + 5 + ... + (2n + 1)
    EXPECT_EQ(root["start"].expanded_size().value(), size);
    EXPECT_EQ(root["start"].expand(size), WIQ_ERR_RANGE);
    EXPECT_EQ(root["start"].expand(copied - 1), WIQ_ERR_RANGE);
    EXPECT_EQ(text_of(root), text_of(parsed(text.c_str())));
    EXPECT_EQ(root["start"].expand(copied), 0);
    EXPECT_EQ(tally_of(root["start"]).values, size);
}

TEST(CppExpansion, AReferenceStaysAndItsTargetCounts) {
    json root = parsed(R"({"r":{"$ref":"/s"},"s":{"$ref":"/t"},"t":[1,{"$ref":"/u"}],"u":[2]})");
    EXPECT_EQ(root["r"].expanded_size().value(), 4u);
    EXPECT_EQ(root["r"].expand(3), WIQ_ERR_RANGE);
    EXPECT_EQ(root["r"].expand(4), 0);
    EXPECT_EQ(text_of(root), R"({"r":{"$ref":"/s"},"s":{"$ref":"/t"},"t":[1,[2]],"u":[2]})");
    json lone = json::reference("#");
    EXPECT_EQ(lone.expanded_size().status(), WIQ_ERR_JREF_CYCLE);
    json lost = json::reference("/a");
    EXPECT_EQ(lost.expanded_size().status(), WIQ_ERR_WRONG_TYPE);
}

// When a reference is replaced in its own container, a weak container still refers to the reference. The other
// children of a weak container are counted each time that a walk over the result meets them.
TEST(CppExpansion, WeakContainers) {
    json root = parsed(R"({"a":[1,2],"b":{"$ref":"/a"},"l":[{"$ref":"/list"}]})");
    json list = json::weak_array();
    EXPECT_EQ(list.link_back(root["a"]), 0);
    EXPECT_EQ(list.link_back(root["b"]), 0);
    EXPECT_EQ(list.link_back(root["a"]), 0);
    EXPECT_EQ(list.expanded_size().value(), 1u + 3 + 1 + 3);
    EXPECT_EQ(root.set("list", std::move(list)), 0);
    const ke::u64 size = root.expanded_size().value();
    EXPECT_EQ(size, 1u + 3 + 3 + (1 + 8) + 8);
    EXPECT_EQ(root.expand(size), 0);
    EXPECT_EQ(tally_of(root).values, size);
    EXPECT_EQ(tally_of(root).references, 2u) << "in the weak array and in its copy";

    // A reference is copied once, however often weak containers refer to it.
    json again = parsed(R"({"a":[1,2],"b":{"$ref":"/a"}})");
    json three = json::weak_array();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(three.link_back(again["b"]), 0);
    EXPECT_EQ(three.expanded_size().value(), 4u);
    EXPECT_EQ(three.expand(3), WIQ_ERR_RANGE);
    EXPECT_EQ(three.expand(4), 0);
    EXPECT_EQ(text_of(again), R"({"a":[1,2],"b":[1,2]})");

    // Each level refers twice to the one below it, without any reference.
    std::vector<json> levels{json::weak_array()};
    for (int i = 0; i < 100; ++i) {
        json next = json::weak_array();
        EXPECT_EQ(next.link_back(levels.back()), 0);
        EXPECT_EQ(next.link_back(levels.back()), 0);
        levels.push_back(next);
    }
    EXPECT_EQ(levels[50].expanded_size().value(), (ke::u64{1} << 51) - 1);
    EXPECT_EQ(levels[100].expanded_size().value(), kNoLimit);
    EXPECT_EQ(levels[100].expand(1000), WIQ_ERR_RANGE);

    json ring = json::weak_object();
    EXPECT_EQ(ring.link("self", ring), 0);
    EXPECT_EQ(ring.expanded_size().status(), WIQ_ERR_JREF_CYCLE);
    EXPECT_EQ(ring.expand(kNoLimit), WIQ_ERR_JREF_CYCLE);
    EXPECT_EQ(ring.erase("self"), 0);
}

// Random documents of up to about forty values, with references, most of whose targets exist.
class RandomDocument {
  public:
    explicit RandomDocument(unsigned seed) : random_(seed) {}

    json make() {
        json root = number(2) == 0 ? json::array() : json::object();
        places_ = {root};
        fill(root, 4);
        for (int i = number(7); i > 0; --i)
            add(a_container(), json::reference(a_pointer()));
        return root;
    }
    // Links values of the document to weak containers, which are put into it. No weak container can be
    // reached from itself.
    void add_weak(json& root) {
        for (int i = number(4); i > 0; --i) {
            json weak = number(2) == 0 ? json::weak_array() : json::weak_object();
            for (int j = number(4); j > 0; --j) {
                const json_ref value = a_place();
                if (value.node() == root.node())
                    continue;
                if (weak.is_array()) {
                    EXPECT_EQ(weak.link_back(value), 0);
                } else {
                    EXPECT_EQ(weak.link(a_key(), value), 0);
                }
            }
            // Only in the root: elsewhere it might be below one of the values that it refers to.
            json_ref outer = root;
            if (outer.is_array()) {
                EXPECT_EQ(outer.set(outer.size(), std::move(weak)), 0);
            } else {
                EXPECT_EQ(outer.set("w" + std::to_string(i), std::move(weak)), 0);
            }
        }
    }
    json_ref a_place() {
        return places_[static_cast<size_t>(number(static_cast<int>(places_.size())))];
    }
    int number(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }

  private:
    std::string a_key() { return std::string(1, static_cast<char>('a' + number(5))); }
    json_ref a_container() {
        for (;;) {
            const json_ref place = a_place();
            if (place.is_array() || place.is_object())
                return place;
        }
    }
    std::string a_pointer() {
        const int kind = number(12);
        if (kind == 0)
            return "/none/9";
        if (kind == 1)
            return "bad";
        return (kind % 2 == 0 ? "#" : "") + *a_place().location();
    }
    void add(json_ref container, json value) {
        if (!value)
            return;
        if (container.is_array()) {
            EXPECT_EQ(container.push_back(std::move(value)), 0);
            places_.push_back(container[-1]);
        } else {
            const std::string key = a_key();
            if (container.contains(key))
                return;
            EXPECT_EQ(container.set(key, std::move(value)), 0);
            places_.push_back(container[key]);
        }
    }
    void fill(json_ref container, int depth) {
        for (int i = number(4); i > 0; --i) {
            const int kind = number(6);
            const bool deeper = depth > 0 && kind < 3;
            const size_t before = places_.size();
            add(container, !deeper ? json::of(i) : kind == 0 ? json::array() : json::object());
            if (deeper && places_.size() > before)
                fill(places_.back(), depth - 1);
        }
    }

    std::mt19937 random_;
    std::vector<json_ref> places_;
};

TEST(CppExpansion, RandomDocumentsAgreeWithTheExpansion) {
    int expanded = 0;
    int failed = 0;
    for (unsigned seed = 0; seed < 6000; ++seed) {
        SCOPED_TRACE(seed);
        RandomDocument random(seed);
        json root = random.make();
        // In half of the documents the expansion starts at the root, so nothing is outside of it.
        json_ref start = random.number(2) == 0 ? json_ref(root) : random.a_place();
        const std::string text = text_of(root);
        const auto size = start.expanded_size();
        EXPECT_EQ(text_of(root), text);
        if (!size) {
            EXPECT_EQ(start.expand(kNoLimit), size.code());
            EXPECT_EQ(text_of(root), text);
            EXPECT_EQ(wiq_json_jref_expand(start.node()), size.code()) << text;
            ++failed;
            continue;
        }
        const json before = *root.clone();
        const bool is_reference = start.is_reference();
        ASSERT_EQ(wiq_json_jref_expand(start.node()), 0) << text;
        EXPECT_EQ(tally_of(is_reference ? *start.resolve() : start).values, *size) << text;
        // The number of copied values: the growth of the document, plus one for each replaced reference.
        const Tally old_tally = tally_of(before);
        const Tally new_tally = tally_of(root);
        const ke::u64 copied =
            new_tally.values - old_tally.values + old_tally.references - new_tally.references;
        const ke::u64 limit = std::max(*size, copied);
        json again = *before.clone();
        json_ref place = again.at({start.location()->c_str()});
        EXPECT_EQ(place.expand(limit - 1), WIQ_ERR_RANGE) << text;
        EXPECT_EQ(again, before);
        EXPECT_EQ(place.expand(limit), 0) << text;
        EXPECT_EQ(again, root);
        expanded += copied > 0;
    }
    EXPECT_GT(expanded, 500);
    EXPECT_GT(failed, 1000);
}

TEST(CppExpansion, RandomDocumentsWithWeakContainers) {
    int expanded = 0;
    for (unsigned seed = 0; seed < 3000; ++seed) {
        SCOPED_TRACE(seed);
        RandomDocument random(seed);
        json root = random.make();
        random.add_weak(root);
        const auto size = root.expanded_size();
        const i32 status = wiq_json_jref_expand(root.node());
        EXPECT_EQ(size.code(), status);
        if (size && status == 0) {
            EXPECT_EQ(tally_of(root).values, *size);
            ++expanded;
        }
    }
    EXPECT_GT(expanded, 500);
}

}  // namespace
