#include "commands/shared/BlockLines.h"

#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "input/Quoted.h"

namespace zpweb {

Outcome editBlock(Transaction& change, const Site& site, const std::string& folder, const BlockCall& call) {
    const Target target{site.first().file->path(), site.name()};
    const auto scope = [&](const ConfigurationFile& file) {
        return sectionScope(file, target.site, opensFolder(folder));
    };
    return runOn(change, target,
                 {"folder " + inQuotes(folder), bound::Directive, scope,
                  [&](ApacheHelper& helper, const std::string& staged) {
                      return call(helper, staged, target.site, folder);
                  }});
}

}  // namespace zpweb
