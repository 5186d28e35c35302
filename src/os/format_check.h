// Decides which formats are never passed to a runtime, because some runtime does something
// dangerous with them. The rule is the same on every platform.
#pragma once

namespace ke::os {

// Whether a format has a conversion that stores ("%n", with anything between the two characters), a
// gap in its positions ("%2$s" without "%1$s"), or a width or precision beyond 31 bits. For each of
// these there is a runtime that ends the process, or that writes or reads through pointers that
// nobody passed. `modifiers` lists letters that the runtime at hand reads as modifiers although the
// C standard does not.
bool is_refused_format(const char* format, const char* modifiers = "");

}  // namespace ke::os
