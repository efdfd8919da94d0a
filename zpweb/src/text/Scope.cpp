#include "text/Scope.h"

#include "conf/Text.h"

namespace zpweb {

namespace {

constexpr size_t Margin = 2;  // lines

// Where the line begins that stands `count` lines before the one at `at`.
size_t linesBefore(std::string_view text, size_t at, size_t& count) {
    size_t lines = 0;
    while (lines < count && at > 0) {
        const size_t newline = at < 2 ? text.npos : text.rfind('\n', at - 2);
        at = newline == text.npos ? 0 : newline + 1;
        ++lines;
    }
    count = lines;
    return at;
}

size_t linesBehind(std::string_view text, size_t at, size_t count) {
    for (; count > 0 && at < text.size(); --count) {
        at = std::min(text.find('\n', at), text.size() - 1) + 1;
    }
    return at;
}

}  // namespace

Scope Scope::additions(std::string_view text) {
    Scope scope{text};
    scope.part = {{0, scope.lines.size()}};
    scope.mayChange.resize(scope.lines.size());
    scope.hidden.resize(scope.lines.size());
    return scope;
}

Scope Scope::ofBlocks(std::string_view text, const std::vector<Block>& blocks) {
    if (blocks.empty()) {
        return Scope{text.substr(text.size())};
    }
    size_t before = Margin;
    const size_t begin =
        linesBefore(text, static_cast<size_t>(blocks.front().text.data() - text.data()), before);
    const std::string_view last = blocks.back().text;
    const size_t end =
        linesBehind(text, static_cast<size_t>(last.data() + last.size() - text.data()), Margin);
    Scope scope{text.substr(begin, end - begin)};
    scope.first = blocks.front().lines.first - before;
    for (const Block& block : blocks) {
        scope.part.push_back({block.lines.first - scope.first, block.lines.end - scope.first});
    }
    scope.mayChange.resize(scope.lines.size());
    scope.hidden.resize(scope.lines.size());
    return scope;
}

void Scope::hideComments(const Block& block) {
    for (size_t i = block.lines.first - first; !block.stopped && i < block.lines.end - first; ++i) {
        hidden[i] = zp::conf::skipSpace(lines[i]).starts_with('#');
    }
}

std::string Scope::partText() const {
    std::string seen;
    seen.reserve(text.size());
    for (const Range& range : part) {
        for (size_t i = range.first; i < range.end; ++i) {
            if (!hidden[i]) {
                seen += withoutReturn(lines[i]);
                seen += '\n';
            }
        }
    }
    return seen;
}

}  // namespace zpweb
