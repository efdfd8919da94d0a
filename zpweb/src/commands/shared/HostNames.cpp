#include "commands/shared/HostNames.h"

#include <fnmatch.h>

#include <algorithm>

#include "input/HostName.h"
#include "text/Statements.h"

namespace zpweb {

std::vector<ListedName> hostNamesOf(const Block& block) {
    std::vector<ListedName> names;
    for (const Statement& statement : Statements(block)) {
        if (statement.is("ServerAlias") && statement.scope == 0) {
            for (const Word& word : statement.words()) {
                names.push_back({word.value(), word.value()});
            }
        }
    }
    const std::vector<std::string> values = aliasesOf(block);
    // A variable may stand for several words: then they are no pairs.
    for (size_t i = 0; i < names.size() && values.size() == names.size(); ++i) {
        names[i].name = values[i];
    }
    return names;
}

bool listsHost(const Block& block, const std::string& host) {
    const std::vector<ListedName> names = hostNamesOf(block);
    const SameHost matches(host);
    return std::any_of(names.begin(), names.end(),
                       [&](const ListedName& each) { return matches(each.name); });
}

std::string wildcardFor(const Block& block, const std::string& host) {
    for (const auto& [written, name] : hostNamesOf(block)) {
        if (name.find_first_of("*?") != std::string::npos &&
            ::fnmatch(name.c_str(), host.c_str(), FNM_CASEFOLD) == 0) {
            return name;
        }
    }
    return {};
}

}  // namespace zpweb
