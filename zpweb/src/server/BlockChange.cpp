#include "server/BlockChange.h"

#include <algorithm>

namespace zpweb {

namespace {

bool sameInclude(const IncludeLine& a, const IncludeLine& b) { return a.pattern == b.pattern; }

bool isOneBlock(const Contents& contents, std::string_view text) {
    return contents.blocks.size() == 1 && contents.templates.empty() && contents.blocks.front().closed &&
           contents.blocks.front().text == text;
}

bool leadsToTheSame(std::string_view before, std::string_view after, const Surroundings& around) {
    Surroundings one{around.defines, {}, {}, around.met};
    Surroundings other = one;
    const Contents was = contentsOf(before, one);
    const Contents is = contentsOf(after, other);
    return isOneBlock(was, before) && isOneBlock(is, after) && one.defines == other.defines &&
           one.namesSought.empty() && other.namesSought.empty() && was.server.root == is.server.root &&
           std::equal(was.server.includes.begin(), was.server.includes.end(), is.server.includes.begin(),
                      is.server.includes.end(), sameInclude);
}

}  // namespace

bool staysWithinBlock(const ConfigurationFile& file, const Content& content, const Surroundings& around) {
    const Pieces before = file.content().pieces();
    const Pieces after = content.pieces();
    const size_t size = sizeOf(before);
    const size_t fresh = sizeOf(after);
    const size_t first = equalBeginning(before, after);
    const size_t same = equalEnd(before, after, std::min(size, fresh) - first);
    const char* const text = file.content().text().data();
    const auto beginOf = [text](const Block& block) {
        return static_cast<size_t>(block.text.data() - text);
    };
    const auto block =
        std::partition_point(file.blocks().begin(), file.blocks().end(),
                             [&](const Block& each) { return beginOf(each) + each.text.size() <= first; });
    if (block == file.blocks().end() || beginOf(*block) > first ||
        beginOf(*block) + block->text.size() < size - same) {
        return false;
    }
    const size_t behind = size - beginOf(*block) - block->text.size();
    std::string now;
    for (const std::string_view piece : slice(after, beginOf(*block), fresh - behind)) {
        now += piece;
    }
    return leadsToTheSame(block->text, now, around);
}

}  // namespace zpweb
