/**
 * @file ke_utils.hpp
 * Wraps the C interface for C++17. This header includes all headers of the layer, which has one per
 * family of functions under ke/. Where compile time counts, include only those that you need.
 *
 * @code
 * auto report = ke::json::parse(text);
 * if (!report) { complain(report.describe()); return; }
 * for (auto [key, value] : report->members()) { ... }
 * const int hours = report->value_or("/drive/power_on_hours"_ptr, 0);
 * @endcode
 *
 * The layer itself throws nothing, and it compiles without exceptions and without run-time type
 * information. If KE_UTILS_EXCEPTIONS is defined before the first header, results also have a
 * value() that throws ke::bad_result, which needs exceptions.
 *
 * Functions use and return strings and containers of the standard library, which may throw
 * std::bad_alloc. In that case nothing leaks, and what was to be changed is unchanged, unless a
 * function's comment says otherwise.
 */
#ifndef KE_UTILS_HPP
#define KE_UTILS_HPP

#include "ke/containers.hpp"
#include "ke/error_code.hpp"
#include "ke/files.hpp"
#include "ke/ini.hpp"
#include "ke/json.hpp"
#include "ke/json_patch.hpp"
#include "ke/platform.hpp"
#include "ke/status.hpp"
#include "ke/strbuf.hpp"
#include "ke/tagged.hpp"
#include "ke/text.hpp"
#include "ke/text_arg.hpp"
#include "ke/uint128.hpp"
#include "ke/utf8.hpp"
#include "ke/visitor.hpp"
#include "ke_utils.h"

#endif
