// Threads that read one document at the same time: with getters, pointers, references, walks, dumps, copies
// and comparisons, while each thread also takes and releases references to nodes.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "json/tree.h"
#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "ke_utils/json.h"
#include "support/start_line.h"

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 40;

const char kText[] =
    R"({"drive":{"name":"disk \u00e9","ready":true,"spare":null,"hours":-17,"bytes":18446744073709551615,)"
    R"("total":340282366920938463463374607431768211455,"load":0.5,"alias":{"$ref":"#/drive/name"},)"
    R"("again":{"$ref":"#/drive/alias"}},"list":[1,"two",[3,{"four":4}],{"$ref":"/list/0"}],)"
    R"("empty":{},"none":[]})";

// Everything that one thread reads, as one text; all threads must get the same text.
class Reading {
  public:
    explicit Reading(wiq_json_t* root) : root_(root) {}

    std::string all() {
        getters();
        elements();
        pointers();
        walks();
        whole();
        references();
        return read_;
    }

  private:
    void add(const char* text) { (read_ += text == nullptr ? "(none)" : text) += '\n'; }
    template <class Number>
    requires std::is_arithmetic_v<Number>
    void add(Number number) { add(std::to_string(number).c_str()); }
    void add_text(const wiq_json_t* node) {
        char* text = nullptr;
        EXPECT_GE(wiq_json_sdump(const_cast<wiq_json_t*>(node), &text, WIQ_JSON_DUMP_SORT_KEYS), 0);
        add(text);
        free(text);
    }

    void getters() {
        u32 err = 0;
        wiq_json_t* drive = wiq_json_obj_get_obj(root_, "drive", &err);
        add(wiq_json_obj_get_str(drive, "name", &err));
        add(wiq_json_obj_get_str(drive, "again", &err));  // through two references
        add(wiq_json_obj_get_bool(drive, "ready", &err));
        add(wiq_json_obj_get_i64(drive, "hours", &err));
        add(wiq_json_obj_get_u64(drive, "bytes", &err));
        add(wiq_json_obj_get_double(drive, "load", &err));
        wiq_uint128 total = {};
        wiq_json_obj_get_u128(&total, drive, "total", &err);
        add(total.hi);
        add(wiq_json_is_null(wiq_json_obj_get_ext(drive, "spare", 0, &err)));
        add(wiq_json_jref_uri(wiq_json_obj_get_jref(drive, "alias", &err)));
        EXPECT_EQ(err, 0u);
        EXPECT_EQ(wiq_json_obj_get_str(drive, "absent", &err), nullptr);
        add(static_cast<i32>(err));
        add(wiq_json_obj_has_key(drive, "load"));
        add(wiq_json_obj_size(drive));
        add(wiq_json_parent_key(drive));
    }

    void elements() {
        u32 err = 0;
        wiq_json_t* list = wiq_json_obj_get_array(root_, "list", &err);
        for (i32 i = 0; i < wiq_json_array_size(list); ++i) {
            const wiq_json_t* elem = wiq_json_array_get_ext(list, i, WIQ_JSON_FOLLOW_REFS, &err);
            add(wiq_json_type_string(elem));
            add(wiq_json_parent_index(wiq_json_array_get_ext(list, i, 0, &err)));
        }
        EXPECT_EQ(err, 0u);
        add(wiq_json_str_get(wiq_json_array_find_str(list, "two")));
        const tree::Tree pattern(wiq_json_loads("[3]", 0, nullptr));
        add(wiq_json_array_find(list, pattern.get()) != nullptr);
    }

    void pointers() {
        for (const char* ptr :
             {"/list/2/1/four", "#/drive/hours", "", "/list/9", "/drive/name/x"}) {
            u32 err = 0;
            char* failed = nullptr;
            const wiq_json_t* node = wiq_json_ptr_get(root_, ptr, &err, &failed);
            add(static_cast<i32>(err));
            add(failed);
            free(failed);
            if (node != nullptr) {
                char* path = nullptr;
                EXPECT_GE(wiq_json_ptr(node, &path), 0);
                add(path);
                free(path);
            }
        }
    }

    void walks() {
        wiq_json_obj_foreach(
            wiq_json_obj_get_ext(root_, "drive", 0, nullptr),
            [](const char* key, wiq_json_t* child, void* user) {
                auto* self = static_cast<Reading*>(user);
                self->add(key);
                self->add(wiq_json_type_string(child));
                return true;
            },
            this);
        wiq_strv keys;
        ASSERT_EQ(wiq_strv_init(&keys), 0);
        EXPECT_EQ(wiq_json_obj_keys(root_, &keys), 4);
        for (i32 i = 0; i < wiq_vector_size(&keys); ++i)
            add(wiq_strv_get(&keys, static_cast<u32>(i)));
        wiq_strv_finalize(&keys);
    }

    void whole() {
        add_text(root_);
        wiq_strbuf pretty;
        ASSERT_EQ(wiq_strbuf_init(&pretty, 0), 0);
        EXPECT_EQ(wiq_json_sdump_ext(root_, &pretty, WIQ_JSON_DUMP_PRETTY, 2), 0);
        add(pretty.data);
        wiq_strbuf_finalize(&pretty);
        const tree::Tree copy(wiq_json_copy(root_, nullptr));
        ASSERT_NE(copy, nullptr);
        add(wiq_json_equal(root_, copy.get()));
        add(wiq_json_subset(copy.get(), root_, WIQ_JSON_SUBSET_SAME_SIZE));
        add(wiq_json_equal(root_, wiq_json_obj_get_ext(root_, "drive", 0, nullptr)));
        add_text(copy.get());
    }

    // Nodes at every depth get one more owner for a while.
    void references() {
        std::vector<wiq_json_t*> held;
        for (const char* ptr : {"", "/drive", "/drive/name", "/list/2/1", "/list/2/1/four"}) {
            wiq_json_t* node = wiq_json_ptr_get(root_, ptr, nullptr, nullptr);
            wiq_json_ref(node);
            held.push_back(node);
        }
        for (wiq_json_t* node : held)
            add_text(node);
        for (wiq_json_t* node : held)
            wiq_json_unref(node);
        u32 err = 0;
        wiq_json_t* again = wiq_json_ptr_get(root_, "/drive/again", &err, nullptr);
        add_text(wiq_json_jref_resolve(again, &err));
        add_text(wiq_json_jref_deref(again, &err));
        EXPECT_EQ(err, 0u);
    }

    wiq_json_t* root_;
    std::string read_;
};

TEST(JsonReadingThreads, EightReadOneDocument) {
    const tree::Tree root(wiq_json_loads(kText, 0, nullptr));
    ASSERT_NE(root, nullptr);
    wiq_json_ref(root.get());
    const std::string expected = Reading(root.get()).all();
    EXPECT_NE(expected.find("disk"), std::string::npos);
    StartLine start(kThreads);
    std::atomic<int> same{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round)
                same += Reading(root.get()).all() == expected ? 1 : 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(same, kThreads * kRounds);
    EXPECT_EQ(tree::count(root.get()), 1);
    EXPECT_EQ(tree::count(wiq_json_ptr_get(root.get(), "/drive/name", nullptr, nullptr)), 1);
    EXPECT_EQ(Reading(root.get()).all(), expected);
}

}  // namespace
