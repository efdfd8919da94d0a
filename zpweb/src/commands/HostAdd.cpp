// host add: gives a site a further name.
#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/BlockEdit.h"
#include "commands/shared/HostNames.h"
#include "conf/Bounds.h"
#include "input/HostName.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

// The library takes a name for listed when a listed one begins with it, drops a list of two characters, and
// reads no long line: it sees the names that are in nobody's way.
void showForAddition(View& view, const std::string& host) {
    constexpr size_t Shown = 1000;
    size_t length = 0;
    view.showNames("ServerAlias", [&](const std::string& name) {
        length += name.size() + 1;
        return name.size() > 2 && !name.starts_with(host) && length < Shown;
    });
}

Outcome isFree(const Configuration& configuration, const Site& site, const std::string& host) {
    const std::vector<Place> elsewhere = configuration.find(host);
    return elsewhere.empty() || sameHost(host, site.name())
               ? done()
               : failure(Status::Exists, "host name " + inQuotes(host) + ": it is a site of its own, at " +
                                             elsewhere.front().text());
}

Outcome addHost(Transaction& change, const Site& site, const Arguments& given) {
    const std::string host = given[Host];
    change.output().set("site", site.name());
    change.output().set("host", host);
    if (Outcome free = isFree(change.configuration(), site, host); !free.ok()) {
        return free;
    }
    auto blocks = runningBlocks(change.configuration(), site, given);
    if (!blocks.ok()) {
        return blocks.outcome();
    }
    std::erase_if(*blocks, [&](const BlockAt& at) {
        const Block& block = at.in(change.configuration());
        return sameHost(block.name, host) || listsHost(block, host);
    });
    return editBlocks(change, *blocks,
                      {.bound = zp::conf::bound::HostHeader,
                       .show = [&](View& view) { showForAddition(view, host); },
                       .run =
                           [&](const std::string& staged, const std::string& domain) {
                               return CZPWebsite(nullptr, staged.c_str()).AddHostHeader(domain, host);
                           },
                       .meaning = expecting("AddHostHeader", {0})});
}

}  // namespace

Command hostAdd() {
    return {
        .words = "host add",
        .summary = "Give a website a further name",
        .action = addHost,
        .parameters = {SiteName, Host, OnPort},
        .operations = {"CZPWebsite::AddHostHeader"},
        .examples = {"host add shop.example www.shop.example"},
    };
}

}  // namespace zpweb
