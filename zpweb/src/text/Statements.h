// A text as the statements that the server reads: one directive, section tag, comment or empty line each,
// with the lines that it stands on.
#pragma once

#include <forward_list>
#include <string>
#include <string_view>
#include <vector>

#include "text/Lines.h"
#include "text/Sites.h"
#include "text/Words.h"

namespace zpweb {

inline constexpr size_t None = static_cast<size_t>(-1);

struct Statement {
    enum class Kind : char { Empty, Comment, Directive, Opens, Closes };

    Kind kind = Kind::Empty;
    Range lines{0, 0};  // in the text
    // From its first line's first character to its last one's, without the line end.
    std::string_view written;
    // Of the directive or, without "<" and "</", of the section: in one line, without quotes.
    std::string_view name;
    std::string_view arguments;  // as written; of an opening tag without its ">"
    size_t section = None;       // the statement that opens the section around it
    size_t scope = None;         // the same, with conditions passed over
    size_t end = None;           // of one that opens a section: the statement that closes it

    bool is(std::string_view keyword) const;
    bool opens(std::string_view section) const;
    std::string_view indentation() const;
    std::vector<Word> words() const { return writtenWords(arguments); }
    std::string argument(size_t number) const;  // without quotes; empty when there are fewer
};

class Statements {
public:
    explicit Statements(std::string_view text) : Statements(text, {}) {}
    // What stands in a condition that is not met belongs to nothing around it.
    explicit Statements(const Block& block) : Statements(block.text, block.unmet) {}
    Statements(Statements&&) = default;  // a copy would keep views of names in the original

    size_t size() const { return all_.size(); }
    const Statement& operator[](size_t i) const { return all_[i]; }
    // Does a condition open there that is not met?
    bool isUnmet(size_t i) const;
    auto begin() const { return all_.begin(); }
    auto end() const { return all_.end(); }

private:
    Statements(std::string_view text, const std::vector<size_t>& unmet);

    std::vector<Statement> all_;
    std::forward_list<std::string> names_;  // those that are not written in one piece
};

// <IfModule>, <IfDefine> and the like: what stands in them belongs to the section around them.
bool isCondition(std::string_view section);

}  // namespace zpweb
