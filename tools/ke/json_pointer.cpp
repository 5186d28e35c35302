// See json_pointer.h.
#include "json_pointer.h"

#include "failure.h"
#include "ke_utils.h"

namespace tool {

namespace {

Step make_step(const std::string& name) {
    Step step;
    step.name = name;
    step.is_append = name == "-";
    step.is_index = !name.empty() && wiq_strtouint64(name.c_str(), &step.index) == 0;
    return step;
}

}  // namespace

std::string Pointer::up_to(size_t step) const {
    size_t at = text.substr(0, 1) == "#" ? 1 : 0;
    for (size_t i = 0; i <= step && at != std::string::npos; ++i)
        at = text.find('/', at + 1);
    return text.substr(0, at);
}

Pointer parse_pointer(const std::string& text) {
    Pointer pointer;
    pointer.text = text;
    size_t at = text.substr(0, 1) == "#" ? 1 : 0;
    if (at < text.size() && text[at] != '/')
        throw failure("pointer \"" + text + "\"", WIQ_ERR_PTR_SYNTAX);
    while (at < text.size()) {
        std::string name;
        for (++at; at < text.size() && text[at] != '/'; ++at) {
            if (text[at] != '~') {
                name += text[at];
                continue;
            }
            ++at;
            if (at == text.size() || (text[at] != '0' && text[at] != '1'))
                throw failure("pointer \"" + text + "\"", WIQ_ERR_PTR_BAD_ESCAPE);
            name += text[at] == '0' ? '~' : '/';
        }
        pointer.steps.push_back(make_step(name));
    }
    return pointer;
}

std::string escaped_step(std::string_view name) {
    std::string text = "/";
    for (char c : name) {
        if (c == '~')
            text += "~0";
        else if (c == '/')
            text += "~1";
        else
            text += c;
    }
    return text;
}

Failure pointer_failure(const Pointer& pointer, size_t step, i32 status) {
    std::string subject = "pointer \"" + pointer.text + "\"";
    const std::string reached = pointer.up_to(step);
    if (reached != pointer.text)
        subject += ", at \"" + reached + "\"";
    return failure(subject, status);
}

}  // namespace tool
