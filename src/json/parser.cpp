// The parser: a grammar of two states (a value is due; a value was read) over the tree itself. Each
// container hangs in its parent from the moment it opens, so the way back to it is the parent link and
// nesting needs neither recursion nor a stack.
//
// Inside containers only the kind of a token is looked at: a token that cannot be read is -1046 where a
// value is due and -1045 where a comma, a colon, a key or a bracket is. Only the first token of a text
// tells its own status. Memory is the exception: its lack is -5000 everywhere.

#include <cstdlib>
#include <string_view>

#include "json/lexer.h"
#include "json/node.h"

namespace ke::json {

namespace {

template <class Reader>
class Parser {
  public:
    template <class Source>
    Parser(Source source, i32 flags)
        : lexer_(source),
          allow_trailing_((flags & WIQ_JSON_ALLOW_TRAILING) != 0),
          reject_duplicates_((flags & WIQ_JSON_REJECT_DUPLICATES) != 0) {}
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;
    ~Parser() {
        free(entry_);
        wiq_json_unref(root_);
    }

    wiq_json_t* parse(wiq_json_load_error* err) {
        const i32 status = document();
        if (status != 0) {
            const Place place = lexer_.place();
            *err = {status, place.line, place.column, place.position};
            return nullptr;
        }
        err->position = lexer_.position();
        wiq_json_t* root = root_;
        root_ = nullptr;
        return root;
    }

  private:
    i32 document() {
        i32 status = lexer_.scan();
        value_is_due_ = true;
        while (status == 0 && (value_is_due_ || open_ != nullptr)) {
            if (value_is_due_)
                status = value();
            else
                status = open_->type == kJsonObject ? after_member() : after_element();
        }
        if (status != 0 || allow_trailing_)
            return status;
        status = lexer_.scan();
        if (status == WIQ_ERR_NO_MEMORY)
            return status;
        return lexer_.token() == kTokenEnd ? 0 : static_cast<i32>(WIQ_ERR_JSON_TRAILING_DATA);
    }

    // Reads a token inside a container: 0, or -5000.
    i32 scan_inside() {
        return lexer_.scan() == WIQ_ERR_NO_MEMORY ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : 0;
    }

    // The value that the current token is or begins, attached where it belongs. A container is open then.
    i32 value() {
        value_is_due_ = false;
        u32 err = 0;
        wiq_json* node = nullptr;
        switch (lexer_.token()) {
            case '{':
                node = wiq_json_obj_new(0, &err);
                break;
            case '[':
                node = wiq_json_array_new(0, &err);
                break;
            case kTokenString:
                node = new_text_node(kJsonString, lexer_.current().text, lexer_.current().length);
                break;
            case kTokenInteger:
                node = wiq_json_i64_new(lexer_.current().integer, &err);
                break;
            case kTokenReal:
                node = wiq_json_double_new(lexer_.current().real, &err);
                break;
            case kTokenTrue:
            case kTokenFalse:
                node = wiq_json_bool_new(lexer_.token() == kTokenTrue, &err);
                break;
            case kTokenNull:
                node = wiq_json_null_new(&err);
                break;
            case kTokenBigInteger:
                node = wiq_json_u128_new(&lexer_.current().big, &err);
                break;
            case kTokenInvalid:
                return WIQ_ERR_JSON_BAD_TOKEN;
            default:
                return WIQ_ERR_JSON_UNEXPECTED_TOKEN;
        }
        return node == nullptr ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : place(node);
    }

    // Puts a new node where it is due, and opens it if it is a container.
    i32 place(wiq_json* node) {
        const i32 status = attach(node);
        if (status != 0) {
            wiq_json_unref(node);
            return status;
        }
        return is_container(node) ? enter(node) : 0;
    }

    i32 attach(wiq_json* node) {
        if (open_ == nullptr) {
            root_ = node;
            return 0;
        }
        if (open_->type == kJsonArray)
            return attach_elem(as<ArrayNode>(open_), node);
        wiq_map_entry* entry = entry_;
        entry_ = nullptr;
        return attach_entry(as<ObjectNode>(open_), entry, node);
    }

    // What may follow an opening bracket: the closing one, or the first child.
    i32 enter(wiq_json* container) {
        open_ = container;
        const i32 status = scan_inside();
        if (status != 0)
            return status;
        if (container->type == kJsonObject)
            return lexer_.token() == '}' ? close_object() : key(true);
        if (lexer_.token() == ']')
            return close();
        return lexer_.token() == kTokenEnd ? static_cast<i32>(WIQ_ERR_JSON_UNEXPECTED_END)
                                           : expect_value();
    }

