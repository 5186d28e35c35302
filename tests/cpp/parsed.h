// Documents for the tests of the C++ layer.
#pragma once

#ifndef KE_UTILS_EXCEPTIONS
#define KE_UTILS_EXCEPTIONS
#endif
#include <gtest/gtest.h>

#include "ke_utils.hpp"

// Returns the document of a text, which must be valid; otherwise fails the test and returns an empty handle.
inline ke::json parsed(const char* text) {
    ke::result<ke::json> root = ke::json::parse(text);
    EXPECT_TRUE(root) << text << ": " << root.describe();
    return std::move(root).value_or(ke::json());
}

// Returns the document as text with sorted keys.
inline std::string text_of(ke::json_view value) {
    return value.dump(ke::sort_keys).value_or("<none>");
}
