// What became of a view's lines in an operation's result, and where the result's lines come from.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zpweb {

// Of two texts of one block, line by line.
struct Fates {
    std::vector<size_t> made, shown;  // the partner of each line in the other text, or None
};
// A line stayed where its text stands in both, in the same sections. Between lines that stayed, lines of
// the same directive in the same section are one line that was changed.
Fates fatesOf(const std::vector<std::string>& shown, const std::vector<std::string>& made);

bool isOpening(std::string_view line);
bool isClosing(std::string_view line);
std::string_view keywordOf(std::string_view line);  // "<Directory" of an opening tag

}  // namespace zpweb
