// ke json paths, types: commands that describe the contents of a document while it is read.
#include <algorithm>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "folded_tokens.h"
#include "json_pointer.h"
#include "json_string.h"

namespace tool {

namespace {

// The position of the current value in the document. The pointer is kept as one string, so memory grows only
// with the depth.
class Position {
  public:
    const std::string& pointer() const { return pointer_; }
    size_t depth() const { return levels_.size(); }
    // Returns whether the container that is about to close has no children.
    bool is_empty() const { return levels_.back().count == 0; }

    void key(std::string_view token) { set_last_step(escaped_step(decode_string(token))); }

    // Must be called before each value, including the opening bracket of a container.
    void value() {
        if (levels_.empty())
            return;
        if (!levels_.back().object)
            set_last_step("/" + std::to_string(levels_.back().count));
        ++levels_.back().count;
    }

    void open(bool object) { levels_.push_back({object, 0, pointer_.size()}); }

    void close() {
        pointer_.resize(levels_.back().length);
        levels_.pop_back();
    }

  private:
    struct Level {
        bool object;
        u64 count;
        size_t length;  // of the pointer to the container
    };

    void set_last_step(const std::string& text) {
        pointer_.resize(levels_.back().length);
        pointer_ += text;
    }

    std::string pointer_;
    std::vector<Level> levels_;
};

// Follows a document's tokens; tells the report each container, each scalar value (or folded reference), and
// each container that turns out to be empty.
template <class Report>
void follow(Scanner& scanner, Report& report) {
    FoldedTokens tokens(scanner);
    Position position;
    for (Token token = tokens.next(); token != Token::end; token = tokens.next()) {
        switch (token) {
            case Token::key:
                position.key(tokens.text());
                break;
            case Token::open_object:
            case Token::open_array:
                position.value();
                position.open(token == Token::open_object);
                report.container(token, position);
                break;
            case Token::close_object:
            case Token::close_array: {
                const bool empty = position.is_empty();
                position.close();
                if (empty)
                    report.empty(token, position);
                break;
            }
            default:
                position.value();
                report.leaf(token, tokens.text(), position);
        }
    }
}

// Writes the pointer of every leaf with its value.
class Paths {
  public:
    explicit Paths(Sink& sink) : sink_(sink) {}

    void container(Token, const Position&) {}
    void empty(Token token, const Position& position) {
        leaf(token, token == Token::close_object ? "{}" : "[]", position);
    }
    void leaf(Token, std::string_view text, const Position& position) {
        sink_.write(position.pointer());
        sink_.put('\t');
        sink_.write(text);
        sink_.put('\n');
    }

  private:
    Sink& sink_;
};

// Counts values by kind, and finds the depth and the largest number.
class Statistics {
  public:
    void container(Token token, const Position& position) {
        ++(token == Token::open_object ? objects_ : arrays_);
        deepest_ = std::max<u64>(deepest_, position.depth());
    }
    void empty(Token, const Position&) {}
    void leaf(Token token, std::string_view text, const Position& position) {
        deepest_ = std::max<u64>(deepest_, position.depth() + 1);
        switch (token) {
            case Token::string:
                ++strings_;
                break;
            case Token::reference:
                ++references_;
                break;
            case Token::word:
                ++(text == "null" ? nulls_ : booleans_);
                break;
            default:
                number(text, position);
        }
    }

    std::string text() const {
        struct Row {
            const char* name;
            u64 count;
        };
        std::string text;
        for (const Row& row :
             {Row{"objects", objects_}, Row{"arrays", arrays_}, Row{"strings", strings_},
              Row{"integers", integers_}, Row{"reals", reals_}, Row{"references", references_},
              Row{"booleans", booleans_}, Row{"nulls", nulls_}, Row{"depth", deepest_}})
            text += std::string(row.name) + "\t" + std::to_string(row.count) + "\n";
        if (!largest_.empty())
            text += "largest\t" + largest_ + "\t" + pointer_of_largest_ + "\n";
        return text;
    }

  private:
    void number(std::string_view text, const Position& position) {
        ++(text.find_first_of(".eE") == std::string_view::npos ? integers_ : reals_);
        if (!largest_.empty() && compare_numbers(text, largest_) <= 0)
            return;
        largest_ = text;
        pointer_of_largest_ = position.pointer();
    }

    u64 objects_ = 0, arrays_ = 0, strings_ = 0, integers_ = 0, reals_ = 0, references_ = 0,
        booleans_ = 0, nulls_ = 0, deepest_ = 0;
    std::string largest_, pointer_of_largest_;
};

struct ReportArgs {
    std::vector<std::string> files;
    bool several = false;
};

int list_paths(const ReportArgs& args, const Common& common) {
    Sink sink(common, "");
    Paths paths(sink);
    for (const std::string& file : args.files) {
        Source source(file, common);
        Scanner scanner(source, args.several);
        follow(scanner, paths);
    }
    sink.finish();
    return kExitOk;
}

int print_statistics(const ReportArgs& args, const Common& common) {
    Statistics statistics;
    for (const std::string& file : args.files) {
        Source source(file, common);
        Scanner scanner(source, args.several);
        follow(scanner, statistics);
    }
    write_output(statistics.text(), common);
    return kExitOk;
}

void add_report(CLI::App& json, Session& session, const char* name, const char* help,
                int (*report)(const ReportArgs& args, const Common& common)) {
    auto args = std::make_shared<ReportArgs>();
    CLI::App* command = json.add_subcommand(name, help);
    add_inputs(*command, args->files);
    add_json_lines(*command, args->several);
    command->callback([args, report, &session] {
        session.action = [args, report, &session] {
            if (args->files.empty())
                args->files.emplace_back();
            return report(*args, session.common);
        };
    });
}

}  // namespace

void add_json_report_commands(CLI::App& json, Session& session) {
    add_report(json, session, "paths", "Print the pointer of every leaf with its value",
               list_paths);
    add_report(json, session, "types",
               "Count values by kind; print the depth and the largest number", print_statistics);
}

}  // namespace tool
