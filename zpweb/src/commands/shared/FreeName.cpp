#include "commands/shared/FreeName.h"

#include <fnmatch.h>

#include <algorithm>

#include "input/HostName.h"

namespace zpweb {

namespace {

// By its name, an alias or a wildcard. Of several names of a block the last one counts.
bool carries(const Block& block, const std::string& name) {
    std::vector<std::string> carried = aliasesOf(block);
    carried.emplace_back(block.name);
    return std::any_of(carried.begin(), carried.end(), [&](const std::string& each) {
        return ::fnmatch(each.c_str(), name.c_str(), FNM_CASEFOLD) == 0;
    });
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
