#include "commands/shared/SiteBlocks.h"

#include <algorithm>

#include "conf/Text.h"
#include "output/Value.h"

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

void appendBlock(std::string& json, const Configuration& configuration, const Place& place) {
    const Block& block = *place.block;
    json += '{';
    appendMember(json, "address", zp::conf::trimEnd(block.addresses), true);
    appendMember(json, "tls", configuration.switchesTlsOn(place));
    appendMember(json, "state", stateOf(block));
    appendMember(json, "root", known(block.root));
    appendMember(json, "file", std::string_view(place.file->path()));
    appendMember(json, "line", static_cast<long>(block.lines.first + 1));
    appendMember(json, "from_macro", false);
    json += '}';
}

void addHostNames(const Block& block, std::vector<std::string>& names) {
    for (std::string& name : aliasesOf(block)) {
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(std::move(name));
        }
    }
}

}  // namespace zpweb
