// The exported classifier of UTF-8 lead bytes. The library's own code uses the inline function in
// utf8.h.
#include "text/utf8.h"

#include "ke_utils/text.h"

u32 wiq_utf8_char_sz(u8 lead) {
    return ke::utf8_length(lead);
}
