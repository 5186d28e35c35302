// The serializer's walk. It writes the same text that the slots of the dump classes write one by
// one, but without recursion and without a call for each token. The open containers are on an
// explicit stack.
//
// The text goes to a sink (dump_sink.h). room(n) returns room for n characters, as many as the
// writer asks for; the writer fills it, and commit(end) says where they end. Without a commit, the
// next call of room() discards them.
#pragma once

#include "containers/small_stack.h"
#include "json/model/node.h"
#include "json/write/escape.h"
#include "text/decimal.h"
#include "text/uint128.h"

namespace ke::json {

constexpr i32 kIndentStep = 2;
// Returns the indentation one level further in or out. It begins as a number of the caller's
// choice, so it may wrap.
inline i32 moved_indent(i32 indent, i32 by) {
    return static_cast<i32>(static_cast<u32>(indent) + static_cast<u32>(by));
}

// Returns the members of an object, sorted by the bytes of their keys, in a block that the caller
// frees. The object must have members. Returns nullptr when out of memory.
const Member** sorted_members(const ObjectNode* obj);

template <class Sink>
class DumpWriter {
  public:
    DumpWriter(Sink& sink, u32 flags, i32 indent)
        : sink_(sink),
          indent_(indent),
          pretty_((flags & WIQ_JSON_DUMP_PRETTY) != 0),
          sorted_((flags & WIQ_JSON_DUMP_SORT_KEYS) != 0),
          u128_as_object_((flags & WIQ_JSON_DUMP_U128_AS_OBJECT) != 0) {}
    DumpWriter(const DumpWriter&) = delete;
    DumpWriter& operator=(const DumpWriter&) = delete;
    ~DumpWriter() {
        for (; !frames_.empty(); frames_.pop())
            free(frames_.top().members);
    }

    // Writes a node and everything below it. Returns 0, WIQ_ERR_NO_MEMORY, WIQ_ERR_BAD_JSON_TYPE,
    // WIQ_ERR_INVALID_ARG for a string without text, WIQ_ERR_BAD_FORMAT for invalid UTF-8, or the
    // failure of the sink. The sink finishes in any case, so the text before a failure is kept.
    i32 dump(const wiq_json* root) {
        i32 status = value(root);
        while (status == 0 && !frames_.empty()) {
            Frame& frame = frames_.top();
            status = frame.container->type == kJsonArray ? elements(&frame)
                     : frame.members != nullptr          ? sorted(&frame)
                                                         : unsorted(&frame);
        }
        const i32 finished = sink_.finish();
        return status != 0 ? status : finished;
    }

  private:
    static constexpr size_t kQuotes = 2;

    // A sink for escape_text() that checks no room: the caller provides kMaxEscape characters for
    // each byte of the text.
    struct UncheckedSink {
        char* out;
        i32 write(const char* bytes, size_t count) {
            memcpy(out, bytes, count);
            out += count;
            return 0;
        }
    };

    // A container whose children are being written.
    struct Frame {
        const wiq_json* container;
        const Member** members;  // the sorted members, or nullptr to use map order
        const Member* member;    // the next one to be written; used in map order only
        i32 done;                // number of children written
        i32 count;               // number of children
    };

    // Writes a value. Of a container it writes only the opening bracket and pushes a frame; dump()
    // then calls the function that writes the rest.
    i32 value(const wiq_json* node) {
        switch (node->type) {
            case kJsonNull:
                return sink_.write("null", 4);
            case kJsonTrue:
                return sink_.write("true", 4);
            case kJsonFalse:
                return sink_.write("false", 5);
            case kJsonI64:
                return write_in_place(kMaxDecimalDigits64, [node](char* out) {
                    return write_i64(out, as<I64Node>(node)->value);
                });
            case kJsonU64:
                return write_in_place(kMaxDecimalDigits64, [node](char* out) {
                    return write_u64(out, as<U64Node>(node)->value);
                });
            case kJsonDouble:
                return write_in_place(kMaxDoubleText, [node](char* out) {
                    return write_double(out, as<DoubleNode>(node)->value);
                });
            case kJsonU128:
                return number_128(as<U128Node>(node)->value);
            case kJsonString:
                return string(as<TextNode>(node)->text, as<TextNode>(node)->length);
            case kJsonRef:
                return single_member("$ref", as<TextNode>(node)->text, as<TextNode>(node)->length);
            case kJsonObject:
                return open_object(as<ObjectNode>(node));
            case kJsonArray:
                return open_array(as<ArrayNode>(node));
            default:
                return WIQ_ERR_BAD_JSON_TYPE;
        }
    }

