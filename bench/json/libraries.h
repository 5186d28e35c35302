// The JSON libraries side by side: what each benchmark does with a library, as static functions. Another
// library is included if it was found when the benchmarks were configured.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "ke_utils/core.h"
#include "ke_utils/json.h"

struct Ke {
    static constexpr const char* kName = "ke_utils";
    using Doc = wiq_json_t*;
    using Place = std::pair<wiq_json_t*, std::string>;

    static Doc parse(const char* text) { return wiq_json_loads(text, 0, nullptr); }
    static Doc parse_stream(FILE* stream) { return wiq_json_loadf(stream, 0, nullptr); }
    static void release(Doc doc) { wiq_json_unref(doc); }
    static size_t dump(Doc doc, bool pretty) {
        char* text = nullptr;
        const i32 length =
            wiq_json_sdump(doc, &text, pretty ? static_cast<u32>(WIQ_JSON_DUMP_PRETTY) : 0u);
        free(text);
        return static_cast<size_t>(length);
    }
    static void dump_file(Doc doc, FILE* out) { wiq_json_fdump(doc, out, 0, 0); }
    static Doc copy(Doc doc) { return wiq_json_copy(doc, nullptr); }
    static bool equal(Doc a, Doc b) { return wiq_json_equal(a, b); }
    // Collects the members in the order of the text, as in the other libraries: by the addresses of the nodes
    // that the parser made.
    static void collect(Doc doc, std::vector<Place>& places) {
        struct Step {
            wiq_json_t* node;
            wiq_json_t* obj;
            const char* key;
        };
        std::vector<Step> todo = {{doc, nullptr, nullptr}};
        while (!todo.empty()) {
            const Step step = todo.back();
            todo.pop_back();
            if (step.obj != nullptr)
                places.emplace_back(step.obj, step.key);
            std::vector<Step> below;
            for (i32 i = 0; i < wiq_json_array_size(step.node); ++i)
                below.push_back(
                    {wiq_json_array_get_ext(step.node, i, 0, nullptr), nullptr, nullptr});
            struct Walk {
                std::vector<Step>* below;
                wiq_json_t* obj;
            } walk = {&below, step.node};
            wiq_json_obj_foreach(
                step.node,
                [](const char* key, wiq_json_t* child, void* user) {
                    auto* w = static_cast<Walk*>(user);
                    w->below->push_back({child, w->obj, key});
                    return true;
                },
                &walk);
            if (wiq_json_is_obj(step.node))
                std::sort(below.begin(), below.end(),
                          [](const Step& a, const Step& b) { return a.node < b.node; });
            todo.insert(todo.end(), below.rbegin(), below.rend());
        }
    }
    static const void* look_up(const Place& place) {
        return wiq_json_obj_get_ext(place.first, place.second.c_str(), 0, nullptr);
    }
    static Doc build(int records) {
        wiq_json_t* list = wiq_json_array_new(0, nullptr);
        for (int i = 0; i < records; ++i) {
            wiq_json_t* record = wiq_json_array_push_obj(list, nullptr);
            wiq_json_obj_put_str(record, "model", "EXAMPLE 12TB SAS", nullptr);
            wiq_json_obj_put_i64(record, "slot", i, nullptr);
            wiq_json_obj_put_double(record, "wear", 12.5, nullptr);
            wiq_json_obj_put_bool(record, "healthy", true, nullptr);
            wiq_json_t* errors = wiq_json_obj_put_array(record, "errors", nullptr);
            for (int k = 0; k < 4; ++k)
                wiq_json_array_push_i64(errors, k, nullptr);
        }
        return list;
    }
};

#if defined(KE_BENCH_JSONC)
#include <json-c/json.h>
struct JsonC {
    static constexpr const char* kName = "json-c";
    using Doc = json_object*;
    using Place = std::pair<json_object*, std::string>;

    static Doc parse(const char* text) {
        // The library's default depth of 32 is too small for some documents.
        json_tokener* tokener = json_tokener_new_ex(100000);
        Doc doc = json_tokener_parse_ex(tokener, text, static_cast<int>(strlen(text)) + 1);
        json_tokener_free(tokener);
        return doc;
    }
    static void release(Doc doc) { json_object_put(doc); }
    static size_t dump(Doc doc, bool pretty) {
        size_t length = 0;
        json_object_to_json_string_length(
            doc, pretty ? JSON_C_TO_STRING_PRETTY : JSON_C_TO_STRING_PLAIN, &length);
        return length;
    }
    static Doc copy(Doc doc) {
        Doc made = nullptr;
        json_object_deep_copy(doc, &made, nullptr);
        return made;
    }
    static bool equal(Doc a, Doc b) { return json_object_equal(a, b) != 0; }
    static void collect(Doc doc, std::vector<Place>& places) {
        if (json_object_is_type(doc, json_type_object)) {
            json_object_object_foreach(doc, key, child) {
                places.emplace_back(doc, key);
                collect(child, places);
            }
        } else if (json_object_is_type(doc, json_type_array)) {
            for (size_t i = 0; i < json_object_array_length(doc); ++i)
                collect(json_object_array_get_idx(doc, i), places);
        }
    }
    static const void* look_up(const Place& place) {
        return json_object_object_get(place.first, place.second.c_str());
    }
    static Doc build(int records) {
        Doc list = json_object_new_array();
        for (int i = 0; i < records; ++i) {
            Doc record = json_object_new_object();
            json_object_array_add(list, record);
            json_object_object_add(record, "model", json_object_new_string("EXAMPLE 12TB SAS"));
            json_object_object_add(record, "slot", json_object_new_int64(i));
            json_object_object_add(record, "wear", json_object_new_double(12.5));
            json_object_object_add(record, "healthy", json_object_new_boolean(1));
            Doc errors = json_object_new_array();
            json_object_object_add(record, "errors", errors);
            for (int k = 0; k < 4; ++k)
                json_object_array_add(errors, json_object_new_int64(k));
        }
        return list;
    }
};
#endif

