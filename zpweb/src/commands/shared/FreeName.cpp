#include "commands/shared/FreeName.h"

#include <fnmatch.h>

#include <algorithm>

#include "conf/Text.h"
#include "input/HostName.h"
#include "text/Statements.h"

namespace zpweb {

namespace {

bool carries(const Statement& statement, const std::string& name) {
    const bool alias = statement.is("ServerAlias");
    if (!alias && !statement.is("ServerName")) {
        return false;
    }
    const auto words = statement.words();
    return std::any_of(words.begin(), words.end(), [&](const Word& word) {
        const std::string value = word.value();
        const std::string carried(alias ? value : hostOf(value));
        return ::fnmatch(carried.c_str(), name.c_str(), FNM_CASEFOLD) == 0;
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
            const Statements statements(block);
            if (std::any_of(statements.begin(), statements.end(), [&](const Statement& each) {
                    return each.scope == 0 && carries(each, wanted);
                })) {
                return Place{file, &block}.text();
            }
        }
    }
    return {};
}

}  // namespace zpweb