    // These write children of the innermost open container up to the first that is a container
    // itself. When that one is complete, dump() calls them again, and they continue with the next
    // child. After the last child they close the container. Opening a container may move the stack,
    // so `frame` is not used after that; `done` and `member` are set for the next child before a
    // child is written.
    i32 elements(Frame* frame) {
        wiq_json** const elems = elems_of(as<ArrayNode>(frame->container));
        while (frame->done != frame->count) {
            const wiq_json* elem = elems[frame->done];
            i32 status = separator(frame->done++ != 0);
            if (status == 0)
                status = value(elem);
            if (status != 0 || is_container(elem))
                return status;
        }
        return close_container(']');
    }
    i32 sorted(Frame* frame) {
        while (frame->done != frame->count) {
            const Member* next = frame->members[frame->done];
            const i32 status = member(next, frame->done++ != 0);
            if (status != 0 || is_container(next->child))
                return status;
        }
        return close_container('}');
    }
    i32 unsorted(Frame* frame) {
        while (const Member* next = frame->member) {
            frame->member = next_member(as<ObjectNode>(frame->container), next);
            const i32 status = member(next, frame->done++ != 0);
            if (status != 0 || is_container(next->child))
                return status;
        }
        return close_container('}');
    }

    i32 member(const Member* next, bool comma) {
        i32 status = separator(comma);
        if (status == 0)
            status = quoted(next->key(), next->key_length(), ": ", pretty_ ? 2 : 1);
        return status != 0 ? status : value(next->child);
    }

    i32 open_object(const ObjectNode* obj) {
        Frame frame = {obj, nullptr, nullptr, 0, size_of(obj)};
        if (!sorted_) {
            frame.member = first_member(obj);
        } else if (frame.count != 0) {
            frame.members = sorted_members(obj);
            if (frame.members == nullptr)
                return WIQ_ERR_NO_MEMORY;
        }
        return open_container('{', frame);
    }

    i32 open_array(const ArrayNode* array) {
        return open_container('[', Frame{array, nullptr, nullptr, 0, size_of(array)});
    }

    i32 open_container(char bracket, const Frame& frame) {
        if (!frames_.push(frame)) {
            free(frame.members);
            return WIQ_ERR_NO_MEMORY;
        }
        indent_in();
        return put(bracket);
    }

    i32 close_container(char bracket) {
        free(frames_.top().members);
        frames_.pop();
        return write_closing_bracket(bracket);
    }

    // Writes the closing bracket; if pretty, on a line of its own, even if the container is empty.
    i32 write_closing_bracket(char bracket) {
        if (!pretty_)
            return put(bracket);
        indent_ = moved_indent(indent_, -kIndentStep);
        const i32 status = newline();
        return status != 0 ? status : put(bracket);
    }

    void indent_in() {
        if (pretty_)
            indent_ = moved_indent(indent_, kIndentStep);
    }

    // Writes what comes before a child: a comma unless it is the first child, and if pretty, a new
    // line.
    i32 separator(bool comma) {
        const i32 status = comma ? put(',') : 0;
        return status != 0 || !pretty_ ? status : newline();
    }

    // Writes an object with one member whose value is a string.
    i32 single_member(const char* name, const char* text, size_t length) {
        indent_in();
        i32 status = put('{');
        if (status == 0 && pretty_)
            status = newline();
        if (status == 0)
            status = quoted(name, strlen(name), ": ", pretty_ ? 2 : 1);
        if (status == 0)
            status = string(text, length);
        return status != 0 ? status : write_closing_bracket('}');
    }

