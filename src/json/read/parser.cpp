// The parser: a grammar with two states (a value is expected; a value was read). The containers
// that are open are on a stack (open_containers.h), so nesting needs no recursion.
//
// Inside containers the parser only uses the kind of a token, not the status of reading it: a token
// that cannot be read gives WIQ_ERR_JSON_BAD_TOKEN where a value is expected, and
// WIQ_ERR_JSON_UNEXPECTED_TOKEN where a comma, a colon, a key or a closing bracket is expected.
// Only the first token of a text reports its own status. WIQ_ERR_NO_MEMORY is the exception: it is
// reported everywhere.

#include "json/model/make.h"
#include "json/read/lexer.h"
#include "json/read/open_containers.h"

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
            const Location at = lexer_.location();
            *err = {status, at.line, at.column, at.offset};
            return nullptr;
        }
        err->position = lexer_.offset();
        wiq_json_t* root = root_;
        root_ = nullptr;
        containers_.give_document_to(root);
        return root;
    }

  private:
    i32 document() {
        i32 status = lexer_.scan();
        value_is_due_ = true;
        while (status == 0 && (value_is_due_ || !containers_.empty())) {
            if (value_is_due_)
                status = value();
            else
                status = containers_.in_object() ? after_member() : after_element();
        }
        if (status != 0 || allow_trailing_)
            return status;
        status = lexer_.scan();
        if (status == WIQ_ERR_NO_MEMORY)
            return status;
        return lexer_.token() == kTokenEnd ? 0 : static_cast<i32>(WIQ_ERR_JSON_TRAILING_DATA);
    }

    // Reads a token inside a container. Returns 0, even for an invalid token, or WIQ_ERR_NO_MEMORY.
    i32 scan_inside() {
        return lexer_.scan() == WIQ_ERR_NO_MEMORY ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : 0;
    }

    // Reads the value that the current token is or begins, and puts it where it belongs. If the
    // token begins a container, it is opened, and the loop in document() reads its children.
    i32 value() {
        value_is_due_ = false;
        if (containers_.empty())
            return root_value();
        return containers_.in_object() ? child_value(&key_) : child_value(nullptr);
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

    // Inlined twice: for a member, with its key, and for an element, with nullptr.
    [[gnu::always_inline]] i32 child_value(const Key* key) {
        if (lexer_.token() == '{')
            return open_object(key);
        if (lexer_.token() == '[')
            return open_array(key);
        i32 status = 0;
        wiq_json* node = new_value(key, containers_.chunks_of_children(), &status);
        return node != nullptr ? containers_.add(node, key) : status;
    }

    // Returns a node for the current token, which must be a value without children; otherwise
    // nullptr, with *status set.
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

    // These open a container and read what may follow its bracket: the closing bracket, or the
    // first child.
    i32 open_object(const Key* key) {
        i32 status = containers_.open(kJsonObject, key, key_stays_, reject_duplicates_);
        if (status == 0)
            status = scan_inside();
        if (status != 0)
            return status;
        return lexer_.token() == '}' ? containers_.close(&root_) : member_key(true);
    }
    i32 open_array(const Key* key) {
        i32 status = containers_.open(kJsonArray, key, key_stays_, false);
        if (status == 0)
            status = scan_inside();
        if (status != 0)
            return status;
        if (lexer_.token() == ']')
            return containers_.close(&root_);
        return lexer_.token() == kTokenEnd ? static_cast<i32>(WIQ_ERR_JSON_UNEXPECTED_END)
                                           : expect_value();
    }

    // Reads what may follow an element: a comma and another element, or the closing bracket.
    i32 after_element() {
        if (!lexer_.take(',')) {
            const i32 status = scan_inside();
            if (status != 0)
                return status;
            if (lexer_.token() == ']')
                return containers_.close(&root_);
            if (lexer_.token() != ',')
                return unexpected();
        }
        const i32 status = scan_inside();
        if (status != 0)
            return status;
        return lexer_.token() == kTokenEnd ? static_cast<i32>(WIQ_ERR_JSON_UNEXPECTED_END)
                                           : expect_value();
    }

    // Reads what may follow a member: a comma and another member, or the closing bracket.
    i32 after_member() {
        if (!lexer_.take(',')) {
            const i32 status = scan_inside();
            if (status != 0)
                return status;
            if (lexer_.token() == '}')
                return containers_.close(&root_);
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

    // Reads a key and its colon, and the token after them. The end of the text is reported as
    // WIQ_ERR_JSON_UNEXPECTED_END only before the first key.
    i32 member_key(bool first) {
        if (lexer_.token() != kTokenString)
            return first ? unexpected() : static_cast<i32>(WIQ_ERR_JSON_UNEXPECTED_TOKEN);
        const char* text = lexer_.hold_text();
        if (text == nullptr)
            return WIQ_ERR_NO_MEMORY;
        key_ = Key(text, lexer_.current().length);
        key_stays_ = lexer_.current().in_source;
        if (reject_duplicates_ && containers_.has_member(key_))
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

    // The current token must be, or begin, a value. The loop in document() reads it, so that there
    // is no recursion.
    i32 expect_value() {
        value_is_due_ = true;
        return 0;
    }

    Lexer<Reader> lexer_;
    bool allow_trailing_;
    bool reject_duplicates_;
    bool value_is_due_ = false;
    wiq_json* root_ = nullptr;
    Key key_ = {nullptr, 0, 0};  // in an object: of the value that is expected
    bool key_stays_ = false;     // its text is in the source itself
    OpenContainers containers_;
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
