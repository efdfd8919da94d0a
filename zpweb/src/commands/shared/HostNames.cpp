#include "commands/shared/HostNames.h"

#include <fnmatch.h>

#include <algorithm>

#include "input/HostName.h"
#include "text/Statements.h"

namespace zpweb {

std::vector<std::string> hostNamesOf(const Block& block) {
    std::vector<std::string> names;
    for (const Statement& statement : Statements(block.text)) {
        if (statement.is("ServerAlias") && statement.scope == 0) {
            for (const Word& word : statement.words()) {
                names.push_back(word.value());
            }
        }
    }
    return names;
}

bool listsHost(const Block& block, const std::string& host) {
    const std::vector<std::string> names = hostNamesOf(block);
    return std::any_of(names.begin(), names.end(), SameHost(host));
}

std::string wildcardFor(const Block& block, const std::string& host) {
    for (const std::string& name : hostNamesOf(block)) {
        if (name.find_first_of("*?") != std::string::npos &&
            ::fnmatch(name.c_str(), host.c_str(), FNM_CASEFOLD) == 0) {
            return name;
        }
    }
    return {};
}

}  // namespace zpweb
