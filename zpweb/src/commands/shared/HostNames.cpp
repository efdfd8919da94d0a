#include "commands/shared/HostNames.h"

#include "commands/shared/Operation.h"
#include "commands/shared/Readable.h"
#include "commands/shared/Scopes.h"
#include "commands/shared/SiteInfo.h"

namespace zpweb {

std::vector<std::string> hostNamesOf(Output& output, const Site& site) {
    const Readable readable(*site.first().file, site.name());
    return SiteInfo(output, readable.path(), site.name()).record.ServerAlias;
}

Edit hostNameEdit(const Site& site) {
    Edit edit;
    edit.file = site.first().file->path();
    edit.bound = bound::Directive;
    edit.site = site.name();
    edit.scope = [name = site.name()](const ConfigurationFile& file) {
        return siteScope(file, name, beginsWithAny({"ServerAlias"}));
    };
    return edit;
}

}  // namespace zpweb
