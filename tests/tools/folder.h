// A test that has its own folder, which must contain only plain files when the test ends.
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
    // Returns the names of the folder's files, sorted, including those that begin with a dot.
    std::vector<std::string> names() const;

  private:
    std::string folder_;
};
