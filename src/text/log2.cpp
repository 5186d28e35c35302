// The exact base-2 logarithm, for sizes that must be powers of two.
#include <bit>

#include "ke_utils/core.h"
#include "ke_utils/text.h"

i32 wiq_log2_whole(u32 x, u32* out) {
    if (out == nullptr || !std::has_single_bit(x))
        return WIQ_ERR_INVALID_ARG;
    *out = static_cast<u32>(std::countr_zero(x));
    return 0;
}
