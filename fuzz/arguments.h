// Supplies the arguments for the calls of the target `arguments`: a good one, or a bad one if a bit of the input says
// so.
#pragma once

#include "script.h"

class Args {
  public:
    explicit Args(const Op& op)
        : number(op.d), bits_(static_cast<u32>(op.b) | static_cast<u32>(op.c) << 8) {
        root = wiq_json_loads(kDocument, 0, nullptr);
        array = wiq_json_obj_get_array(root, "a", nullptr);
        child = wiq_json_null_new(nullptr);
        wiq_json_ref(child);
        CHECK(root != nullptr && array != nullptr && child != nullptr);
        CHECK(wiq_strbuf_init(&buf, 8) == 0 && wiq_strbuf_write(&buf, "text", 4) == 4);
        CHECK(wiq_vector_init(&vec, 4, 2, nullptr, nullptr) == 0);
        CHECK(wiq_strv_init(&strv) == 0);
        wiq_mtype_init(&value);
        CHECK(wiq_mtype_set_utf8(&value, "17", 1) == 0);
    }
    Args(const Args&) = delete;
    Args& operator=(const Args&) = delete;
    ~Args() {
        wiq_json_unref(child);
        wiq_json_unref(root);
        wiq_strbuf_finalize(&buf);
        CHECK(wiq_vector_finalize(&vec) == 0 && wiq_strv_finalize(&strv) == 0);
        CHECK(wiq_mtype_finalize(&value) == 0);
    }

    // Returns whether the next argument is a bad one.
    bool next_is_bad() {
        const bool is_bad = bit();
        bad = bad || is_bad;
        return is_bad;
    }
    template <class T>
    T* some(T* good) {
        return next_is_bad() ? nullptr : good;
    }
    template <class T>
    T either(T good, T wrong) {
        return next_is_bad() ? wrong : good;
    }
    // Each returns a node of its kind; a bad one is NULL or of another kind.
    wiq_json_t* object() { return next_is_bad() ? (bit() ? nullptr : array) : root; }
    wiq_json_t* list() { return next_is_bad() ? (bit() ? nullptr : root) : array; }
    wiq_json_t* reference() {
        return next_is_bad() ? (bit() ? nullptr : root) : wiq_json_obj_get_jref(root, "r", nullptr);
    }
    // Returns a node that can be attached; a bad one is NULL, or has a parent, or is the root.
    wiq_json_t* free_node() {
        return next_is_bad() ? (bit()   ? nullptr
                                : bit() ? root
                                        : wiq_json_array_get_ext(array, 0, 0, nullptr))
                             : child;
    }
    // Returns the document's text, to compare the document before and after a call.
    std::string text() const { return dump(root, 0); }

    const u8 number;
    bool bad = false;
    wiq_json_t* root;
    wiq_json_t* array;  // in the root
    wiq_json_t* child;  // has no parent
    wiq_strbuf buf = {};
    wiq_vector vec = {};
    wiq_strv strv = {};
    wiq_mtype value = {};

  private:
    static constexpr const char* kDocument =
        "{\"a\":[1,\"x\",true],\"r\":{\"$ref\":\"#/a\"},\"o\":{\"i\":7,\"b\":true,\"s\":\"x\"}}";

    bool bit() {
        const bool is_set = bits_ % 2 != 0;
        bits_ /= 2;
        return is_set;
    }

    u32 bits_;
};

// A call that returns a status, or a number that tells success from failure.
struct StatusCall {
    i32 (*make)(Args& args);
    i32 good;
    i32 refused = WIQ_ERR_INVALID_ARG;
};

// A call that stores its status and returns whether it had a result. A call that chains does nothing after an
// earlier failure.
struct ChainingCall {
    bool (*make)(Args& args, u32* err);
    bool chains = true;
    i32 refused = WIQ_ERR_INVALID_ARG;
};

// Returns the status for a call that reports failure only by returning NULL.
inline i32 made(const void* result) {
    return result != nullptr ? 0 : static_cast<i32>(WIQ_ERR_INVALID_ARG);
}
template <class T>
i32 made_block(T* block) {
    free(block);
    return made(block);
}

// Releases what a call has made. Returns whether it made anything.
inline bool released(wiq_json_t* node) {
    wiq_json_unref(node);
    return node != nullptr;
}
