// See input_limits.h.
#include "input_limits.h"

namespace tool {

Limits& limits() {
    static Limits all;
    return all;
}

}  // namespace tool
