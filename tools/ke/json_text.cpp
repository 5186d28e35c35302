// See json_text.h.
#include "json_text.h"

#include <cstdlib>
#include <limits>

#include "failure.h"
#include "json_string.h"
#include "ke_utils.h"
#include "ke_utils/utf8.h"
#include "scanner.h"

namespace tool {

namespace {

// Finds mistakes, and numbers that a tree cannot hold.
void check_text(const std::string& name, std::string_view text) {
    Source source(name, text);
    Scanner scanner(source);
    for (Token token = scanner.next(); token != Token::end; token = scanner.next()) {
        if (token == Token::number && fit_of(scanner.text()) == Fit::too_large)
            throw scanner.failure(
                "the number " + std::string(scanner.text()) +
                    " cannot be kept exactly enough to be compared (integers have "
                    "128 bits, others the range of a double)",
                kExitNo);
    }
}

}  // namespace

Json parse_json(const std::string& name, std::string_view text) {
    check_text(name, text);
    if (text.size() >= static_cast<size_t>(std::numeric_limits<i32>::max()))
        throw Failure{name + ": has 2 GiB or more, too much for this command"};
    wiq_json_load_error err;
    Json root(ke_json_loads_utf8(text.data(), text.size(), 0, &err));
    if (!root)
        throw failure(name, err.status);
    return root;
}

std::string dump_json(wiq_json_t* node) {
    char* text = nullptr;
    const i32 length = wiq_json_sdump(node, &text, 0);
    check("the document", length);
    std::string result(text, static_cast<size_t>(length));
    free(text);
    return result;
}

}  // namespace tool
