#include "commands/shared/FreeName.h"

#include <algorithm>

#include "input/HostName.h"
#include "settings/SiteFacts.h"

namespace zpweb {

namespace {

// Of several names of a block the last one counts.
bool isAmong(const std::vector<std::string>& carried, const std::string& name, bool wildcards) {
    return wildcards ? carry(carried, name) : std::any_of(carried.begin(), carried.end(), SameHost(name));
}

}  // namespace

std::string holderOf(const Transaction& change, std::string_view name, std::string_view except) {
    const std::string wanted(name);
    const SameHost isExcepted(except);
    for (const ConfigurationFile* file : change.configuration().carriersOf(name)) {
        for (const Block& block : file->blocks()) {
            if (block.stopped || (!except.empty() && isExcepted(block.name))) {
                continue;
            }
            std::vector<std::string> carried = aliasesOf(block);
            carried.emplace_back(block.name);
            if (isAmong(carried, wanted, !change.settings().check)) {
                return Place{file, &block}.text();
            }
        }
    }
    return {};
}

}  // namespace zpweb
