// site port: moves a site's blocks to another port.
#include <set>

#include "ApacheHelper.h"
#include "commands/Commands.h"
#include "commands/shared/BlockEdit.h"
#include "conf/Bounds.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

constexpr auto NewPort = needed("PORT", Kind::Port, "The new port");
constexpr auto NewAddress = option("--address", Kind::Address, "IP", "The new address");

bool isSecure(const Block& block) { return block.tls || isOnPort(block, "443"); }

std::set<std::string> portsOf(const Configuration& configuration, const std::vector<BlockAt>& blocks) {
    std::set<std::string> ports;
    for (const BlockAt& at : blocks) {
        for (const Word& address : writtenWords(at.in(configuration).addresses)) {
            ports.emplace(portOf(address.value()));
        }
    }
    return ports;
}

// Those whose port is meant: without --port the ones that speak plain HTTP, where the site has such.
Expected<std::vector<BlockAt>> meantBlocks(Transaction& change, const Site& site, const Arguments& given) {
    auto blocks = runningBlocks(change.configuration(), site, given);
    if (!blocks.ok() || given[OnPort]) {
        return blocks;
    }
    const auto secure = [&](const BlockAt& at) { return isSecure(at.in(change.configuration())); };
    if (!std::all_of(blocks->begin(), blocks->end(), secure) && std::erase_if(*blocks, secure) > 0) {
        change.output().note("its blocks with TLS keep their port; name it with --port to change them");
    }
    const std::set<std::string> ports = portsOf(change.configuration(), *blocks);
    if (ports.size() > 1) {
        std::string all;
        for (const std::string& port : ports) {
            all += (all.empty() ? "" : ", ") + (port.empty() ? "any" : port);
        }
        return failure(Status::Usage, "site " + inQuotes(site.name()) + " is on several ports (" + all +
                                          "): name the one that is to change with --port");
    }
    return blocks;
}

// Two blocks of one name on one port: the second would never be reached.
Outcome isFree(const Configuration& configuration, const Site& site, const std::vector<BlockAt>& moved,
               const std::string& port) {
    for (const Place& place : site.places) {
        const bool stays = std::none_of(moved.begin(), moved.end(), [&](const BlockAt& at) {
            return &at.in(configuration) == place.block;
        });
        if (stays && !place.block->stopped && isOnPort(*place.block, port)) {
            return failure(Status::Exists, "the site is on port " + port + " already, at " + place.text());
        }
    }
    return done();
}

Outcome moveAddress(Transaction& change, const BlockAt& at, size_t number, const std::string& address,
                    const std::string& port) {
    return editBlock(change, at,
                     {.bound = zp::conf::bound::Port,
                      .show = [&](View& view) { view.showAddress(number, View::Port::Taken); },
                      .run =
                          [&](const std::string& staged, const std::string& domain) {
                              return ApacheHelper().Apache_ChangeVirtualHostPort(staged, domain, address,
                                                                                 port);
                          },
                      .meaning = expecting("Apache_ChangeVirtualHostPort", {0})});
}

Outcome moveBlock(Transaction& change, const BlockAt& at, const Arguments& given) {
    const auto only = given[OnPort];
    const std::vector<Word> addresses = writtenWords(at.in(change.configuration()).addresses);
    for (size_t i = 0; i < addresses.size(); ++i) {
        const std::string old = addresses[i].value();
        if (only && portOf(old) != std::to_string(*only)) {
            continue;
        }
        const std::string address = given[NewAddress].value_or(bareAddress(old));
        if (Outcome moved = moveAddress(change, at, i, address, given[NewPort]); !moved.ok()) {
            return moved;
        }
    }
    return done();
}

Outcome changePort(Transaction& change, const Site& site, const Arguments& given) {
    const auto blocks = meantBlocks(change, site, given);
    if (!blocks.ok()) {
        return blocks.outcome();
    }
    change.output().set("site", site.name());
    Outcome outcome = isFree(change.configuration(), site, *blocks, given[NewPort]);
    for (const BlockAt& at : *blocks) {
        outcome = outcome.ok() ? moveBlock(change, at, given) : outcome;
    }
    return outcome;
}

}  // namespace

Command sitePort() {
    return {
        .words = "site port",
        .summary = "Move a website to another port",
        .action = changePort,
        .parameters = {SiteName, NewPort, NewAddress, OnPort},
        .operations = {"ApacheHelper::Apache_ChangeVirtualHostPort"},
        .more = "Blocks with TLS keep their port unless --port names it.",
        .examples = {"site port shop.example 8080", "site port shop.example 8443 --port 443"},
    };
}

}  // namespace zpweb
