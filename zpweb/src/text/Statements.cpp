#include "text/Statements.h"

#include <algorithm>

#include "conf/Text.h"

namespace zpweb {

namespace {

using zp::conf::equalIgnoringCase;
using StatementKind = Statement::Kind;

std::string_view tagName(std::string_view text) {
    constexpr std::string_view Ends = " \t\r\v\f\n>\\";
    size_t end = std::min(text.find_first_of(Ends), text.size());
    for (size_t more = 0; end < text.size(); end = more) {
        const size_t length = continuationAt(text, end);
        more = std::min(text.find_first_of(Ends, end + length), text.size());
        if (length == 0 || more == end + length) {
            break;
        }
    }
    return text.substr(0, end);
}

// Reads statements, and keeps the names that are not written in one piece.
class Reader {
public:
    explicit Reader(std::forward_list<std::string>& names) : names_(names) {}

    Statement read(std::string_view written) {
        Statement statement;
        statement.written = written;
        const std::string_view text = zp::conf::skipSpace(written);
        if (text.empty()) {
            return statement;
        }
        if (text.front() == '#') {
            statement.kind = StatementKind::Comment;
            return statement;
        }
        std::string_view rest = text;
        const auto word = text.front() == '<' ? std::optional(Word{tagName(text)}) : nextWord(rest);
        if (!word) {
            return statement;
        }
        statement.kind = StatementKind::Directive;
        statement.name = plain(word->written);
        statement.arguments = text.front() == '<' ? text.substr(word->written.size()) : rest;
        if (statement.name.starts_with('<')) {
            readTag(statement);
        }
        return statement;
    }

private:
    // What stands between the tag's name and the last ">" are its arguments.
    static void readTag(Statement& statement) {
        std::string_view& name = statement.name;
        statement.kind = name.starts_with("</") ? StatementKind::Closes : StatementKind::Opens;
        name = zp::conf::upTo(name.substr(statement.kind == StatementKind::Closes ? 2 : 1), ">");
        std::string_view& arguments = statement.arguments;
        arguments = arguments.substr(0, std::min(arguments.rfind('>'), arguments.size()));
    }

    // A name may go on in the next line, and stand in quotes.
    std::string_view plain(std::string_view written) {
        const bool whole = written.find('\n') == written.npos && !Word{written}.isQuoted();
        return whole ? written : names_.emplace_front(Word{written}.value());
    }

    std::forward_list<std::string>& names_;
};

// Which sections are open. A closing tag closes the innermost section of its name, whatever stays open in
// it.
class Sections {
public:
    Sections(std::vector<Statement>& all, const std::vector<size_t>& unmet) : all_(all), unmet_(unmet) {}

    void take(Statement& statement) {
        const size_t self = all_.size();
        if (statement.kind == StatementKind::Closes) {
            close(statement, self);
        }
        statement.section = open_.empty() ? None : open_.back();
        statement.scope = statement.section;
        if (statement.section != None && isPassedOver(all_[statement.section])) {
            statement.scope = all_[statement.section].scope;
        }
        if (statement.kind == StatementKind::Opens) {
            open_.push_back(self);
        }
    }

private:
    bool isPassedOver(const Statement& section) const {
        return isCondition(section.name) &&
               std::find(unmet_.begin(), unmet_.end(), section.lines.first) == unmet_.end();
    }

    void close(const Statement& closing, size_t self) {
        constexpr size_t Deepest = 128;  // as the server has it
        const size_t least = open_.size() - std::min(open_.size(), Deepest);
        for (size_t depth = open_.size(); depth-- > least;) {
            Statement& opening = all_[open_[depth]];
            if (equalIgnoringCase(opening.name, closing.name)) {
                opening.end = self;
                open_.resize(depth);
                return;
            }
        }
    }

    std::vector<Statement>& all_;
    const std::vector<size_t>& unmet_;
    std::vector<size_t> open_;
};

}  // namespace

bool Statement::is(std::string_view keyword) const {
    return kind == StatementKind::Directive && equalIgnoringCase(name, keyword);
}

bool Statement::opens(std::string_view section_) const {
    return kind == StatementKind::Opens && equalIgnoringCase(name, section_);
}

std::string_view Statement::indentation() const {
    return written.substr(0, written.size() - zp::conf::skipSpace(written).size());
}

std::string Statement::argument(size_t number) const {
    std::string_view rest = arguments;
    auto word = nextWord(rest);
    for (; number > 0 && word; --number) {
        word = nextWord(rest);
    }
    return word ? word->value() : std::string();
}

Statements::Statements(std::string_view text, const std::vector<size_t>& unmet) {
    Reader reader(names_);
    Sections sections(all_, unmet);
    for (size_t line = 0; !text.empty();) {
        const std::string_view written = logicalLine(text);
        Statement statement = reader.read(withoutReturn(written));
        const auto more = static_cast<size_t>(std::count(written.begin(), written.end(), '\n'));
        statement.lines = {line, line + more + 1};
        line = statement.lines.end;
        sections.take(statement);
        all_.push_back(statement);
        text.remove_prefix(std::min(written.size() + 1, text.size()));
    }
}

bool Statements::isUnmet(size_t i) const {
    return isCondition(all_[i].name) && i + 1 < all_.size() && all_[i + 1].scope == i;
}

bool isCondition(std::string_view section) {
    static constexpr std::string_view names[] = {"IfModule",    "IfDefine",  "IfVersion",
                                                 "IfDirective", "IfSection", "IfFile"};
    return std::any_of(std::begin(names), std::end(names),
                       [section](std::string_view name) { return equalIgnoringCase(section, name); });
}

}  // namespace zpweb
