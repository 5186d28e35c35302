/**
 * @file ke_utils.hpp
 * The C interface as C++17 has it: all headers of the layer, which lie one a family under ke/. Include
 * those you need where compile time counts.
 *
 * @code
 * auto report = ke::json::parse(text);
 * if (!report) { complain(report.describe()); return; }
 * for (auto [key, value] : report->members()) { ... }
 * const int hours = report->value_or("/drive/power_on_hours"_ptr, 0);
 * @endcode
 *
 * Nothing here throws by itself, and it compiles without exceptions and without run-time type information, unless
 * KE_UTILS_EXCEPTIONS is defined before the first header: value() of results then exists and throws
 * ke::bad_result. Strings and containers of the standard library that calls use and return may throw
 * std::bad_alloc, and then nothing has leaked, and what was to be changed is as it was, unless said.
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
