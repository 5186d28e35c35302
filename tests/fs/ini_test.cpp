// Tests of the INI parser: every token, every mistake with its position, and random texts compared with a
// small model that works on the whole text.
#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "support/temporary_stream.h"

namespace {

std::string location(const WiqIniLocation& l) {
    return std::to_string(l.line) + ":" + std::to_string(l.column) + "+" +
           std::to_string(l.length) + "@" + std::to_string(l.offset);
}

struct ParseRun {
    std::vector<std::string> events;
    std::string text;
    std::string stop_at;  // at this event, the callback ends the parse with 5
};

i32 note(ParseRun* run, const std::string& event) {
    run->events.push_back(event);
    return event == run->stop_at ? 5 : 0;
}

// Checks that a location is where its text is in the file. A missing argument has no such location.
void expect_points_at(const ParseRun& run, const WiqIniLocation& location, const char* text) {
    EXPECT_EQ(run.text.substr(location.offset, location.length), text);
}

i32 on_section(const char* name, const WiqIniLocation* name_location, const char* argument,
               const WiqIniLocation* argument_location, void* user) {
    auto* run = static_cast<ParseRun*>(user);
    expect_points_at(*run, *name_location, name);
    std::string event = std::string("[") + name + "] " + location(*name_location);
    if (argument != nullptr) {
        expect_points_at(*run, *argument_location, argument);
        event += std::string(" <") + argument + "> " + location(*argument_location);
    } else {
        EXPECT_EQ(location(*argument_location), "0:0+0@0");
    }
    return note(run, event);
}

i32 on_key(const char* key, const WiqIniLocation* key_location, const char* value,
           const WiqIniLocation* value_location, void* user) {
    auto* run = static_cast<ParseRun*>(user);
    expect_points_at(*run, *key_location, key);
    expect_points_at(*run, *value_location, value);
    return note(run, std::string(key) + " " + location(*key_location) + " = " + value + " " +
                         location(*value_location));
}

void on_error(const WiqIniLocation* location, void* user) {
    static_cast<ParseRun*>(user)->events.push_back("error " + std::to_string(location->line) + ":" +
                                                   std::to_string(location->column) + "+" +
                                                   std::to_string(location->length));
}

i32 parse(const std::string& text, ParseRun* run) {
    run->text = text;
    FILE* stream = stream_of(text);
    const i32 status = wiq_ini_parse(stream, on_section, on_key, on_error, run);
    fclose(stream);
    return status;
}

using Events = std::vector<std::string>;

TEST(Ini, WellFormedFiles) {
    struct Row {
        std::string text;
        Events events;
    };
    for (const Row& row : {
             Row{"", {}},
             Row{"\n\r\n  \t\n", {}},
             Row{"; comment\n# another\n  ; indented", {}},
             Row{"[main]\nname = some value # note\n",
                 {"[main] 1:2+4@1", "name 2:1+4@7 = some value 2:8+10@14"}},
             Row{"[disk \"C: drive\"]", {"[disk] 1:2+4@1 <C: drive> 1:8+8@7"}},
             Row{"[disk sda]", {"[disk] 1:2+4@1 <sda> 1:7+3@6"}},
             Row{"[ s ] ; note", {"[s] 1:3+1@2"}},
             Row{"[s]\r\nk=v\r\n", {"[s] 1:2+1@1", "k 2:1+1@5 = v 2:3+1@7"}},
             Row{"[s]\nk = a b  c", {"[s] 1:2+1@1", "k 2:1+1@4 = a b  c 2:5+6@8"}},
             Row{"[s]\nk = \"a b # c\" ; note", {"[s] 1:2+1@1", "k 2:1+1@4 = a b # c 2:6+7@9"}},
             Row{"[s]\n\tk\t=\tv\t\n", {"[s] 1:2+1@1", "k 2:2+1@5 = v 2:6+1@9"}},
             Row{"[s]\nk=v#note", {"[s] 1:2+1@1", "k 2:1+1@4 = v 2:3+1@6"}},
             Row{"[s]\nk=v;note", {"[s] 1:2+1@1", "k 2:1+1@4 = v 2:3+1@6"}},
             Row{"[s]\n\n; c\nk=v", {"[s] 1:2+1@1", "k 4:1+1@9 = v 4:3+1@11"}},
             Row{"[a]\n[b]\nk=v", {"[a] 1:2+1@1", "[b] 2:2+1@5", "k 3:1+1@8 = v 3:3+1@10"}},
             Row{"[s]\nk=\xc3\xa9", {"[s] 1:2+1@1", "k 2:1+1@4 = \xc3\xa9 2:3+2@6"}},
         }) {
        ParseRun run;
        EXPECT_EQ(parse(row.text, &run), 0) << row.text;
        EXPECT_EQ(run.events, row.events) << row.text;
    }
}

TEST(Ini, EveryMistakeWithItsPosition) {
    struct Row {
        std::string text;
        const char* error;
    };
    for (const Row& row : {
             Row{"key=value", "error 1:1+0"},
             Row{"  key=value", "error 1:1+0"},
             Row{"\"text\"", "error 1:1+6"},
             Row{"=", "error 1:1+1"},
             Row{"]", "error 1:1+1"},
             Row{"\"open", "error 1:1+5"},
             Row{"a\rb", "error 1:1+0"},
             Row{"\rx", "error 1:1+1"},
             Row{"\r", "error 1:1+1"},
             Row{"[s]\nk", "error 2:2+0"},
             Row{"[s]\nk\n", "error 2:2+1"},
             Row{"[s]\nk v", "error 2:3+1"},
             Row{"[s]\nk =", "error 2:4+0"},
             Row{"[s]\nk = # note", "error 2:5+6"},
             Row{"[s]\nk = =", "error 2:5+1"},
             Row{"[s]\nk = [", "error 2:5+1"},
             Row{"[s]\nk = \"\"", "error 2:5+2"},
             Row{"[s]\nk = \"a b", "error 2:5+4"},
             Row{"[s]\nk = \"a\" b", "error 2:9+1"},
             Row{"[s]\nk = a = b", "error 2:7+1"},
             Row{"[s]\nk = a \"b\"", "error 2:7+3"},
             Row{"[s]\nk = a ]", "error 2:7+1"},
             Row{"[s]\nk = a\r", "error 2:6+1"},
             Row{"[s]\nk = a\rb", "error 2:6+1"},
             Row{"[", "error 1:2+0"},
             Row{"[]", "error 1:2+1"},
             Row{"[\"s\"]", "error 1:2+3"},
             Row{"[s", "error 1:3+0"},
             Row{"[s\n]", "error 1:3+1"},
             Row{"[s a b]", "error 1:6+1"},
             Row{"[s \"\"]", "error 1:4+2"},
             Row{"[s \"a]", "error 1:4+3"},
             Row{"[s] x", "error 1:5+1"},
             Row{"[s]]", "error 1:4+1"},
             Row{"[s]\nk=v\nbad", "error 3:4+0"},
         }) {
        ParseRun run;
        EXPECT_EQ(parse(row.text, &run), WIQ_ERR_INI_SYNTAX) << row.text;
        ASSERT_FALSE(run.events.empty()) << row.text;
        EXPECT_EQ(run.events.back(), row.error) << row.text;
    }
}

TEST(Ini, ACallbackStopsTheParse) {
    const std::string text = "[a]\nk=v\n[b]\n";
    ParseRun whole;
    ASSERT_EQ(parse(text, &whole), 0);
    for (size_t i = 0; i < whole.events.size(); ++i) {
        ParseRun run;
        run.stop_at = whole.events[i];
        EXPECT_EQ(parse(text, &run), 5);
        EXPECT_EQ(run.events.size(), i + 1);
    }
}

TEST(Ini, CallbacksMayBeNull) {
    FILE* stream = stream_of("[a \"b\"]\nk=v\n");
    EXPECT_EQ(wiq_ini_parse(stream, nullptr, nullptr, nullptr, nullptr), 0);
    fclose(stream);
    stream = stream_of("bad");
    EXPECT_EQ(wiq_ini_parse(stream, nullptr, nullptr, nullptr, nullptr), WIQ_ERR_INI_SYNTAX);
    fclose(stream);
    EXPECT_EQ(wiq_ini_parse(nullptr, on_section, on_key, on_error, nullptr), WIQ_ERR_INVALID_ARG);
}

TEST(Ini, LongLines) {
    const std::string value(5000, 'v');
    ParseRun run;
    EXPECT_EQ(parse("[s]\nk=" + value + "\n", &run), 0);
    EXPECT_EQ(run.events[1], "k 2:1+1@4 = " + value + " 2:3+5000@6");
}

// --- Random texts, against a model that reads tokens by hand -----------------------------------------

struct Token {
    char kind;  // w, q, =, c, e (end), [, ], u (unterminated), r (bad CR)
    size_t start, length;
};

std::vector<Token> tokens_of(const std::string& line) {
    std::vector<Token> tokens;
    size_t p = 0;
    for (;;) {
        while (p < line.size() && (line[p] == ' ' || line[p] == '\t'))
            ++p;
        const size_t start = p;
        if (p == line.size()) {
            tokens.push_back({'e', start, 0});
            return tokens;
        }
        const char c = line[p];
        char kind = c;
        size_t end = p + 1;
        if (c == '#' || c == ';') {
            kind = 'c';
            end = std::min(line.find_first_of("\r\n", p), line.size());
        } else if (c == '"') {
            const size_t close = line.find('"', p + 1);
            kind = close == std::string::npos ? 'u' : 'q';
            end = close == std::string::npos ? line.size() : close + 1;
        } else if (c == '\n') {
            kind = 'e';
        } else if (c == '\r') {
            kind = p + 1 < line.size() && line[p + 1] == '\n' ? 'e' : 'r';
            end = kind == 'e' ? p + 2 : p + 1;
        } else if (std::string("=[]").find(c) == std::string::npos) {
            kind = 'w';
            end = std::min(line.find_first_of(" \t\n\v\f\r\"#;=[]", p + 1), line.size());
        }
        tokens.push_back({kind, start, end - start});
        p = end;
        if (kind == 'e')
            return tokens;
    }
}

// Returns the events of a text by the grammar, without using the parser.
Events model(const std::string& text) {
    Events events;
    bool in_section = false;
    u32 number = 0;
    for (size_t begin = 0; begin < text.size();) {
        const size_t feed = text.find('\n', begin);
        const std::string line =
            text.substr(begin, feed == std::string::npos ? feed : feed - begin + 1);
        ++number;
        const std::vector<Token> t = tokens_of(line);
        const auto at = [&](const Token& token) {
            return location({number, static_cast<u32>(token.start) + 1,
                             static_cast<u32>(token.length),
                             static_cast<u32>(begin + token.start)});
        };
        const auto in = [](Token token) {
            return token.kind == 'q' ? Token{'q', token.start + 1, token.length - 2} : token;
        };
        const auto words = [&](const Token& token) {
            return line.substr(token.start, token.length);
        };
        const auto fail = [&](const Token& token) {
            const std::string l = at(token);
            events.push_back("error " + l.substr(0, l.find('@')));
            return events;
        };
        size_t i = 1;
        if (t[0].kind == 'w') {
            if (!in_section)
                return fail({' ', 0, 0});
            if (t[i].kind != '=')
                return fail(t[i]);
            Token value = t[++i];
            if ((value.kind != 'w' && value.kind != 'q') ||
                (value.kind == 'q' && value.length == 2))
                return fail(value);
            ++i;
            while (value.kind == 'w' && t[i].kind == 'w') {
                value.length = t[i].start + t[i].length - value.start;
                ++i;
            }
            if (t[i].kind != 'c' && t[i].kind != 'e')
                return fail(t[i]);
            events.push_back(words(t[0]) + " " + at(t[0]) + " = " + words(in(value)) + " " +
                             at(in(value)));
        } else if (t[0].kind == '[') {
            if (t[i].kind != 'w')
                return fail(t[i]);
            in_section = true;
            std::string event = "[" + words(t[i]) + "] " + at(t[i]);
            ++i;
            if (t[i].kind == 'q' && t[i].length == 2)
                return fail(t[i]);
            if (t[i].kind == 'w' || t[i].kind == 'q') {
                event += " <" + words(in(t[i])) + "> " + at(in(t[i]));
                ++i;
            }
            if (t[i].kind != ']')
                return fail(t[i]);
            ++i;
            if (t[i].kind != 'c' && t[i].kind != 'e')
                return fail(t[i]);
            events.push_back(event);
        } else if (t[0].kind != 'c' && t[0].kind != 'e') {
            return fail(t[0]);
        }
        begin += line.size();
    }
    return events;
}

TEST(Ini, RandomTextsAgainstTheModel) {
    std::mt19937 random(21);
    static const char* const kPieces[] = {"[",   "]",     "=",     "\"",       "#",  ";",
                                          " ",   "\t",    "\n",    "\r\n",     "\r", "a",
                                          "key", "[s]\n", "k=v\n", "\"text\"", "\v", "\xc3\xa9"};
    int mistakes = 0;
    for (int i = 0; i < 3000; ++i) {
        std::string text = random() % 2 == 0 ? "[s]\n" : "";
        for (auto n = random() % 12; n > 0; --n)
            text += kPieces[random() % std::size(kPieces)];
        const Events expected = model(text);
        const bool fails = !expected.empty() && expected.back().substr(0, 5) == "error";
        mistakes += fails ? 1 : 0;
        ParseRun run;
        ASSERT_EQ(parse(text, &run), fails ? static_cast<i32>(WIQ_ERR_INI_SYNTAX) : 0) << text;
        ASSERT_EQ(run.events, expected) << text;
    }
    EXPECT_GT(mistakes, 100);
    EXPECT_LT(mistakes, 2900);
}

}  // namespace
