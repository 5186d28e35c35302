// A script of operations on a string buffer, a vector and a map, each compared with a model from the standard
// library.
#include <algorithm>
#include <map>
#include <vector>

#include "input.h"

namespace {

void run_strbuf(Input input) {
    wiq_strbuf buf;
    CHECK(wiq_strbuf_init(&buf, input.byte()) == 0);
    std::string model;
    while (!input.empty()) {
        switch (input.byte() % 6) {
            case 0: {
                const char c = static_cast<char>(input.byte());
                CHECK(wiq_strbuf_putc(&buf, c) >= 0);
                if (c != '\0')
                    model += c;
                break;
            }
            case 1: {
                const std::string text = input.line();
                CHECK(wiq_strbuf_write(&buf, text.data(), text.size()) >= 0);
                model += text.c_str();
                break;
            }
            case 2: {
                const i32 number = input.number<i32>();
                CHECK(wiq_strbuf_printf(&buf, "<%d>", number) >= 0);
                model += "<" + std::to_string(number) + ">";
                break;
            }
            case 3:
                if (wiq_strbuf_pop(&buf) == 0 && !model.empty())
                    model.pop_back();
                break;
            case 4: {
                const u64 count = input.byte() % 8;
                if (wiq_strbuf_erase(&buf, count) == 0)
                    model.resize(model.size() - std::min<size_t>(count, model.size()));
                break;
            }
            default:
                CHECK(wiq_strbuf_reset(&buf) == 0);
                model.clear();
        }
        CHECK(buf.len == model.size());
        CHECK(buf.len == 0 || memcmp(buf.data, model.data(), model.size()) == 0);
    }
    wiq_strbuf_finalize(&buf);
}

void run_vector(Input input) {
    wiq_vector vec;
    CHECK(wiq_vector_init(&vec, sizeof(u16), 0, nullptr, nullptr) == 0);
    std::vector<u16> model;
    while (!input.empty()) {
        const u8 operation = input.byte();
        if (operation % 4 != 0) {
            const u16 value = input.number<u16>();
            *static_cast<u16*>(wiq_vector_push(&vec)) = value;
            model.push_back(value);
        } else if (wiq_vector_pop(&vec, operation / 16) == 0) {
            model.resize(model.size() - operation / 16);
        } else {
            CHECK(static_cast<size_t>(operation / 16) > model.size());
        }
        CHECK(wiq_vector_size(&vec) == static_cast<i32>(model.size()));
        for (size_t i = 0; i < model.size(); ++i)
            CHECK(*static_cast<u16*>(wiq_vector_get(&vec, static_cast<i32>(i))) == model[i]);
    }
    wiq_vector_finalize(&vec);
}

void* as_pointer(u64 value) {
    return reinterpret_cast<void*>(value);
}

void run_map(Input input) {
    wiq_map map;
    CHECK(wiq_map_init(&map, input.byte() % 8, wiq_hash_int, wiq_cmp_int, nullptr, nullptr) == 0);
    std::map<u64, u64> model;
    while (!input.empty()) {
        const u8 operation = input.byte();
        const u64 key = input.byte();
        if (operation % 3 != 0) {
            CHECK(wiq_map_put(&map, as_pointer(key), as_pointer(operation)) == 0);
            model[key] = operation;
        } else {
            const bool there = wiq_map_test_key(&map, as_pointer(key));
            CHECK(there == (model.count(key) != 0));
            wiq_map_remove(&map, as_pointer(key));
            model.erase(key);
        }
        CHECK(wiq_map_size(&map) == model.size());
        CHECK(wiq_map_collisions(&map) < wiq_map_size(&map) + 1);
    }
    for (const auto& [key, value] : model)
        CHECK(wiq_map_get(&map, as_pointer(key)) == as_pointer(value));
    wiq_map_finalize(&map);
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Input input(data, size);
    switch (input.byte() % 3) {
        case 0:
            run_strbuf(input);
            break;
        case 1:
            run_vector(input);
            break;
        default:
            run_map(input);
    }
    return 0;
}
