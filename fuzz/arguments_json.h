// The calls of the target `arguments` on JSON documents that return a status.
#pragma once

#include "arguments.h"

namespace json {

// While the object lives, the node has a tag that belongs to no kind. The tag is the first field of the record.
class Damage {
  public:
    Damage(wiq_json_t* node, bool really) : tag_(reinterpret_cast<u16*>(node)), before_(*tag_) {
        if (really)
            *tag_ = 11;
    }
    Damage(const Damage&) = delete;
    Damage& operator=(const Damage&) = delete;
    ~Damage() { *tag_ = before_; }

  private:
    u16* tag_;
    u16 before_;
};

inline wiq_json_t* leaf(const Args& a) {
    return wiq_json_array_get_ext(a.array, 0, 0, nullptr);
}

inline bool keep(wiq_json_t*, void*) {
    return true;
}
inline bool next_member(const char*, wiq_json_t*, void*) {
    return true;
}
inline int no_order(const void*, const void*) {
    return 0;
}

inline const StatusCall kStatuses[] = {
    {[](Args& a) { return wiq_json_obj_size(a.object()); }, 3},
    {[](Args& a) { return wiq_json_obj_keys(a.object(), a.some(&a.strv)); }, 3},
    {[](Args& a) { return wiq_json_obj_foreach(a.object(), a.some(next_member), nullptr); }, 0},
    {[](Args& a) {
         return wiq_json_obj_remove(a.object(), a.either("o", a.number % 2 == 0 ? nullptr : "?"));
     },
     0},
    {[](Args& a) {
         return wiq_json_obj_has_key(a.object(), a.either("o", a.number % 2 == 0 ? nullptr : "?"))
                    ? 1
                    : 0;
     },
     1, 0},
    {[](Args& a) { return wiq_json_array_size(a.list()); }, 3},
    {[](Args& a) { return wiq_json_array_put(a.list(), a.number % 4, a.free_node()); }, 0},
    {[](Args& a) {
         return wiq_json_array_put(a.array, a.either(3, a.number % 2 == 0 ? 4 : -4), a.child);
     },
     0, WIQ_ERR_INDEX_OUT_OF_RANGE},
    {[](Args& a) { return wiq_json_array_pop(a.list(), a.either(1, a.number % 2 == 0 ? 4 : -1)); },
     0},
    {[](Args& a) {
         wiq_json_t* elem = wiq_json_array_pop_elem(a.list());
         released(elem);
         return made(elem);
     },
     0},
    {[](Args& a) { return made(wiq_json_array_find(a.list(), a.some(leaf(a)))); }, 0},
    {[](Args& a) {
         return made(
             wiq_json_array_find_str(a.list(), a.either("x", a.number % 2 == 0 ? nullptr : "?")));
     },
     0},
    {[](Args& a) { return wiq_json_array_filter(a.list(), a.some(keep), nullptr); }, 0},
    {[](Args& a) { return wiq_json_array_sort(a.list(), a.some(no_order)); }, 0},
    {[](Args& a) {
         wiq_json_t* node = wiq_json_array_get_ext(a.array, a.number % 3, 0, nullptr);
         const i32 status = wiq_json_make_orphan(a.some(node));
         if (status == 0)
             wiq_json_unref(node);
         return status;
     },
     0},
    {[](Args& a) {
         wiq_json_t* node = a.number % 2 == 0 ? leaf(a) : a.array;
         const i32 status = wiq_json_swap_child(a.some(node), a.free_node());
         if (status == 0)
             wiq_json_unref(node);
         return status;
     },
     0},
    {[](Args& a) {
         char* text = nullptr;
         const i32 length = wiq_json_sdump(a.some(a.array), a.some(&text), 0);
         free(text);
         return length;
     },
     12},
    {[](Args& a) {
         return wiq_json_sdump_ext(a.some(a.root), a.some(&a.buf), WIQ_JSON_DUMP_PRETTY, a.number);
     },
     0},
    {[](Args& a) {
         FILE* fp = fopen("/dev/null", "w");
         CHECK(fp != nullptr);
         const i32 length = wiq_json_fdump(a.some(a.array), a.some(fp), 0, 0);
         fclose(fp);
         return length;
     },
     12},
    // A stream to which nothing can be written.
    {[](Args& a) {
         FILE* fp = fopen(a.either("/dev/null", "/dev/full"), "w");
         CHECK(fp != nullptr);
         setvbuf(fp, nullptr, _IONBF, 0);
         const i32 length = wiq_json_fdump(a.array, fp, 0, 0);
         fclose(fp);
         return length;
     },
     12, -1},
    {[](Args& a) { return wiq_json_escape_str_ext(a.some("\n"), a.some(&a.buf)); }, 6},
    {[](Args& a) { return wiq_json_escape_str_ext(a.either("\xc3\xa9", "\xc3"), &a.buf); }, 6,
     WIQ_ERR_BAD_FORMAT},
    {[](Args& a) {
         return made_block(
             wiq_json_escape_str(a.either("\n", a.number % 2 == 0 ? nullptr : "\xff")));
     },
     0},
    {[](Args& a) { return wiq_json_jref_expand(a.some(a.root)); }, 0},
    {[](Args& a) { return wiq_json_ptr_put(a.some(a.root), a.some("/n"), a.free_node()); }, 0},
    {[](Args& a) {
         char* text = nullptr;
         const i32 length = wiq_json_ptr(a.some(a.array), a.some(&text));
         free(text);
         return length;
     },
     2},
    {[](Args& a) { return wiq_json_ptr_ext(a.some(a.array), a.some(&a.buf)); }, 0},
    {[](Args& a) { return wiq_json_ptr_build_obj_ext(a.object(), a.some("k"), a.some(&a.buf)); },
     0},
    {[](Args& a) { return wiq_json_ptr_build_array_ext(a.list(), a.some(&a.buf)); }, 0},
    {[](Args& a) {
         wiq_json_load_error err;
         wiq_json_t* node = wiq_json_loads(a.some("7"), 0, &err);
         CHECK(released(node) == (err.status == 0));
         return err.status;
     },
     0},
    {[](Args& a) {
         FILE* fp = fopen("/dev/null", "r");
         CHECK(fp != nullptr);
         wiq_json_load_error err;
         CHECK(wiq_json_loadf(a.some(fp), 0, &err) == nullptr);
         fclose(fp);
         return err.status;
     },
     WIQ_ERR_JSON_UNEXPECTED_TOKEN},
    {[](Args& a) {
         const wiq_json_t* left = a.some(a.root);
         const wiq_json_t* right = a.some(a.root);
         CHECK(wiq_json_equal(left, right) == (left == right));
         CHECK(wiq_json_subset(left, right, a.number) == (left == right));
         wiq_json_ref(nullptr);
         wiq_json_unref(nullptr);
         wiq_json_delete_impl(nullptr);
         wiq_json_finalize(nullptr);
         return wiq_json_parent_index(nullptr) + (wiq_json_parent_key(nullptr) == nullptr ? 0 : 1);
     },
     -1, -1},
    // Damaged nodes.
    {[](Args& a) {
         const Damage damage(leaf(a), a.next_is_bad());
         u32 err = 0;
         wiq_json_t* copy = wiq_json_copy(a.number % 2 == 0 ? a.root : leaf(a), &err);
         CHECK(released(copy) == (err == 0));
         CHECK(!a.bad || strcmp(wiq_json_type_string(leaf(a)), "<unknown>") == 0);
         return static_cast<i32>(err);
     },
     0, WIQ_ERR_BAD_JSON_TYPE},
    {[](Args& a) {
         const Damage damage(leaf(a), a.next_is_bad());
         const i32 status = wiq_json_sdump_ext(a.root, &a.buf, a.number, 0);
         CHECK(strlen(a.buf.data) == a.buf.len);
         return status;
     },
     0, WIQ_ERR_BAD_JSON_TYPE},
    {[](Args& a) {
         const Damage damage(leaf(a), a.next_is_bad());
         return wiq_json_jref_expand(a.root);
     },
     0, WIQ_ERR_BAD_JSON_TYPE},
    {[](Args& a) {
         wiq_json_t* node = leaf(a);
         const Damage damage(a.array, a.next_is_bad());
         return wiq_json_ptr_ext(node, &a.buf);
     },
     0, WIQ_ERR_WRONG_TYPE},
    {[](Args& a) {
         WiqObject* visitor = object_new(&WiqJsonVisitorType);
         CHECK(visitor != nullptr);
         const auto* slots = reinterpret_cast<WiqJsonVisitorClass*>(visitor->klass);
         wiq_json_t* node = a.some(a.root);
         const bool damaged = node != nullptr && a.number % 2 != 0;
         const Damage damage(leaf(a), damaged);
         const i32 status = slots->visit(reinterpret_cast<WiqJsonVisitor*>(visitor), node);
         object_unref(visitor);
         return !damaged ? status : status == WIQ_ERR_BAD_JSON_TYPE ? 0 : 1;
     },
     0},
};

}  // namespace json
