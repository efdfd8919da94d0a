#include "text/Sites.h"

#include <algorithm>
#include <array>

#include "conf/Text.h"
#include "text/BlockFinder.h"
#include "text/ServerFinder.h"
#include "text/Words.h"

namespace zpweb {

namespace {

// What a line can be, by its first letter. Most lines are neither.
enum class Interest : char { None, Block, Server, Both, Comment };

constexpr auto interests = [] {
    std::array<Interest, 256> table{};
    for (const char c : {'<', 'a', 'A', 'o', 'O', 'r', 'R'}) {
        table[static_cast<unsigned char>(c)] = Interest::Block;
    }
    table['d'] = table['D'] = table['i'] = table['I'] = table['s'] = table['S'] = Interest::Both;
    table['a'] = table['A'] = table['p'] = table['P'] = table['l'] = table['L'] = table['u'] = table['U'] =
        Interest::Server;
    table['#'] = Interest::Comment;
    return table;
}();

bool isQuote(char c) { return c == '"' || c == '\''; }

// A line whose first word, a name, goes on in the next one. A block that was stopped has comment marks
// within.
bool splitsName(std::string_view line) {
    return isContinued(line) && line.find_first_not_of("#<> \t") != line.npos &&
           line.find_first_of(" \t>", line.find_first_not_of("#<> \t")) == line.npos;
}

// The logical line, with such a name in one piece.
std::string withWholeName(std::string_view logical) {
    const bool comment = logical.front() == '#';
    const size_t begin = std::min(logical.find_first_not_of("#< \t"), logical.size());
    std::string whole(logical.substr(0, begin));
    size_t at = begin;
    while (at < logical.size() && !zp::conf::isSpace(logical[at]) && logical[at] != '>') {
        if (const size_t length = continuationAt(logical, at); length > 0) {
            at += length;
            at += comment && at < logical.size() && logical[at] == '#' ? 1 : 0;
        } else {
            whole += logical[at++];
        }
    }
    return whole.append(logical.substr(at));
}

// The text from a line's start, as the finders take it. Empty where nothing stands there.
std::string_view withReadableName(std::string_view start, std::string_view behind,
                                  std::deque<std::string>& texts) {
    if (isQuote(start.front())) {
        return texts.emplace_back(withPlainName(logicalLine(behind)));
    }
    return splitsName(start) ? zp::conf::skipSpace(texts.emplace_back(withWholeName(logicalLine(behind))))
                             : behind;
}

class Finder {
public:
    Finder(Contents& contents, Surroundings& around)
        : blocks_(contents, Values(around, contents.texts)), server_(contents.server, blocks_.values()) {}

    void take(const LineStart& line) {
        if (line.text.empty()) {
            return;
        }
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
        if (interest == Interest::Block) {
            return;
        }
        if (!blocks_.inMacro()) {
            server_.take(line, blocks_.inCondition());
        }
        if (!blocks_.inBlock() || blocks_.inMacro()) {
            server_.takeHandler(line);
        }
    }
    void end(const char* end, size_t lines) { blocks_.end(end, lines); }

private:
    BlockFinder blocks_;
    ServerFinder server_;
};

}  // namespace

Contents contentsOf(std::string_view text, Surroundings& around) {
    constexpr size_t UsualBlock = 256;
    Contents contents;
    contents.blocks.reserve(text.size() / UsualBlock);
    Finder finder(contents, around);
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
                const std::string_view behind = rest.substr(line.size() - start.size());
                finder.take({number, rest, withReadableName(start, behind, contents.texts)});
            }
        }
        continues = isContinued(line);
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
    finder.end(end, number);
    return contents;
}

// In a stopped block a continued line has comment marks within.
std::vector<std::string> aliasesOf(const Block& block) {
    std::vector<std::string> names;
    std::string_view rest = block.aliases;
    while (const auto word = nextWord(rest)) {
        std::string name = word->value();
        name.erase(0, std::min(name.find_first_not_of('#'), name.size()));
        if (!name.empty()) {
            names.push_back(std::move(name));
        }
    }
    return names;
}

Contents contentsOf(std::string_view text) {
    Surroundings around;
    return contentsOf(text, around);
}

}  // namespace zpweb
