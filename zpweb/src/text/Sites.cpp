#include "text/Sites.h"

#include <algorithm>
#include <array>

#include "conf/Text.h"
#include "text/BlockFinder.h"
#include "text/ServerFinder.h"

namespace zpweb {

namespace {

// What a line can be, by its first letter. Most lines are neither.
enum class Interest : char { None, Block, Server, Both, Comment };

constexpr auto interests = [] {
    std::array<Interest, 256> table{};
    table['<'] = Interest::Block;
    table['d'] = table['D'] = table['i'] = table['I'] = table['s'] = table['S'] = Interest::Both;
    table['p'] = table['P'] = table['l'] = table['L'] = table['u'] = table['U'] = Interest::Server;
    table['#'] = Interest::Comment;
    return table;
}();

class Finder {
public:
    Finder(Contents& contents, Defines& defines)
        : blocks_(contents, Values(defines, contents.texts)), server_(contents.server, blocks_.values()) {}

    void take(const LineStart& line) {
        const Interest interest = interests[static_cast<unsigned char>(line.text.front())];
        if (interest == Interest::Comment) {
            if (!blocks_.inBlock()) {
                blocks_.takeComment(line);
            }
            return;
        }
        blocks_.leaveComment();
        if (interest == Interest::Block || (interest == Interest::Both && blocks_.inBlock())) {
            blocks_.take(line);
        }
        if ((interest == Interest::Server || interest == Interest::Both) && !blocks_.inMacro()) {
            server_.take(line, blocks_.inCondition());
        }
    }
    void end(const char* end, size_t lines) { blocks_.end(end, lines); }

private:
    BlockFinder blocks_;
    ServerFinder server_;
};

bool isContinued(std::string_view line) {
    return line.ends_with('\\') ||
           (line.size() > 1 && line.ends_with('\r') && line[line.size() - 2] == '\\');
}

}  // namespace

Contents contentsOf(std::string_view text, Defines& defines) {
    constexpr size_t UsualBlock = 256;
    Contents contents;
    contents.blocks.reserve(text.size() / UsualBlock);
    Finder finder(contents, defines);
    const char* const end = text.data() + text.size();
    size_t number = 0;
    bool continues = false;
    for (std::string_view rest = text; !rest.empty(); ++number) {
        const size_t length = std::min(rest.find('\n'), rest.size());
        const std::string_view line = rest.substr(0, length);
        contents.longestLine = std::max(contents.longestLine, length);
        if (!continues) {
            const std::string_view start = zp::conf::skipSpace(line);
            if (!start.empty()) {
                finder.take({number, rest, rest.substr(line.size() - start.size())});
            }
        }
        continues = isContinued(line);
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
    finder.end(end, number);
    return contents;
}

Contents contentsOf(std::string_view text) {
    Defines defines;
    return contentsOf(text, defines);
}

}  // namespace zpweb
