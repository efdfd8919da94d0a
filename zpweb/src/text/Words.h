// The words of a directive, as the server splits them: at white space, except in quotes. A backslash at the
// end of a line continues it on the next.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zpweb {

struct Word {
    std::string_view written;  // with its quotes
    bool isQuoted() const { return written.front() == '"' || written.front() == '\''; }
    std::string value() const;  // without them
};

// How many characters here say that the line goes on: a backslash and the line's end; 0 when none do.
size_t continuationAt(std::string_view text, size_t at);
// Does the line, without its newline, go on in the next one?
inline bool isContinued(std::string_view line) {
    return line.ends_with('\\') ||
           (line.size() > 1 && line.ends_with('\r') && line[line.size() - 2] == '\\');
}
// The logical line at the beginning of a text, without its line end.
std::string_view logicalLine(std::string_view text);

// Takes the next word off a text. The end of the logical line is the end.
std::optional<Word> nextWord(std::string_view& rest);
std::vector<Word> writtenWords(std::string_view text);

// A logical line that begins with a quote: without the quotes of its first word, which is its name.
std::string withPlainName(std::string_view logical);

// Is the text, behind white space, this keyword and nothing longer?
bool isDirective(std::string_view text, std::string_view keyword);

// Beside each other, as they are shown.
std::string joinedWords(const std::vector<std::string>& words, char between = ' ');

// A value as one word: in double quotes where it needs them.
std::string asWord(std::string_view value);

}  // namespace zpweb
