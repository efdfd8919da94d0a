#include "text/Lines.h"

#include <algorithm>

namespace zpweb {

Lines::Lines(std::string_view text) : finalNewline(text.empty() || text.back() == '\n') {
    all.reserve(text.size() / 32 + 1);
    while (!text.empty()) {
        const size_t end = text.find('\n');
        all.push_back(text.substr(0, end));
        text.remove_prefix(end == text.npos ? text.size() : end + 1);
    }
}

Outcome holdsNoLongLine(const std::string& file, const Lines& lines, size_t bound) {
    const auto found = std::find_if(lines.all.begin(), lines.all.end(),
                                    [bound](std::string_view line) { return line.size() > bound; });
    if (found == lines.all.end()) {
        return done();
    }
    return failure(file + ":" + std::to_string(found - lines.all.begin() + 1) + ": the line has " +
                   std::to_string(found->size()) + " characters, more than the " + std::to_string(bound) +
                   " that this operation reads; shorten it first");
}

}  // namespace zpweb