#if defined(KE_BENCH_CJSON)
#include <cjson/cJSON.h>
struct CJson {
    static constexpr const char* kName = "cJSON";
    using Doc = cJSON*;

    static Doc parse(const char* text) { return cJSON_Parse(text); }
    static void release(Doc doc) { cJSON_Delete(doc); }
    static size_t dump(Doc doc, bool pretty) {
        char* text = pretty ? cJSON_Print(doc) : cJSON_PrintUnformatted(doc);
        const size_t length = text == nullptr ? 0 : strlen(text);
        free(text);
        return length;
    }
    static Doc copy(Doc doc) { return cJSON_Duplicate(doc, 1); }
    static Doc build(int records) {
        Doc list = cJSON_CreateArray();
        for (int i = 0; i < records; ++i) {
            Doc record = cJSON_CreateObject();
            cJSON_AddItemToArray(list, record);
            cJSON_AddStringToObject(record, "model", "EXAMPLE 12TB SAS");
            cJSON_AddNumberToObject(record, "slot", i);
            cJSON_AddNumberToObject(record, "wear", 12.5);
            cJSON_AddBoolToObject(record, "healthy", 1);
            Doc errors = cJSON_AddArrayToObject(record, "errors");
            for (int k = 0; k < 4; ++k)
                cJSON_AddItemToArray(errors, cJSON_CreateNumber(k));
        }
        return list;
    }
};
#endif

#if defined(KE_BENCH_RAPIDJSON)
#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
// The parameter is the kind of memory: a block of the runtime for each array, object and long string, as in
// the other libraries; or a pool that frees nothing until the document is released.
template <class Allocator>
struct RapidWith {
    using Document = rapidjson::GenericDocument<rapidjson::UTF8<>, Allocator>;
    using Doc = Document*;

    static Doc parse(const char* text) {
        Doc doc = new Document();
        doc->template Parse<rapidjson::kParseFullPrecisionFlag | rapidjson::kParseIterativeFlag>(
            text);
        return doc;
    }
    static void release(Doc doc) { delete doc; }
    static size_t dump(Doc doc, bool pretty) {
        rapidjson::StringBuffer buffer;
        if (pretty) {
            rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
            doc->Accept(writer);
        } else {
            rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
            doc->Accept(writer);
        }
        return buffer.GetSize();
    }
    static Doc copy(Doc doc) {
        Doc made = new Document();
        made->CopyFrom(*doc, made->GetAllocator());
        return made;
    }
    static bool equal(Doc a, Doc b) { return *a == *b; }
};
struct Rapid : RapidWith<rapidjson::CrtAllocator> {
    static constexpr const char* kName = "RapidJSON";
};
struct RapidPool : RapidWith<rapidjson::MemoryPoolAllocator<>> {
    static constexpr const char* kName = "RapidJSON pool";
};
#endif

#if defined(KE_BENCH_BOOST)
#include <boost/json/src.hpp>
struct Boost {
    static constexpr const char* kName = "Boost.JSON";
    using Doc = boost::json::value*;

    static Doc parse(const char* text) {
        boost::json::parse_options options;
        options.max_depth = 100000;  // the default of 32 is too small for some documents
        return new boost::json::value(boost::json::parse(text, {}, options));
    }
    static void release(Doc doc) { delete doc; }
    static size_t dump(Doc doc, bool) { return boost::json::serialize(*doc).size(); }
    static Doc copy(Doc doc) { return new boost::json::value(*doc); }
    static bool equal(Doc a, Doc b) { return *a == *b; }
};
#endif

#if defined(KE_BENCH_NLOHMANN)
#include <nlohmann/json.hpp>
struct Nlohmann {
    static constexpr const char* kName = "nlohmann";
    using Doc = nlohmann::json*;

    static Doc parse(const char* text) { return new nlohmann::json(nlohmann::json::parse(text)); }
    static void release(Doc doc) { delete doc; }
    static size_t dump(Doc doc, bool pretty) { return doc->dump(pretty ? 2 : -1).size(); }
    static Doc copy(Doc doc) { return new nlohmann::json(*doc); }
    static bool equal(Doc a, Doc b) { return *a == *b; }
};
#endif
