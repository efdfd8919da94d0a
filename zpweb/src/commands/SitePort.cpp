// site port: changes the address line of a site's first block.
#include "ApacheHelper.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"

namespace zpweb {

namespace {

constexpr auto NewPort = needed("PORT", Kind::Port, "The new port");
constexpr auto NewAddress = option("--address", Kind::Address, "IP", "The new address");

Outcome changePort(Transaction& change, const Site& site, const Arguments& given) {
    const Place& place = site.first();
    const std::string name = site.name();
    const std::string address = given[NewAddress].value_or(bareAddress(place.block->address));
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::Port;
    edit.site = name;
    edit.scope = [&](const ConfigurationFile& file) {
        return siteScope(file, name, beginsWithAny({"<VirtualHost"}));
    };
    edit.operation = [&](const std::string& staged) {
        return ApacheHelper().Apache_ChangeVirtualHostPort(staged, name, address, given[NewPort]);
    };
    edit.meaning = expecting("Apache_ChangeVirtualHostPort", {0});
    return change.edit(edit);
}

}  // namespace

Command sitePort() {
    return {
        .words = "site port",
        .summary = "Change the address line of a website's first block",
        .action = changePort,
        .parameters = {SiteName, NewPort, NewAddress},
        .operations = {"ApacheHelper::Apache_ChangeVirtualHostPort"},
        .examples = {"site port shop.example 8080"},
    };
}

}  // namespace zpweb
