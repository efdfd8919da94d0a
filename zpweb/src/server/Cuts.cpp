#include "server/Cuts.h"

#include <algorithm>

#include "conf/Text.h"

namespace zpweb {

namespace {

bool beginsBlank(std::string_view text) { return text.starts_with('\n') || text.starts_with("\r\n"); }

}  // namespace

std::vector<size_t> cutsOf(const ConfigurationFile& file) {
    const std::string& text = file.content().text();
    const std::vector<Block>& blocks = file.blocks();
    const auto endOf = [&](const Block& block) {
        return static_cast<size_t>(block.text.data() + block.text.size() - text.data());
    };
    const auto isSpaced = [&](const Block& block) {
        return beginsBlank(std::string_view(text).substr(endOf(block)));
    };
    const bool spaced = std::any_of(blocks.begin(), blocks.end(), isSpaced);
    std::vector<size_t> cuts;
    size_t from = 0;
    for (size_t i = 0; i + 1 < blocks.size(); ++i) {
        const Block& block = blocks[i];
        const Block& next = blocks[i + 1];
        const size_t end = endOf(block);
        const bool free = block.closed && !block.stopped && !block.conditional &&
                          next.text.data() >= text.data() + end && text[end - 1] == '\n';
        if (free && (!spaced || isSpaced(block)) && end - from >= PartSize &&
            !zp::conf::equalIgnoringCase(block.name, next.name)) {
            cuts.push_back(end);
            from = end;
        }
    }
    return cuts;
}

std::vector<Content> piecesOf(const Content& content, const std::vector<size_t>& cuts) {
    const std::string_view text = content.text();
    std::vector<Content> pieces;
    size_t from = 0;
    for (const size_t cut : cuts) {
        pieces.push_back(content.sliced(text.substr(from, cut - from)));
        from = cut;
    }
    pieces.push_back(content.sliced(text.substr(from)));
    return pieces;
}

}  // namespace zpweb
