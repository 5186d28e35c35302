// See no_exceptions.h.
#include "no_exceptions.h"

#include "ke_utils.hpp"

#if __cplusplus >= 202002L
#error "to be compiled as C++17"
#endif
#if defined(__cpp_exceptions)
#error "to be compiled without exceptions"
#endif

namespace no_exceptions {

using namespace ke::literals;

long long first_of_a(const char* text) {
    const ke::result<ke::json> root = ke::json::parse(text);
    return root ? root->value_or("/a/0"_ptr, -1LL) : -1;
}

}  // namespace no_exceptions
