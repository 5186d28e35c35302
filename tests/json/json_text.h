// Documents from JSON text, and back.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "ke_utils/core.h"
#include "ke_utils/json.h"

// Returns the root of a text, which must be valid.
inline wiq_json_t* parsed(const std::string& text) {
    wiq_json_t* root = wiq_json_loads(text.c_str(), 0, nullptr);
    EXPECT_NE(root, nullptr) << text;
    return root;
}

// Returns a node as text with sorted keys.
inline std::string dumped(wiq_json_t* node) {
    char* text = nullptr;
    EXPECT_GE(wiq_json_sdump(node, &text, WIQ_JSON_DUMP_SORT_KEYS), 0);
    std::string result = text == nullptr ? "" : text;
    free(text);
    return result;
}
