#include "server/Cuts.h"

#include <algorithm>

#include "conf/Text.h"

namespace zpweb {

namespace {

bool beginsBlank(std::string_view text) { return text.starts_with('\n') || text.starts_with("\r\n"); }

// Where the file can be cut behind a block: behind the section around it, where there is one. The end of
// the text: nowhere.
size_t cutBehind(const ConfigurationFile& file, const Block& block, const Block& next) {
    const std::string& text = file.content().text();
    const char* cut = block.text.data() + block.text.size();
    if (block.conditional) {
        const auto& ends = file.sectionEnds();
        const auto end = std::upper_bound(ends.begin(), ends.end(), cut);
        cut = end == ends.end() ? nullptr : *end;
    }
    const bool free = block.closed && cut != nullptr && next.text.data() >= cut && cut[-1] == '\n';
    return free ? static_cast<size_t>(cut - text.data()) : text.size();
}

}  // namespace

std::vector<size_t> cutsOf(const ConfigurationFile& file) {
    const std::string_view text = file.content().text();
    const std::vector<Block>& blocks = file.blocks();
    std::vector<size_t> possible;
    for (size_t i = 0; i + 1 < blocks.size(); ++i) {
        const size_t cut = cutBehind(file, blocks[i], blocks[i + 1]);
        if (cut < text.size() && !zp::conf::equalIgnoringCase(blocks[i].name, blocks[i + 1].name)) {
            possible.push_back(cut);
        }
    }
    const auto isSpaced = [&](size_t cut) { return beginsBlank(text.substr(cut)); };
    const bool spaced = std::any_of(possible.begin(), possible.end(), isSpaced);
    std::vector<size_t> cuts;
    for (const size_t cut : possible) {
        if ((!spaced || isSpaced(cut)) && cut - (cuts.empty() ? 0 : cuts.back()) >= PartSize) {
            cuts.push_back(cut);
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
