// host remove: takes a further name of a site away.
#include <algorithm>

#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/HostNames.h"
#include "commands/shared/Operation.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

Outcome remove(Transaction& change, const Site& site, const Arguments& given) {
    const std::string name = site.name();
    const std::string host = given[Host];
    const std::vector<std::string> hosts = hostNamesOf(change.output(), site);
    change.output().set("site", name);
    change.output().set("host", host);
    if (std::find(hosts.begin(), hosts.end(), host) == hosts.end()) {
        return done();  // already so
    }
    Edit edit = hostNameEdit(site);
    edit.operation = [&](const std::string& staged) {
        return CZPWebsite(nullptr, staged.c_str()).DeleteHostHeader(name, host);
    };
    edit.meaning = expecting("DeleteHostHeader", {HostChanged});
    return change.edit(edit);
}

}  // namespace

Command hostRemove() {
    return {
        .words = "host remove",
        .summary = "Take a further name away",
        .action = remove,
        .parameters = {SiteName, Host},
        .operations = {"CZPWebsite::DeleteHostHeader"},
        .examples = {"host remove shop.example www.shop.example"},
    };
}

}  // namespace zpweb
