// The mapping between the two ranges of statuses that describe conversions: the library's own
// parsers and converters return those from -7000 to -7099, and a tool reports those from -1000 to
// -1099 about its user's data.

#include "ke_utils/core.h"

i32 wiq_status_ie_to_pe(i32 status) {
    switch (status) {
        case WIQ_ERR_INVALID_ARG:
        case WIQ_ERR_BAD_FORMAT:
            return WIQ_ERR_INVALID_VALUE;
        case WIQ_ERR_RANGE:
            return WIQ_ERR_VALUE_OUT_OF_RANGE;
        case WIQ_ERR_NOT_INTEGRAL:
            return WIQ_ERR_VALUE_NOT_INTEGRAL;
        default:
            return status;
    }
}
