#include "commands/shared/RailsRoot.h"

#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "input/Quoted.h"

namespace zpweb {

Expected<std::string> railsEnd(const std::string& application) {
    if (application.find_first_of("/.") != std::string::npos) {
        return failure(Status::Usage, "application " + inQuotes(application) +
                                          ": it has a slash or a dot; expected the name of a directory");
    }
    return "/" + application + "/public";
}

Edit railsEdit(const Site& site, const std::string& root) {
    Edit edit;
    edit.file = site.first().file->path();
    edit.bound = bound::Directive;
    edit.site = site.name();
    edit.scope = [name = site.name(), root](const ConfigurationFile& file) {
        Scope scope = sectionScope(file, name, lineOpensDirectory(root));
        allowLines(scope, beginsWithAny({"DocumentRoot"}));
        return scope;
    };
    return edit;
}

}  // namespace zpweb
