#include "text/Sites.h"

#include "conf/Line.h"

namespace zpweb {

namespace {

namespace keyword = zp::conf::keyword;
using zp::conf::Line;

// A line, and whether it was looked at behind a comment mark.
struct Marked {
    Line line;
    bool commented = false;
};

Marked behindMark(std::string_view raw) {
    const Line line(withoutReturn(raw));
    if (!line.isComment()) {
        return {line, false};
    }
    // One mark is stepped over: what stands behind two is a comment of the stopped block.
    return {Line(line.text().substr(1)), true};
}

// Nothing else than these letters can begin a line that matters here.
bool canMatter(std::string_view raw) {
    size_t i = 0;
    while (i < raw.size() && (raw[i] == ' ' || raw[i] == '\t' || raw[i] == '#')) {
        ++i;
    }
    if (i == raw.size()) {
        return false;
    }
    const char first = zp::conf::lower(raw[i]);
    return first == '<' || first == 's' || first == 'd';
}

std::string_view addressIn(std::string_view argument) {
    return zp::conf::trimEnd(argument.substr(0, argument.find('>')));
}

void lookInside(Block& block, const Line& line, size_t at) {
    if (line.begins(keyword::ServerName) && block.name.empty()) {
        block.name = line.argumentOf(keyword::ServerName);
        block.nameLine = at;
    } else if (line.begins(keyword::DocumentRoot) && block.root.empty()) {
        block.root = unquoted(line.argumentOf(keyword::DocumentRoot));
    } else if (line.begins(keyword::Directory) && block.home.empty()) {
        block.home = unquoted(addressIn(line.argumentOf(keyword::Directory)));
    }
}

}  // namespace

std::string_view unquoted(std::string_view argument) {
    argument = zp::conf::trimEnd(argument);
    if (!argument.empty() && argument.front() == '"') {
        return argument.substr(1, argument.find('"', 1) - 1);
    }
    return argument;
}

std::string bareAddress(std::string_view address) {
    if (!address.empty() && address.front() == '[') {
        return std::string(address.substr(1, address.rfind(']') - 1));
    }
    return std::string(zp::conf::upTo(address, ": >"));
}

std::vector<Block> blocksOf(const Lines& lines) {
    std::vector<Block> blocks;
    Block block;
    bool inBlock = false;
    const auto leave = [&](size_t end, bool closed) {
        block.lines.end = end;
        block.closed = closed;
        blocks.push_back(block);
        inBlock = false;
    };
    for (size_t i = 0; i < lines.size(); ++i) {
        if (!canMatter(lines[i])) {
            continue;
        }
        const auto [line, commented] = behindMark(lines[i]);
        if (inBlock && commented != block.stopped) {
            continue;
        }
        if (line.begins(keyword::VirtualHost)) {
            if (inBlock) {
                leave(i, false);
            }
            block = Block{};
            block.lines.first = i;
            block.stopped = commented;
            block.address = addressIn(line.argumentOf(keyword::VirtualHost));
            inBlock = true;
        } else if (inBlock && line.begins(keyword::VirtualHostEnd)) {
            leave(i + 1, true);
        } else if (inBlock) {
            lookInside(block, line, i);
        }
    }
    if (inBlock) {
        leave(lines.size(), false);
    }
    return blocks;
}

namespace {

// 1 for "<IfModule ...>" and its like, -1 for its end.
int conditionsOpenedBy(std::string_view text) {
    return zp::conf::beginsIgnoringCase(text, "<If")    ? 1
           : zp::conf::beginsIgnoringCase(text, "</If") ? -1
                                                        : 0;
}

}  // namespace

ServerLines serverLinesOf(const Lines& lines) {
    ServerLines found;
    int conditions = 0;
    for (size_t i = 0; i < lines.size(); ++i) {
        const size_t start = lines[i].find_first_not_of(" \t");
        if (start == std::string_view::npos) {
            continue;
        }
        const char first = zp::conf::lower(lines[i][start]);
        if (first == '<') {
            conditions += conditionsOpenedBy(lines[i].substr(start));
        }
        if (first != 'i' && first != 's' && first != 'p' && first != 'l') {
            continue;
        }
        const auto [directive, rest] = [&] {
            const std::string_view text = withoutReturn(lines[i].substr(start));
            const size_t end = std::min(text.find_first_of(" \t"), text.size());
            return std::pair(text.substr(0, end), unquoted(zp::conf::skipSpace(text.substr(end))));
        }();
        if (zp::conf::equalIgnoringCase(directive, "Include") ||
            zp::conf::equalIgnoringCase(directive, "IncludeOptional")) {
            found.includes.push_back({i, rest});
        } else if (zp::conf::equalIgnoringCase(directive, "ServerRoot")) {
            found.root = rest;
        } else if (zp::conf::equalIgnoringCase(directive, "PidFile")) {
            found.pidFile = rest;
        } else if (zp::conf::equalIgnoringCase(directive, "Listen")) {
            (conditions > 0 ? found.listenPerhaps : found.listen).push_back(rest);
        }
    }
    return found;
}

}  // namespace zpweb
