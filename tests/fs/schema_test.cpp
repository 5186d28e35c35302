// Tests of schema files, which each test puts next to this program or one folder up.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "ke_utils/core.h"
#include "ke_utils/files.h"

namespace {

class Schema : public testing::Test {
  protected:
    void SetUp() override {
        char* dir = wiq_install_dir();
        ASSERT_NE(dir, nullptr);
        beside_ = std::string(dir) + "\\schemas";
        above_ = std::string(dir) + "\\..\\schemas";
        free(dir);
        made_beside_ = wiq_mkdir(beside_.c_str()) == 0;
        made_above_ = wiq_mkdir(above_.c_str()) == 0;
    }
    void TearDown() override {
        wiq_unlink((beside_ + "\\" + kName).c_str());
        wiq_unlink((above_ + "\\" + kName).c_str());
        if (made_beside_) {
            EXPECT_EQ(wiq_rmdir(beside_.c_str()), 0);
        }
        if (made_above_) {
            EXPECT_EQ(wiq_rmdir(above_.c_str()), 0);
        }
    }
    static void put(const std::string& dir, const char* content) {
        FILE* fp = wiq_fopen((dir + "\\" + kName).c_str(), "wb", nullptr);
        ASSERT_NE(fp, nullptr);
        fputs(content, fp);
        fclose(fp);
    }

    static constexpr const char* kName = "schema_test_input.json";
    std::string beside_, above_;
    bool made_beside_ = false;
    bool made_above_ = false;
};

TEST_F(Schema, Filenames) {
    struct Row {
        const char* command;
        bool input;
        const char* name;
    };
    for (const Row& row :
         {Row{"a-b-c", true, "a_b_c_input.json"}, Row{"a-b-c", false, "a_b_c_output.json"},
          Row{"", true, "_input.json"}, Row{"x", false, "x_output.json"}}) {
        u32 err = 9;
        char* name = wiq_schema_filename(row.command, row.input, &err);
        EXPECT_STREQ(name, row.name);
        EXPECT_EQ(err, 0u);
        free(name);
    }
    u32 err = 9;
    EXPECT_EQ(wiq_schema_filename(nullptr, true, &err), nullptr);
    EXPECT_EQ(err, 0u) << "a NULL command is not a failure";
    EXPECT_EQ(wiq_schema_filename(nullptr, true, nullptr), nullptr);
}

TEST_F(Schema, IsFoundOneFolderUp) {
    put(above_, "[2]");
    u32 err = 9;
    wiq_json_t* schema = wiq_load_schema(kName, &err);
    EXPECT_EQ(err, 0u);
    ASSERT_NE(schema, nullptr);
    EXPECT_EQ(wiq_json_i64_get(wiq_json_array_get_ext(schema, 0, 0, nullptr)), 2);
    wiq_json_unref(schema);
}

TEST_F(Schema, TheFolderNextToTheProgramComesFirst) {
    put(above_, "[2]");
    put(beside_, "[1]");
    wiq_json_t* schema = wiq_load_schema(kName, nullptr);
    ASSERT_NE(schema, nullptr);
    EXPECT_EQ(wiq_json_i64_get(wiq_json_array_get_ext(schema, 0, 0, nullptr)), 1);
    wiq_json_unref(schema);
    u32 err = 9;
    FILE* fp = wiq_schema_open(kName, &err);
    ASSERT_NE(fp, nullptr);
    EXPECT_EQ(err, 0u);
    EXPECT_EQ(fgetc(fp), '[');
    fclose(fp);
}

TEST_F(Schema, MissingFiles) {
    u32 err = 0;
    EXPECT_EQ(wiq_schema_open("no_such_schema.json", &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_NOT_FOUND);
    EXPECT_EQ(wiq_load_schema("no_such_schema.json", &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_IO) << "whatever the opening reported";
    EXPECT_EQ(wiq_load_schema(nullptr, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
    err = 9;
    EXPECT_EQ(wiq_schema_open(nullptr, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
}

TEST_F(Schema, BadJsonGivesTheParsersStatus) {
    put(beside_, "[1,]");
    u32 err = 0;
    EXPECT_EQ(wiq_load_schema(kName, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_JSON_UNEXPECTED_TOKEN);
    put(beside_, "[1] [2]");
    EXPECT_EQ(wiq_load_schema(kName, &err), nullptr) << "a schema is one value";
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_JSON_TRAILING_DATA);
}

}  // namespace
