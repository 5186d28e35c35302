// The parser: a grammar of two states (a value is due; a value was read) over the containers that are open,
// which stand on a stack of their own (open_containers.h), so that nesting needs no recursion.
//
// Inside containers only the kind of a token is looked at: a token that cannot be read is -1046 where a
// value is due and -1045 where a comma, a colon, a key or a bracket is. Only the first token of a text
// tells its own status. Memory is the exception: its lack is -5000 everywhere.

#include "json/lexer.h"
#include "json/node.h"
#include "json/open_containers.h"

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
    ~Parser() { wiq_json_unref(root_); }

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
        open_.give_document_to(root);
        return root;
    }

  private:
    i32 document() {
        i32 status = lexer_.scan();
        value_is_due_ = true;
        while (status == 0 && (value_is_due_ || !open_.empty())) {
            if (value_is_due_)
                status = value();
            else
                status = open_.in_object() ? after_member() : after_element();
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

    // The value that the current token is or begins, put where it belongs. A container is open then.
    i32 value() {
        value_is_due_ = false;
        if (open_.empty())
            return root_value();
        return open_.in_object() ? child_value(&key_) : child_value(nullptr);
    }

    [[gnu::noinline]] i32 root_value() {
        if (lexer_.token() == '{')
            return open_object(nullptr);
        if (lexer_.token() == '[')
            return open_array(nullptr);
        i32 status = 0;
        root_ = new_value(nullptr, nullptr, &status);
        return root_ != nullptr ? 0 : status;
    }

    // Inlined twice, for a member, with its key, and for an element, with nullptr.
    [[gnu::always_inline]] i32 child_value(const Key* key) {
        if (lexer_.token() == '{')
            return open_object(key);
        if (lexer_.token() == '[')
            return open_array(key);
        i32 status = 0;
        wiq_json* node = new_value(key, open_.chunks_of_children(), &status);
        return node != nullptr ? open_.add(node, key) : status;
    }

    // A node of the current token, which must be a value without children; nullptr and a status otherwise.
    [[gnu::always_inline]] wiq_json* new_value(const Key* key, Chunks* chunks, i32* status) {
        const Lexeme& now = lexer_.current();
        *status = WIQ_ERR_NO_MEMORY;
        switch (now.token) {
            case kTokenString:
                return new_text_node(kJsonString, now.text, now.length, key, chunks);
            case kTokenInteger:
                return new_node_of<I64Node>(kJsonI64, now.integer, key, chunks);
            case kTokenReal:
                return new_node_of<DoubleNode>(kJsonDouble, now.real, key, chunks);
            case kTokenTrue:
                return new_node<wiq_json>(kJsonTrue, key, chunks);
            case kTokenFalse:
                return new_node<wiq_json>(kJsonFalse, key, chunks);
            case kTokenNull:
                return new_node<wiq_json>(kJsonNull, key, chunks);
            case kTokenBigInteger:
                return new_node_of<U128Node>(kJsonU128, now.big, key, chunks);
            case kTokenInvalid:
                *status = WIQ_ERR_JSON_BAD_TOKEN;
                return nullptr;
            default:
                *status = WIQ_ERR_JSON_UNEXPECTED_TOKEN;
                return nullptr;
        }
    }

    // Opens a container and reads what may follow its bracket: the closing one, or the first child.
    i32 open_object(const Key* key) {
        i32 status = open_.open(kJsonObject, key, key_stays_, reject_duplicates_);
        if (status == 0)
            status = scan_inside();
        if (status != 0)
            return status;
        return lexer_.token() == '}' ? open_.close(&root_) : member_key(true);
    }
    i32 open_array(const Key* key) {
        i32 status = open_.open(kJsonArray, key, key_stays_, false);
        if (status == 0)
            status = scan_inside();
        if (status != 0)
            return status;
        if (lexer_.token() == ']')
            return open_.close(&root_);
        return lexer_.token() == kTokenEnd ? static_cast<i32>(WIQ_ERR_JSON_UNEXPECTED_END)
                                           : expect_value();
    }

    // What may follow an element: a comma and another one, or the bracket.
    i32 after_element() {
        if (!lexer_.take(',')) {
            const i32 status = scan_inside();
            if (status != 0)
                return status;
            if (lexer_.token() == ']')
                return open_.close(&root_);
            if (lexer_.token() != ',')
                return unexpected();
        }
        const i32 status = scan_inside();
        if (status != 0)
            return status;
        return lexer_.token() == kTokenEnd ? static_cast<i32>(WIQ_ERR_JSON_UNEXPECTED_END)
                                           : expect_value();
    }

    // What may follow a member.
    i32 after_member() {
        if (!lexer_.take(',')) {
            const i32 status = scan_inside();
            if (status != 0)
                return status;
            if (lexer_.token() == '}')
                return open_.close(&root_);
            if (lexer_.token() != ',')
                return unexpected();
        }
        const i32 status = scan_inside();
        return status != 0 ? status : member_key(false);
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
        key_stays_ = lexer_.current().in_source;
        if (reject_duplicates_ && open_.has_member(key_))
            return WIQ_ERR_JSON_DUPLICATE_KEY;
        i32 status = 0;
        if (!lexer_.take(':')) {
            status = scan_inside();
            if (status == 0 && lexer_.token() != ':')
                status = WIQ_ERR_JSON_UNEXPECTED_TOKEN;
        }
        if (status == 0)
            status = scan_inside();
        return status != 0 ? status : expect_value();
    }

    // The current token is to be, or to begin, a value; left to the loop, not to recursion.
    i32 expect_value() {
        value_is_due_ = true;
        return 0;
    }

    Lexer<Reader> lexer_;
    bool allow_trailing_;
    bool reject_duplicates_;
    bool value_is_due_ = false;
    wiq_json* root_ = nullptr;
    Key key_ = {nullptr, 0, 0};  // whose value is due, in an object
    bool key_stays_ = false;     // its text is the source's own
    OpenContainers open_;
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