    // What may follow an element: a comma and another one, or the bracket.
    i32 after_element() {
        i32 status = scan_inside();
        if (status != 0)
            return status;
        if (lexer_.token() == ',') {
            status = scan_inside();
            if (status != 0)
                return status;
            if (lexer_.token() != kTokenEnd)
                return expect_value();
        }
        return lexer_.token() == ']' ? close() : unexpected();
    }

    // What may follow a member.
    i32 after_member() {
        i32 status = scan_inside();
        if (status != 0)
            return status;
        if (lexer_.token() == ',') {
            status = scan_inside();
            return status != 0 ? status : key(false);
        }
        return lexer_.token() == '}' ? close_object() : unexpected();
    }

    i32 unexpected() const {
        return lexer_.token() == kTokenEnd ? static_cast<i32>(WIQ_ERR_JSON_UNEXPECTED_END)
                                           : static_cast<i32>(WIQ_ERR_JSON_UNEXPECTED_TOKEN);
    }

    // A key with its colon and its value. The end of the text is an early end only before the first key.
    i32 key(bool first) {
        if (lexer_.token() != kTokenString)
            return first ? unexpected() : static_cast<i32>(WIQ_ERR_JSON_UNEXPECTED_TOKEN);
        entry_ = new_entry(lexer_.current().text, lexer_.current().length);
        if (entry_ == nullptr)
            return WIQ_ERR_NO_MEMORY;
        if (reject_duplicates_ &&
            map_find(&as<ObjectNode>(open_)->map, entry_->hash, entry_->key) != nullptr)
            return WIQ_ERR_JSON_DUPLICATE_KEY;
        i32 status = scan_inside();
        if (status == 0 && lexer_.token() != ':')
            status = WIQ_ERR_JSON_UNEXPECTED_TOKEN;
        if (status == 0)
            status = scan_inside();
        return status != 0 ? status : expect_value();
    }

    // The current token is to be, or to begin, a value; left to the loop, not to recursion.
    i32 expect_value() {
        value_is_due_ = true;
        return 0;
    }

    i32 close() {
        open_ = open_->parent;
        return 0;
    }

    // An object whose only member is "$ref" with a text is a reference.
    i32 close_object() {
        auto* obj = as<ObjectNode>(open_);
        close();
        if (size_of(obj) != 1)
            return 0;
        const wiq_map_entry* member = first_member(obj);
        const wiq_json* target = child_of(member);
        if (target->type != kJsonString || std::string_view(key_of(member)) != "$ref")
            return 0;
        const char* uri = as<TextNode>(target)->text;
        wiq_json* reference = new_text_node(kJsonRef, uri, strlen(uri));
        if (reference == nullptr)
            return WIQ_ERR_NO_MEMORY;
        replace(obj, reference);
        return 0;
    }

    // Puts a node in the place of one that is released.
    void replace(wiq_json* old, wiq_json* node) {
        wiq_json* parent = old->parent;
        if (parent == nullptr) {
            root_ = node;
            wiq_json_unref(old);
            return;
        }
        node->parent = parent;
        node->position = old->position;
        count_up(node);
        if (parent->type == kJsonArray)
            elems_of(as<ArrayNode>(parent))[node->position.index] = node;
        else
            entry_of_key(node->position.key)->value = node;
        release_child(parent, old);
    }

    Lexer<Reader> lexer_;
    bool allow_trailing_;
    bool reject_duplicates_;
    bool value_is_due_ = false;
    wiq_json* root_ = nullptr;
    wiq_json* open_ = nullptr;        // the innermost open container
    wiq_map_entry* entry_ = nullptr;  // the key whose value is due
};

template <class Reader, class Source>
wiq_json_t* load(Source source, i32 flags, wiq_json_load_error* err) {
    wiq_json_load_error unwanted;
    if (err == nullptr)
        err = &unwanted;
    *err = {0, 1, 0, 0};
    if (source == nullptr) {
        err->status = WIQ_ERR_INVALID_ARG;
        return nullptr;
    }
    return Parser<Reader>(source, flags).parse(err);
}

}  // namespace

}  // namespace ke::json

wiq_json_t* wiq_json_loads(const char* text, i32 flags, wiq_json_load_error* err) {
    return ke::json::load<ke::json::StringReader>(text, flags, err);
}

wiq_json_t* wiq_json_loadf(FILE* fp, i32 flags, wiq_json_load_error* err) {
    return ke::json::load<ke::json::StreamReader>(fp, flags, err);
}
