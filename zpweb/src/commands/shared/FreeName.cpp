#include "commands/shared/FreeName.h"

#include "input/HostName.h"
#include "settings/SiteFacts.h"

namespace zpweb {

namespace {

// By its name, an alias or a wildcard. Of several names of a block the last one counts.
bool carries(const Block& block, const std::string& name) {
    std::vector<std::string> carried = aliasesOf(block);
    carried.emplace_back(block.name);
    return carry(carried, name);
}

}  // namespace

std::string holderOf(const Configuration& configuration, std::string_view name, std::string_view except) {
    const std::string wanted(name);
    const SameHost isExcepted(except);
    for (const ConfigurationFile* file : configuration.carriersOf(name)) {
        for (const Block& block : file->blocks()) {
            if (block.stopped || (!except.empty() && isExcepted(block.name))) {
                continue;
            }
            if (carries(block, wanted)) {
                return Place{file, &block}.text();
            }
        }
    }
    return {};
}

}  // namespace zpweb
