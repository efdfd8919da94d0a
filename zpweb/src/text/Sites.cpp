#include "text/Sites.h"

#include <algorithm>
#include <array>

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

// What a line can be, by the first letter behind white space and comment marks. Most lines are neither.
enum class Interest : char { None, Tag, Block, Server, Both };

constexpr auto interests = [] {
    std::array<Interest, 256> table{};
    table['<'] = Interest::Tag;
    table['d'] = table['D'] = Interest::Block;
    table['i'] = table['I'] = table['p'] = table['P'] = table['l'] = table['L'] = Interest::Server;
    table['s'] = table['S'] = Interest::Both;
    return table;
}();

Interest interestOf(std::string_view raw) {
    size_t i = 0;
    while (i < raw.size() && (raw[i] == ' ' || raw[i] == '\t' || raw[i] == '#')) {
        ++i;
    }
    return i == raw.size() ? Interest::None : interests[static_cast<unsigned char>(raw[i])];
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

class BlockFinder {
public:
    explicit BlockFinder(std::vector<Block>& blocks) : blocks_(blocks) {}

    void take(std::string_view raw, size_t at) {
        const auto [line, commented] = behindMark(raw);
        if (inBlock_ && commented != block_.stopped) {
            return;
        }
        if (line.begins(keyword::VirtualHost)) {
            end(raw.data(), at);
            block_ = Block{};
            block_.text = raw;
            block_.lines.first = at;
            block_.stopped = commented;
            block_.address = addressIn(line.argumentOf(keyword::VirtualHost));
            inBlock_ = true;
        } else if (inBlock_ && line.begins(keyword::VirtualHostEnd)) {
            block_.closed = true;
            end(raw.data() + raw.size() + 1, at + 1);
        } else if (inBlock_) {
            lookInside(block_, line, at);
        }
    }

    // The block that is open ends before this line.
    void end(const char* begin, size_t at) {
        if (inBlock_) {
            block_.text = {block_.text.data(), static_cast<size_t>(begin - block_.text.data())};
            block_.lines.end = at;
            blocks_.push_back(block_);
            inBlock_ = false;
        }
    }

private:
    std::vector<Block>& blocks_;
    Block block_;
    bool inBlock_ = false;
};

class ServerFinder {
public:
    explicit ServerFinder(ServerLines& found) : found_(found) {}

    void take(std::string_view raw, size_t at) {
        const std::string_view text = zp::conf::skipSpace(withoutReturn(raw));
        const size_t end = std::min(text.find_first_of(" \t"), text.size());
        const std::string_view directive = text.substr(0, end);
        const std::string_view rest = unquoted(zp::conf::skipSpace(text.substr(end)));
        if (zp::conf::equalIgnoringCase(directive, "Include") ||
            zp::conf::equalIgnoringCase(directive, "IncludeOptional")) {
            found_.includes.push_back({at, rest});
        } else if (zp::conf::equalIgnoringCase(directive, "ServerRoot")) {
            found_.root = rest;
        } else if (zp::conf::equalIgnoringCase(directive, "PidFile")) {
            found_.pidFile = rest;
        } else if (zp::conf::equalIgnoringCase(directive, "Listen")) {
            (conditions_ > 0 ? found_.listenPerhaps : found_.listen).push_back(rest);
        }
    }

    // "<IfModule ...>" and its like, and their ends.
    void takeTag(std::string_view raw) {
        const std::string_view text = zp::conf::skipSpace(raw);
        conditions_ += zp::conf::beginsIgnoringCase(text, "<If")    ? 1
                       : zp::conf::beginsIgnoringCase(text, "</If") ? -1
                                                                    : 0;
    }

private:
    ServerLines& found_;
    int conditions_ = 0;
};

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

Contents contentsOf(std::string_view text) {
    constexpr size_t ShortestBlock = 128;
    Contents contents;
    contents.blocks.reserve(text.size() / ShortestBlock);
    BlockFinder blocks(contents.blocks);
    ServerFinder server(contents.server);
    const char* const end = text.data() + text.size();
    const char* begin = text.data();
    size_t number = 0;
    for (; begin < end; ++number) {
        const std::string_view rest(begin, static_cast<size_t>(end - begin));
        const std::string_view line = rest.substr(0, rest.find('\n'));
        contents.longestLine = std::max(contents.longestLine, line.size());
        const Interest interest = interestOf(line);
        if (interest == Interest::Tag) {
            server.takeTag(line);
        }
        if (interest == Interest::Tag || interest == Interest::Block || interest == Interest::Both) {
            blocks.take(line, number);
        }
        if (interest == Interest::Server || interest == Interest::Both) {
            server.take(line, number);
        }
        begin += line.size() + 1;
    }
    blocks.end(begin, number);
    if (begin > end && !contents.blocks.empty() && contents.blocks.back().lines.end == number) {
        contents.blocks.back().text.remove_suffix(1);  // the last line has no newline
    }
    return contents;
}

}  // namespace zpweb
