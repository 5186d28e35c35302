// The parser: a grammar of two states (a value is due; a value was read) over the tree itself. Each
// container hangs in its parent from the moment it opens, so the way back to it is the parent link and
// nesting needs neither recursion nor a stack; what the open ones hold stands in OpenTables until they
// close.
//
// Inside containers only the kind of a token is looked at: a token that cannot be read is -1046 where a
// value is due and -1045 where a comma, a colon, a key or a bracket is. Only the first token of a text
// tells its own status. Memory is the exception: its lack is -5000 everywhere.

#include <cstdlib>
#include <string_view>

#include "json/lexer.h"
#include "json/node.h"
#include "json/open_tables.h"

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
        for (; open_ != nullptr; open_ = open_->parent)
            tables_.abandon(open_);
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
        const Lexeme& now = lexer_.current();
        const Key* key = open_ != nullptr && open_->type == kJsonObject ? &key_ : nullptr;
        wiq_json* node = nullptr;
        switch (now.token) {
            case '{':
                node = new_object(0, 0, key);
                break;
            case '[':
                node = new_array(0, 0, key);
                break;
            case kTokenString:
                node = new_text_node(kJsonString, now.text, now.length, key);
                break;
            case kTokenInteger:
                node = new_node_of<I64Node>(kJsonI64, now.integer, key);
                break;
            case kTokenReal:
                node = new_node_of<DoubleNode>(kJsonDouble, now.real, key);
                break;
            case kTokenTrue:
                node = new_node<wiq_json>(kJsonTrue, key);
                break;
            case kTokenFalse:
                node = new_node<wiq_json>(kJsonFalse, key);
                break;
            case kTokenNull:
                node = new_node<wiq_json>(kJsonNull, key);
                break;
            case kTokenBigInteger:
                node = new_node_of<U128Node>(kJsonU128, now.big, key);
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
        if (open_ == nullptr) {
            root_ = node;
        } else {
            const i32 status = open_->type == kJsonArray ? attach(as<ArrayNode>(open_), node)
                                                         : attach(as<ObjectNode>(open_), node);
            if (status != 0) {
                free_node(node);
                return status;
            }
            node->refcount = 1;
        }
        return is_container(node) ? enter(node) : 0;
    }

    i32 attach(ArrayNode* array, wiq_json* node) {
        const i32 status = tables_.append(array, node);
        if (status == 0)
            settle(array, size_of(array) - 1, node);
        return status;
    }

    // A key that comes again takes the place of the one before.
    i32 attach(ObjectNode* obj, wiq_json* node) {
        Member* member = member_of(node, key_);
        if (member == nullptr)
            return WIQ_ERR_NO_MEMORY;
        Member* old = nullptr;
        const i32 status = tables_.put(obj, member, &old);
        if (status != 0) {
            if (node->home == 0)
                free(member);
            return status;
        }
        settle(obj, member, node);
        if (old != nullptr)
            release_member(obj, old);
        return 0;
    }

    // What may follow an opening bracket: the closing one, or the first child.
    i32 enter(wiq_json* container) {
        open_ = container;
        const i32 status = scan_inside();
        if (status != 0)
            return status;
        if (container->type == kJsonObject)
            return lexer_.token() == '}' ? close_object() : member_key(true);
        if (lexer_.token() == ']')
            return close_array();
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
        return lexer_.token() == ']' ? close_array() : unexpected();
    }

    // What may follow a member.
    i32 after_member() {
        i32 status = scan_inside();
        if (status != 0)
            return status;
        if (lexer_.token() == ',') {
            status = scan_inside();
            return status != 0 ? status : member_key(false);
        }
        return lexer_.token() == '}' ? close_object() : unexpected();
    }

    i32 unexpected() const {
        return lexer_.token() == kTokenEnd ? static_cast<i32>(WIQ_ERR_JSON_UNEXPECTED_END)
                                           : static_cast<i32>(WIQ_ERR_JSON_UNEXPECTED_TOKEN);
    }

    // A key with its colon and its value. The end of the text is an early end only before the first key.
    i32 member_key(bool first) {
        if (lexer_.token() != kTokenString)
            return first ? unexpected() : static_cast<i32>(WIQ_ERR_JSON_UNEXPECTED_TOKEN);
        const char* text = lexer_.hold_text();
        if (text == nullptr)
            return WIQ_ERR_NO_MEMORY;
        key_ = Key(text, lexer_.current().length);
        if (reject_duplicates_ && find(as<ObjectNode>(open_)->members, key_) != nullptr)
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

    i32 close_array() {
        auto* array = as<ArrayNode>(open_);
        const i32 status = tables_.close(array);
        if (status == 0)
            open_ = array->parent;
        return status;
    }

    // An object whose only member is "$ref" with a text is a reference.
    i32 close_object() {
        auto* obj = as<ObjectNode>(open_);
        const char* uri = reference_in(obj);
        if (uri != nullptr)
            return fold(obj, uri);
        const i32 status = tables_.close(obj);
        if (status == 0)
            open_ = obj->parent;
        return status;
    }

    static const char* reference_in(const ObjectNode* obj) {
        if (size_of(obj) != 1)
            return nullptr;
        const Member* member = first_member(obj);
        const bool is_reference =
            member->child->type == kJsonString && std::string_view(member->key()) == "$ref";
        return is_reference ? as<TextNode>(member->child)->text : nullptr;
    }

    // Puts a reference in the place of the object that says it, which is the innermost open container.
    i32 fold(ObjectNode* obj, const char* uri) {
        wiq_json* parent = obj->parent;
        const bool in_object = parent != nullptr && parent->type == kJsonObject;
        Member* old = in_object ? member_of_key(obj->position.key) : nullptr;
        const Key key = in_object ? Key(old) : key_;
        wiq_json* reference = new_text_node(kJsonRef, uri, strlen(uri), in_object ? &key : nullptr);
        if (reference == nullptr)
            return WIQ_ERR_NO_MEMORY;
        if (in_object && !put_instead(as<ObjectNode>(parent), old, key, reference)) {
            free_node(reference);
            return WIQ_ERR_NO_MEMORY;
        }
        reference->refcount = parent != nullptr ? 1 : 0;
        if (parent == nullptr) {
            root_ = reference;
        } else if (!in_object) {
            auto* array = as<ArrayNode>(parent);
            const i32 last = size_of(array) - 1;
            elems_of(array)[last] = reference;
            settle(array, last, reference);
        }
        tables_.abandon(obj);
        if (old != nullptr)
            free_member(old);
        free_node(obj);
        open_ = parent;
        return 0;
    }

    // Puts a new node's member into the place of another one with the same key; false without memory.
    static bool put_instead(ObjectNode* obj, Member* old, const Key& key, wiq_json* node) {
        Member* member = member_of(node, key);
        if (member == nullptr)
            return false;
        Member** slot = slot_of(obj->members, key);
        member->next = old->next;
        *slot = member;
        settle(obj, member, node);
        return true;
    }

    Lexer<Reader> lexer_;
    bool allow_trailing_;
    bool reject_duplicates_;
    bool value_is_due_ = false;
    wiq_json* root_ = nullptr;
    wiq_json* open_ = nullptr;   // the innermost open container
    Key key_ = {nullptr, 0, 0};  // whose value is due, in an object
    OpenTables tables_;
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