    i32 number_128(wiq_uint128 number) {
        char digits[kMaxDecimalDigits128];
        const size_t length = static_cast<size_t>(write_u128(digits, number) - digits);
        return u128_as_object_ ? single_member("u128", digits, length)
                               : sink_.write(digits, length);
    }

    i32 string(const char* text, size_t length) {
        return text == nullptr ? static_cast<i32>(WIQ_ERR_INVALID_ARG)
                               : quoted(text, length, "", 0);
    }

    // Writes a text in quotes, and after it the first `tail_length` characters of `tail`. The usual
    // text is short and plain ASCII: it is copied and checked at the same time. If it turns out not
    // to be plain, nothing has been committed, and it is written again with escapes. A long text is
    // written in pieces, so as not to ask for room for six times its length.
    i32 quoted(const char* text, size_t length, const char* tail, size_t tail_length) {
        constexpr size_t kMinLongLength = 1024;
        if (length >= kMinLongLength)
            return quoted_in_pieces(text, length, tail, tail_length);
        char* out = sink_.room(length + kQuotes + tail_length);
        if (out == nullptr)
            return sink_.failure();
        if (copy_plain_ascii(out + 1, text, length)) {
            *out = '"';
            out += 1 + length;
        } else {
            out = sink_.room(kMaxEscape * length + kQuotes + tail_length);
            if (out == nullptr)
                return sink_.failure();
            *out++ = '"';
            UncheckedSink room = {out};
            const i32 status = escape_text(text, text + length, room);
            out = room.out;
            if (status != 0) {
                // The text is not valid UTF-8. Its start is written, except to a sink that takes
                // only whole strings.
                if (!Sink::kWholeStrings)
                    sink_.commit(out);
                return status;
            }
        }
        *out++ = '"';
        for (size_t i = 0; i < tail_length; ++i)
            *out++ = tail[i];
        sink_.commit(out);
        return 0;
    }

    i32 quoted_in_pieces(const char* text, size_t length, const char* tail, size_t tail_length) {
        if (Sink::kWholeStrings && !is_valid_text(text, text + length))
            return WIQ_ERR_BAD_FORMAT;
        i32 status = put('"');
        if (status == 0)
            status = escape_text(text, text + length, sink_);
        if (status == 0)
            status = put('"');
        return status != 0 || tail_length == 0 ? status : sink_.write(tail, tail_length);
    }

    // Writes a line feed and as many blanks as "%*s" does for the indentation: its absolute value.
    // Usually these are few, but a caller may ask for billions.
    i32 newline() {
        constexpr size_t kAtOnce = 4096;
        size_t blanks = static_cast<size_t>(indent_ < 0 ? -i64{indent_} : i64{indent_});
        if (blanks <= kAtOnce) {
            return write_in_place(blanks + 1, [blanks](char* out) {
                *out++ = '\n';
                memset(out, ' ', blanks);
                return out + blanks;
            });
        }
        i32 status = put('\n');
        for (size_t some = kAtOnce; status == 0 && blanks != 0; blanks -= some) {
            some = blanks < some ? blanks : some;
            status = write_in_place(some, [some](char* out) {
                memset(out, ' ', some);
                return out + some;
            });
        }
        return status;
    }

    i32 put(char c) {
        return write_in_place(1, [c](char* out) {
            *out = c;
            return out + 1;
        });
    }

    // Calls `write` with room for n characters. It writes at most that many and returns their end.
    template <class Write>
    [[gnu::always_inline]] i32 write_in_place(size_t n, const Write& write) {
        char* out = sink_.room(n);
        if (out == nullptr)
            return sink_.failure();
        sink_.commit(write(out));
        return 0;
    }

    Sink& sink_;
    i32 indent_;
    bool pretty_;
    bool sorted_;
    bool u128_as_object_;
    SmallStack<Frame, 16> frames_;
};

}  // namespace ke::json
