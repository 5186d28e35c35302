// Precompiled once for all tests: GoogleTest's header costs more than most test files.
#pragma once

#include <gtest/gtest.h>
