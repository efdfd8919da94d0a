#include "commands/shared/SiteEdit.h"

#include "input/HostName.h"
#include "text/Sites.h"

namespace zpweb {

Outcome editAll(Transaction& change, const Site& site, Edit edit) {
    Outcome outcome;
    for (const std::string& file : site.files()) {
        edit.file = file;
        outcome = outcome.ok() ? change.edit(edit) : outcome;
    }
    return outcome;
}

std::vector<bool> stoppedBlocks(std::string_view made, const std::string& name) {
    const SameHost matches(name);
    std::vector<bool> stopped;
    for (const Block& block : contentsOf(made).blocks) {
        if (!block.name.empty() && matches(block.name)) {
            stopped.push_back(block.stopped);
        }
    }
    return stopped;
}

}  // namespace zpweb
