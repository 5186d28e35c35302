// A script of operations on the C++ layer, compared with containers of the standard library: an array, an
// object, a map, a list of texts and a buffer. Predicates that throw must leave everything unchanged.
#include <map>
#include <optional>

#include "ke_utils.hpp"
#include "script.h"

namespace {

struct Thrown {};

std::string key_of(u8 operand) {
    return std::string(operand % 5, 'k') + static_cast<char>('a' + operand / 5 % 20);
}

// --- an array of numbers ------------------------------------------------------------------------------

struct List {
    ke::json real = ke::json::array();
    std::vector<i64> model;
};

i32 expected_at(const List& list, i32 index) {
    const i32 size = static_cast<i32>(list.model.size());
    return index < -size || index >= size ? static_cast<i32>(WIQ_ERR_INDEX_OUT_OF_RANGE) : 0;
}
std::vector<i64>::iterator elem_at(List& list, i32 index) {
    return index < 0 ? list.model.end() + index : list.model.begin() + index;
}

void erase_if(List& list, u8 mask, int throws) {
    int asked = 0;
    const auto test = [&](ke::json_view value) {
        if (asked++ == throws)
            throw Thrown();
        return (value.to<i64>().value_or(0) & mask) != 0;
    };
    try {
        const size_t before = list.model.size();
        const auto gone = list.real.erase_if(test);
        list.model.erase(std::remove_if(list.model.begin(), list.model.end(),
                                        [&](i64 value) { return (value & mask) != 0; }),
                         list.model.end());
        CHECK(gone && *gone == static_cast<i32>(before - list.model.size()));
    } catch (const Thrown&) {
        CHECK(static_cast<size_t>(throws) < list.model.size());
    }
}

void sort(List& list, int throws) {
    int asked = 0;
    try {
        CHECK(list.real.sort([&](ke::json_view a, ke::json_view b) {
            if (asked++ == throws)
                throw Thrown();
            return a.to<i64>().value_or(0) < b.to<i64>().value_or(0);
        }) == 0);
        std::stable_sort(list.model.begin(), list.model.end());
    } catch (const Thrown&) {
        CHECK(asked == throws + 1);
    }
}

void step(List& list, const Op& op) {
    const i32 index = static_cast<i8>(op.b) % 9;
    const i64 value = op.c;
    const i32 there = expected_at(list, index);
    switch (op.code / 5 % 9) {
        case 0:
            CHECK(list.real.push_back(value) == 0);
            list.model.push_back(value);
            break;
        case 1: {
            const bool fits = index >= 0 && static_cast<size_t>(index) <= list.model.size();
            CHECK(list.real.insert(index, value) == (fits ? 0 : WIQ_ERR_INDEX_OUT_OF_RANGE));
            if (fits)
                list.model.insert(list.model.begin() + index, value);
            break;
        }
        case 2:
            if (index == static_cast<i32>(list.model.size()))
                break;
            CHECK(list.real.set(index, value) == there);
            if (there == 0)
                *elem_at(list, index) = value;
            break;
        case 3:
            CHECK(list.real.erase(index) == there);
            if (there == 0)
                list.model.erase(elem_at(list, index));
            break;
        case 4: {
            const auto taken = list.real.take(index);
            CHECK(taken.status() == there);
            if (there == 0) {
                CHECK(*taken == *elem_at(list, index));
                list.model.erase(elem_at(list, index));
            }
            break;
        }
        case 5:
            erase_if(list, op.c, op.d % 16 == 0 ? op.e % 8 : -1);
            break;
        case 6:
            sort(list, op.d % 16 == 0 ? op.e % 8 : -1);
            break;
        case 7:
            CHECK(list.real.pop_back(op.c % 3) ==
                  (static_cast<size_t>(op.c % 3) > list.model.size() ? WIQ_ERR_INVALID_ARG : 0));
            list.model.resize(list.model.size() -
                              (static_cast<size_t>(op.c % 3) > list.model.size() ? 0u : op.c % 3));
            break;
        default:
            if (op.c % 8 == 0) {
                CHECK(list.real.clear() == 0);
                list.model.clear();
            }
    }
    const auto read = list.real.to<std::vector<i64>>();
    CHECK(read && *read == list.model);
    CHECK(list.real == ke::json::of(list.model));
}

// --- an object and a map ------------------------------------------------------------------------------

struct Table {
    ke::json real = ke::json::object();
    ke::map<std::string> map;
    std::map<std::string, std::string> model;
};

void step(Table& table, const Op& op) {
    const std::string key = key_of(op.b);
    const std::string value = key_of(op.c) + "\n\"";
    const bool there = table.model.count(key) != 0;
    switch (op.code / 5 % 4) {
        case 0:
        case 1:
            CHECK(table.real.set(key, value) == 0);
            CHECK(table.map.set(key, value) == 0);
            table.model[key] = value;
            break;
        case 2:
            CHECK(table.real.erase(key) == (there ? 0 : WIQ_ERR_KEY_NOT_FOUND));
            CHECK(table.map.erase(key) == there);
            table.model.erase(key);
            break;
        default: {
            auto taken = table.real.take(key);
            CHECK(taken.has_value() == there);
            if (there)
                CHECK(taken->view() == table.model[key] &&
                      table.real.set(key, *std::move(taken)) == 0);
        }
    }
    std::map<std::string, std::string> seen;
    for (const auto& [name, text] : table.map)
        seen[std::string(name)] = text;
    CHECK(seen == table.model);
    const auto read = table.real.to<std::map<std::string, std::string>>();
    CHECK(read && *read == table.model);
    size_t members = 0;
    for (const auto& [name, member] : std::as_const(table.real).members()) {
        CHECK(member == table.model[std::string(name)]);
        ++members;
    }
    CHECK(members == table.model.size());
    const auto again = ke::json::parse(*table.real.dump());
    CHECK(again && *again == table.real);
}

// --- patches ------------------------------------------------------------------------------------------

// A patch is applied as a whole or not at all.
void patch(List& list, const Op& op) {
    static const char* const kOps[] = {"add", "remove", "replace", "move", "copy", "test"};
    ke::json steps = ke::json::array();
    const std::string where = "/" + std::to_string(op.b % 8);
    const std::string from = "/" + std::to_string(op.c % 8);
    CHECK(steps.push_back(ke::json{
              {"op", kOps[op.d % 6]}, {"path", where}, {"from", from}, {"value", op.e}}) == 0);
    CHECK(steps.push_back(ke::json{{"op", "remove"}, {"path", from}}) == 0);
    const std::vector<i64> before = list.model;
    const auto copy = list.real.clone();
    if (ke::apply_patch(list.real, steps) != 0)
        CHECK(list.real == *copy);
    const auto after = list.real.to<std::vector<i64>>();
    CHECK(after);
    list.model = *after;
    CHECK(list.model.size() + 2 >= before.size() && list.model.size() <= before.size() + 1);
}

// --- texts --------------------------------------------------------------------------------------------

struct Texts {
    ke::strbuf buffer;
    std::string model;
    ke::string_list list;
    std::vector<std::string> model_list;
};

void step(Texts& texts, const Op& op) {
    const std::string word = key_of(op.b);
    switch (op.code / 5 % 7) {
        case 0:
            CHECK(texts.buffer.append(word, '=', static_cast<int>(op.c), op.c % 2 == 0) == 0);
            texts.model += word + "=" + std::to_string(op.c) + (op.c % 2 == 0 ? "true" : "false");
            break;
        case 1:
            CHECK(texts.buffer.append_format("{} of {};", op.c, word) == 0);
            texts.model += std::to_string(op.c) + " of " + word + ";";
            break;
        case 2: {
            const u64 length = op.c;
            const bool fits = length <= texts.model.size();
            CHECK(texts.buffer.truncate(length) == (fits ? 0 : WIQ_ERR_INVALID_ARG));
            texts.model.resize(fits ? length : texts.model.size());
            break;
        }
        case 3:  // appends its own text
            if (texts.model.size() < 1000) {
                CHECK(texts.buffer.append(texts.buffer.view(), word, texts.buffer.c_str()) == 0);
                const std::string before = texts.model;
                texts.model = before + before + word + before;
            }
            break;
        case 4:
            CHECK(texts.list.push_back(word) == 0);
            texts.model_list.push_back(word);
            break;
        case 5:
            texts.list.sort();
            std::sort(texts.model_list.begin(), texts.model_list.end());
            break;
        default:
            if (!texts.model_list.empty()) {
                CHECK(texts.list.pop_back() == 0);
                texts.model_list.pop_back();
            }
    }
    CHECK(texts.buffer.view() == texts.model);
    CHECK(texts.buffer.size() == texts.model.size());
    CHECK(static_cast<size_t>(texts.list.size()) == texts.model_list.size());
    size_t i = 0;
    for (const std::string_view text : texts.list)
        CHECK(text == texts.model_list[i++]);
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    List list;
    Table table;
    Texts texts;
    for (const Op& op : script_of(data, size)) {
        switch (op.code % 5) {
            case 0:
            case 1:
                step(list, op);
                break;
            case 2:
                step(table, op);
                break;
            case 3:
                step(texts, op);
                break;
            default:
                patch(list, op);
        }
    }
    return 0;
}
