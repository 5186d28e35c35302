// A test with a folder of its own, which must be empty but for plain files when the test ends.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

class Folder : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    const std::string& folder() const { return folder_; }
    std::string in(const std::string& name) const { return folder_ + "\\" + name; }
    // What the folder holds, sorted; names that begin with a dot, too.
    std::vector<std::string> names() const;

  private:
    std::string folder_;
};
