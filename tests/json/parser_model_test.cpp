// Compares the library's parser with the model: every short text over small alphabets; valid documents with
// bytes changed, dropped, doubled and cut off; random sequences of tokens; and random bytes. Both must give the
// same result, order of members, status and position, and leave the same bytes in a stream.
#include "json/parser_model.h"

namespace {

constexpr i32 kAllFlags[] = {0, WIQ_JSON_ALLOW_TRAILING, WIQ_JSON_REJECT_DUPLICATES,
                             WIQ_JSON_ALLOW_TRAILING | WIQ_JSON_REJECT_DUPLICATES};

// Pseudo-random numbers that are the same on every platform and cost little under every sanitizer.
class Random {
  public:
    explicit Random(u64 seed) : state_(seed) {}
    // Returns a number from 0 to n - 1.
    u32 below(u32 n) {
        state_ = state_ * 6364136223846793005u + 1442695040888963407u;
        return static_cast<u32>((state_ >> 33) % n);
    }
    template <class T, size_t N>
    const T& one_of(const T (&items)[N]) {
        return items[below(N)];
    }

  private:
    u64 state_;
};

void compare_string(const std::string& text, i32 flags) {
    const LoadOutcome expected = ParserModel::string(text, flags);
    const LoadOutcome actual = load_string(text, flags, MemberOrder::kMap);
    ASSERT_EQ(actual, expected) << "string " << describe_text(text.c_str()) << " flags " << flags;
}

void compare_stream(ScratchFile& file, const std::string& content, i32 flags) {
    const LoadOutcome expected = ParserModel::stream(content, flags);
    const LoadOutcome actual = file.load(content, flags, MemberOrder::kMap);
    ASSERT_EQ(actual, expected) << "stream " << describe_text(content.c_str()) << " flags "
                                << flags;
    ASSERT_EQ(actual.consumed, expected.consumed) << describe_text(content.c_str());
}

// Calls the body with every text of this length over the alphabet.
template <class Body>
void for_each_text(const std::string& alphabet, size_t length, Body body) {
    std::vector<size_t> digits(length, 0);
    std::string text(length, alphabet[0]);
    for (;;) {
        body(text);
        size_t i = 0;
        for (; i < length; ++i) {
            digits[i] = (digits[i] + 1) % alphabet.size();
            text[i] = alphabet[digits[i]];
            if (digits[i] != 0)
                break;
        }
        if (i == length || testing::Test::HasFatalFailure())
            return;
    }
}

void compare_all_texts(const std::string& alphabet, size_t longest) {
    for (size_t length = 0; length <= longest; ++length) {
        for_each_text(alphabet, length, [](const std::string& text) {
            compare_string(text, 0);
            compare_string(text, WIQ_JSON_ALLOW_TRAILING);
        });
    }
}

TEST(ParserModel, EveryShortTextOfPunctuation) {
    compare_all_texts("[]{}:,1\n", 5);
}

TEST(ParserModel, EveryShortTextOfMembers) {
    // Here keys of one character stand for whole tokens.
    for (size_t length = 0; length <= 6; ++length) {
        for_each_text("{}:,aA1", length, [](const std::string& text) {
            std::string spelled;
            for (char c : text)
                spelled += c == 'a' ? "\"a\"" : c == 'A' ? "\"$ref\"" : std::string(1, c);
            compare_string(spelled, WIQ_JSON_REJECT_DUPLICATES);
        });
    }
}

TEST(ParserModel, EveryShortNumber) {
    compare_all_texts("-+0129.eE x", 4);
    compare_all_texts("-01.e\xC3", 5);
}

TEST(ParserModel, EveryShortString) {
    compare_all_texts("\"\\u0dn\x1f\xC3\xA9", 4);
    for_each_text("08cdDF\"\\", 4, [](const std::string& text) {
        compare_string("\"\\u" + text + "\"", 0);
        compare_string("\"\\uD83D\\u" + text + "\"", 0);
    });
}

TEST(ParserModel, EverySequenceOfUtf8Edges) {
    compare_all_texts("\x7f\x80\x8f\x90\x9f\xa0\xbf\xc1\xc2\xdf\xe0\xed\xf0\xf4\xf5\xff\n", 3);
    for_each_text("\x7f\x80\x8f\x90\xbf\xc2", 3, [](const std::string& text) {
        for (const char* lead : {"\xe0", "\xed", "\xef", "\xf0", "\xf1", "\xf4"}) {
            compare_string(lead + text, 0);
            compare_string("[1" + (lead + text), 0);
            compare_string("1" + (lead + text), WIQ_JSON_ALLOW_TRAILING);
        }
    });
}

const char* const kDocuments[] = {
    "{\"Name\":\"PHYSICAL DRIVE\",\"Slot\":3,\"Size\":12000138625024,\"Ok\":true,\"Parent\":null}",
    ("[0,-0,1,-1,1.5,-2.25e3,1E+2,0e-1,123456789012345678,9223372036854775807,"
     "9223372036854775808,-9223372036854775808,-9223372036854775809,"
     "340282366920938463463374607431768211455,340282366920938463463374607431768211456]"),
    "{\n  \"a\": [ {\"b\": {\"c\": [1, 2, [3, [4, {}]]]}}, [], {} ],\n\t\"d\"\r\n:\"x\"\n}\n",
    ("[\"\\\"\\\\\\/\\b\\f\\n\\r\\t\\u00e9\\u20AC\\ud83d\\ude00\\u0041\",\"plain text, long enough "
     "to be taken sixteen bytes at a time, with \\\" in it\"]"),
    ("{\"x\":{\"$ref\":\"#/y\"},\"y\":[{\"$ref\":\"\"},{\"$ref\":1},{\"$ref\":\"a\",\"b\":2},"
     "{\"$ref\":{\"$ref\":\"#/$ref\"}}]}"),
    "{\"a\":1,\"b\":2,\"a\":3,\"c\":{\"a\":4,\"a\":5},\"b\":[{\"b\":6}]}",
    "[true,false,null,[true],{\"t\":false}, null ]",
};

// Makes one change to a text: replaces, drops, doubles or inserts a byte, swaps two, or cuts off the end.
std::string mutate(std::string text, Random& random) {
    constexpr char kBytes[] =
        "[]{}:,\"\\/-+.eEu0123456789abdtrufalsn \t\r\n\x01\x7f\x80\xC3\xA9\xED\xF4\xFF";
    if (text.empty())
        return text;
    const size_t at = random.below(static_cast<u32>(text.size()));
    const char byte = kBytes[random.below(sizeof kBytes - 1)];
    switch (random.below(6)) {
        case 0:
            text[at] = byte;
            break;
        case 1:
            text.erase(at, 1);
            break;
        case 2:
            text.insert(at, 1, text[at]);
            break;
        case 3:
            text.insert(at, 1, byte);
            break;
        case 4:
            std::swap(text[at], text[random.below(static_cast<u32>(text.size()))]);
            break;
        default:
            text.resize(at);
            break;
    }
    return text;
}

std::string random_tokens(Random& random) {
    const char* const kTokens[] = {"{",     "}",    "[",       "]",         ":",       ",",
                                   "true",  "null", "false",   "1",         "-2.5",    "\"a\"",
                                   "\"b\"", " ",    "\n",      "\"$ref\"",  "\"\\n\"", "1e2",
                                   "[1",    ",2]",  "{\"a\":", "\"b\":[]}", "{}",      "[]"};
    std::string text;
    for (u32 n = random.below(12); n != 0; --n)
        text += random.one_of(kTokens);
    return text;
}

std::string random_bytes(Random& random) {
    std::string text;
    for (u32 n = random.below(10); n != 0; --n)
        text.push_back(static_cast<char>(random.below(256)));
    return text;
}

// Returns a valid document of modest size, with random blanks.
std::string random_document(Random& random, int depth) {
    const char* const kScalars[] = {"0",
                                    "-17",
                                    "1.25",
                                    "1e400",
                                    "99999999999999999999",
                                    "null",
                                    "true",
                                    "false",
                                    "\"\"",
                                    "\"x\"",
                                    "\"\\u0101\"",
                                    ("\" long enough for more than one stretch \"")};
    const char* const kBlanks[] = {"", "", "", " ", "\n", "\t", "\r\n  "};
    const char* const kKeys[] = {"a", "b", "c", "d", "$ref", "key", "\\u0061", "", "serial number"};
    const u32 kind = depth == 0 ? 0 : random.below(3);
    if (kind == 0)
        return random.one_of(kScalars);
    std::string text = kind == 1 ? "[" : "{";
    const u32 count = random.below(5);
    for (u32 i = 0; i < count; ++i) {
        text += i == 0 ? "" : ",";
        text += random.one_of(kBlanks);
        if (kind == 2)
            text += std::string("\"") + random.one_of(kKeys) + "\"" + random.one_of(kBlanks) + ":";
        text +=
            random.one_of(kBlanks) + random_document(random, depth - 1) + random.one_of(kBlanks);
    }
    return text + (kind == 1 ? "]" : "}");
}

TEST(ParserModel, MutatedDocuments) {
    Random random(1);
    for (int i = 0; i < 20000 && !HasFatalFailure(); ++i) {
        std::string text = random.one_of(kDocuments);
        for (u32 changes = random.below(4); changes != 0; --changes)
            text = mutate(text, random);
        compare_string(text, random.one_of(kAllFlags));
    }
}

TEST(ParserModel, RandomTokensAndBytes) {
    Random random(2);
    for (int i = 0; i < 30000 && !HasFatalFailure(); ++i) {
        compare_string(random_tokens(random), random.one_of(kAllFlags));
        compare_string(random_bytes(random), random.one_of(kAllFlags));
        compare_string("[\"" + random_bytes(random), random.one_of(kAllFlags));
    }
}

TEST(ParserModel, RandomDocuments) {
    Random random(3);
    int valid = 0;
    for (int i = 0; i < 6000 && !HasFatalFailure(); ++i) {
        const std::string text = random_document(random, 4);
        compare_string(text, WIQ_JSON_REJECT_DUPLICATES);
        compare_string(text, 0);
        compare_string(mutate(text, random), random.one_of(kAllFlags));
        valid += load_string(text, 0).error.status == 0 ? 1 : 0;
    }
    EXPECT_EQ(valid, 6000) << "the generator must make valid documents";
}

TEST(ParserModel, Streams) {
    ScratchFile file;
    Random random(4);
    for (int i = 0; i < 1500 && !HasFatalFailure(); ++i) {
        compare_stream(file, mutate(mutate(random.one_of(kDocuments), random), random),
                       random.one_of(kAllFlags));
        compare_stream(file, random_tokens(random), random.one_of(kAllFlags));
        compare_stream(file, random_bytes(random), random.one_of(kAllFlags));
        compare_stream(file, random_document(random, 3), random.one_of(kAllFlags));
    }
}

// A stream, unlike a string, does not end at a NUL.
TEST(ParserModel, StreamsWithNuls) {
    ScratchFile file;
    const char* const kTexts[] = {
        "[1@,2]",      "[1@]",    "1@",      "tr@ue",    "true@", "[null@,@1]", "\"a@\"",     "@",
        "[@]",         "{@}",     "1@2",     "1.@5",     "1.5@e", "-@1",        "{\"a\"@:1}", " @",
        "\"\\u00@1\"", "\"\\@\"", "1@\n\n]", "[1@\n\n]", "\xC3@", "1\xC3@"};
    for (const char* text : kTexts) {
        std::string content = text;
        std::replace(content.begin(), content.end(), '@', '\0');
        for (i32 flags : kAllFlags)
            ASSERT_NO_FATAL_FAILURE(compare_stream(file, content, flags)) << text;
    }
}

TEST(ParserModel, EveryShortStream) {
    ScratchFile file;
    const std::string alphabet("[],\"1e\n\0\xC3\xA9\xFF", 11);
    for (size_t length = 0; length <= 3; ++length) {
        for_each_text(alphabet, length, [&](const std::string& content) {
            compare_stream(file, content, WIQ_JSON_ALLOW_TRAILING);
        });
    }
}

}  // namespace
