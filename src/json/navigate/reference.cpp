// References: nodes that hold a JSON pointer and stand for what it names in their own tree.

#include <cstring>

#include "json/model/err.h"
#include "json/model/make.h"

namespace {

using ke::json::as;
using ke::json::has_failed;
using ke::json::report;

wiq_json_t* root_of(wiq_json_t* node) {
    while (node->parent != nullptr)
        node = node->parent;
    return node;
}

// One step: applies the reference's pointer to the root of its tree.
wiq_json_t* resolve(const wiq_json_t* reference, u32* err) {
    const char* uri = as<ke::json::TextNode>(reference)->text;
    return wiq_json_ptr_get(root_of(const_cast<wiq_json_t*>(reference)), uri, err, nullptr);
}

}  // namespace

wiq_json_t* wiq_json_jref_new(const char* uri, u32* err) {
    if (has_failed(err))
        return nullptr;
    if (uri == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    wiq_json_t* node = ke::json::new_text_node(kJsonRef, uri, strlen(uri));
    report(err, node == nullptr ? WIQ_ERR_NO_MEMORY : 0);
    return node;
}

const char* wiq_json_jref_uri(const wiq_json_t* node) {
    return wiq_json_is_jref(node) ? as<ke::json::TextNode>(node)->text : nullptr;
}

wiq_json_t* wiq_json_jref_resolve(const wiq_json_t* node, u32* err) {
    if (has_failed(err))
        return nullptr;
    if (!wiq_json_is_jref(node)) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    report(err, 0);
    return resolve(node, err);
}

wiq_json_t* wiq_json_jref_deref(wiq_json_t* node, u32* err) {
    if (has_failed(err))
        return nullptr;
    if (!wiq_json_is_jref(node)) {
        // The node is returned all the same: a caller that also accepts plain values asks for the
        // type first.
        report(err, WIQ_ERR_INVALID_ARG);
        return node;
    }
    // Brent's algorithm finds a cycle without a list of the visited nodes. One node is remembered,
    // and replaced by a later one after 1, 2, 4, 8, ... steps. If the chain of references loops, it
    // comes back to the remembered node.
    const wiq_json_t* remembered = nullptr;
    u64 steps = 0;
    u64 renew_at = 1;
    while (wiq_json_is_jref(node)) {
        if (node == remembered) {
            report(err, WIQ_ERR_JREF_CYCLE);
            return nullptr;
        }
        if (++steps == renew_at) {
            remembered = node;
            renew_at *= 2;
        }
        u32 status = 0;
        node = resolve(node, &status);
        if (status != 0) {
            report(err, static_cast<i32>(status));
            return node;
        }
    }
    report(err, 0);
    return node;
}
