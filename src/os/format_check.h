// Which formats never reach a runtime, since runtimes have dangerous answers of their own to them. The rule is the
// same on every platform.
#pragma once

namespace ke::os {

// Whether a format has a conversion that stores ("%n", whatever stands between the two letters), positions ("%2$s")
// that leave one out, or a width or precision beyond 31 bits. There are runtimes that end the process over each of
// them, or write and read through pointers that nobody passed. `modifiers` are letters that the runtime at hand reads as modifiers where the C standard has none.
bool is_refused_format(const char* format, const char* modifiers = "");

}  // namespace ke::os
