#include "server/ServerLevel.h"

#include <algorithm>

#include "conf/Text.h"
#include "text/Statements.h"

namespace zpweb {

namespace {

bool isSilent(std::string_view line) {
    const std::string_view start = zp::conf::skipSpace(line);
    if (!start.starts_with('<')) {
        return start.empty() || start.front() == '#';
    }
    const std::string_view tag = zp::conf::stepOver(start, start.starts_with("</") ? 2 : 1);
    return isCondition(zp::conf::upTo(tag, " \t\r>"));
}

bool speaks(std::string_view text) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (!isSilent(line)) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool speaksAtServer(const ConfigurationFile& file, size_t from, size_t to) {
    const std::string_view text = file.content().text();
    const std::vector<Block>& blocks = file.blocks();
    const auto beginOf = [&](const Block& block) {
        return static_cast<size_t>(block.text.data() - text.data());
    };
    auto block = std::partition_point(blocks.begin(), blocks.end(),
                                      [&](const Block& each) { return beginOf(each) < from; });
    for (; block != blocks.end() && beginOf(*block) < to; ++block) {
        if (speaks(text.substr(from, beginOf(*block) - from))) {
            return true;
        }
        from = beginOf(*block) + block->text.size();
    }
    return from < to && speaks(text.substr(from, to - from));
}

}  // namespace zpweb
