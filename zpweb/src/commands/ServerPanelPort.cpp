// server panel-port: adds the block of the panel's own port.
#include <fstream>

#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"

namespace zpweb {

namespace {

constexpr auto Ip = needed("IP", Kind::Address, "Its address");

Outcome panelPort(Transaction& change, const Arguments& given) {
    const std::string address = given[Ip];
    Edit edit;
    edit.file = change.configuration().main().path();
    edit.bound = bound::Creation;
    edit.scope = additionsScope;
    edit.operation = [&](const std::string& staged) {
        std::ofstream out(staged, std::ios::app);
        const int result = CZPWebsite(nullptr, staged.c_str()).AddWebsitePort(out, address);
        return out.flush().good() ? result : -1;
    };
    edit.meaning = expecting("AddWebsitePort", {0});
    return change.edit(edit);
}

}  // namespace

Command serverPanelPort() {
    return {
        .words = "server panel-port",
        .summary = "Add the block of the panel's own port",
        .action = panelPort,
        .parameters = {Ip},
        .operations = {"CZPWebsite::AddWebsitePort"},
        .examples = {"server panel-port 192.0.2.7"},
        .panelOnly = true,
    };
}

}  // namespace zpweb
