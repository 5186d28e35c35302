// Shows progress on standard error, but only on a terminal and only for work that takes long.
#pragma once

#include <chrono>
#include <string>

#include "common.h"
#include "ke_utils/types.h"

namespace tool {

// Shows "ke: reading report.json 42 % 310 MB/s" and updates it in place.
class Progress {
  public:
    // `total` is 0 if it is not known.
    Progress(std::string name, u64 total, const Common& common);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    void at(u64 done) {
        if (shown_ && done >= next_)
            draw(done);
    }

  private:
    void draw(u64 done);

    std::string name_;
    u64 total_;
    bool shown_;
    bool drawn_ = false;
    u64 next_;
    std::chrono::steady_clock::time_point start_;
};

}  // namespace tool
