#include "text/Marks.h"

#include <algorithm>

#include "text/Lines.h"

namespace zpweb {

namespace {

template <class Change>
std::string eachLine(std::string_view text, Change change) {
    std::string made;
    while (!text.empty()) {
        const size_t length = std::min(text.find('\n'), text.size() - 1) + 1;
        change(made, text.substr(0, length));
        text.remove_prefix(length);
    }
    return made;
}

std::string withMarksAs(std::string_view other, std::string_view text) {
    return eachLine(text, [other](std::string& made, std::string_view line) {
        const size_t mark = line.find_first_not_of(" \t");
        const bool marked = mark != line.npos && line[mark] == '#';
        made.append(line.substr(0, marked ? mark : line.size()))
            .append(marked ? other : "")
            .append(marked ? line.substr(mark + 1) : "");
    });
}

}  // namespace

std::string withMarks(std::string_view text) {
    return eachLine(text, [](std::string& made, std::string_view line) {
        const bool empty = line == "\n" || line == "\r\n";
        made.append(empty ? "" : "#").append(line);
    });
}

std::string withoutMarks(std::string_view text) { return withMarksAs("", text); }

std::string withBlankMarks(std::string_view text) { return withMarksAs(" ", text); }

}  // namespace zpweb
