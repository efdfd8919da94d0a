#include "commands/shared/SiteBlocks.h"

#include <algorithm>

#include "conf/Text.h"
#include "output/Value.h"
#include "text/Marks.h"
#include "text/Statements.h"

namespace zpweb {

std::string_view stateOf(const Block& block) {
    return block.stopped                                                               ? "stopped"
           : block.suspended || zp::conf::equalIgnoringCase(block.root, "message.htm") ? "suspended"
                                                                                       : "running";
}

std::string_view stateOf(const std::vector<Place>& places) {
    const std::string_view first = stateOf(*places.front().block);
    const bool all = std::all_of(places.begin(), places.end(),
                                 [&](const Place& place) { return stateOf(*place.block) == first; });
    return all ? first : "partly";
}

std::string blockAsJson(const Place& place) {
    const Block& block = *place.block;
    std::string json = "{";
    appendMember(json, "address", zp::conf::trimEnd(block.addresses), true);
    appendMember(json, "tls", block.tls);
    appendMember(json, "state", stateOf(block));
    appendMember(json, "root", known(block.root));
    appendMember(json, "file", std::string_view(place.file->path()));
    appendMember(json, "line", static_cast<long>(block.lines.first + 1));
    appendMember(json, "from_macro", false);
    return json + "}";
}

void addHostNames(const Block& block, std::vector<std::string>& names) {
    const auto add = [&](const Word& word) {
        if (std::string name = word.value(); std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(std::move(name));
        }
    };
    if (!block.moreAliases) {
        for (const Word& word : writtenWords(block.aliases)) {
            add(word);
        }
        return;
    }
    const std::string live = block.stopped ? withoutMarks(block.text) : std::string(block.text);
    for (const Statement& statement : Statements(live)) {
        if (statement.is("ServerAlias")) {
            for (const Word& word : statement.words()) {
                add(word);
            }
        }
    }
}

}  // namespace zpweb
