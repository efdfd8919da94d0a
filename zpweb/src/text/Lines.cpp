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

std::string withoutReturns(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r' || i + 1 == text.size() || text[i + 1] != '\n') {
            result += text[i];
        }
    }
    return result;
}

LongLine firstLongLine(std::string_view text, size_t bound) {
    for (size_t number = 1; !text.empty(); ++number) {
        const size_t end = std::min(text.find('\n'), text.size());
        if (end > bound) {
            return {number, end};
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return {};
}

}  // namespace zpweb
