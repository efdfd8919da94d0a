// vdir list: a site's aliases.
#include "CZPVirtualDirectory.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Readable.h"

namespace zpweb {

namespace {

Outcome listVdirs(Session& session, const Configuration&, const Site& site, const Arguments&) {
    const std::string name = domainOf(*site.first().block);
    const Readable readable(*site.first().block);
    CZPVirtualDirectory manager(nullptr, readable.path().c_str());
    StringVector pairs;
    const int result =
        quietly(session.output, [&] { return manager.VirtualDirectoryList(name.c_str(), &pairs); });
    List& rows = session.output.list("aliases", {"alias", "folder"});
    for (size_t i = 0; i + 1 < pairs.size(); i += 2) {
        rows.row().add("alias", "/" + pairs[i + 1]).add("folder", pairs[i]);
    }
    return resultOf("VirtualDirectoryList", result, {0});
}

}  // namespace

Command vdirList() {
    return {
        .words = "vdir list",
        .summary = "List a website's aliases",
        .action = listVdirs,
        .parameters = {SiteName},
        .operations = {"CZPVirtualDirectory::VirtualDirectoryList"},
        .examples = {"vdir list shop.example"},
    };
}

}  // namespace zpweb
