// site port: moves a site's blocks to another port.
#include <algorithm>
#include <set>

#include "ApacheHelper.h"
#include "commands/Commands.h"
#include "commands/shared/BlockEdit.h"
#include "conf/Bounds.h"
#include "input/Quoted.h"
#include "server/NameMap.h"
#include "settings/Modules.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

constexpr auto NewPort = needed("PORT", Kind::Port, "The new port");
constexpr auto NewAddress = option("--address", Kind::Address, "IP", "The new address");
constexpr auto Listen = flag("--listen", "Let the server listen on the new port when it does not");

bool isSecure(const Configuration& configuration, const Place& place) {
    return isOnPort(*place.block, "443") || configuration.switchesTlsOn(place);
}

// Whose port is meant, and which: without --port the one of its first block that speaks plain HTTP, where
// the site has such.
struct Meant {
    std::vector<BlockAt> blocks;
    std::string port;
};

bool hasOtherPort(const Block& block, const std::string& port) {
    const std::vector<Word> addresses = writtenWords(block.addresses);
    return std::any_of(addresses.begin(), addresses.end(),
                       [&](const Word& word) { return portOf(word.value()) != port; });
}

Expected<Meant> meantBlocks(Transaction& change, const Site& site, const Arguments& given) {
    auto blocks = runningBlocks(change.configuration(), site, given);
    if (!blocks.ok()) {
        return blocks.outcome();
    }
    if (const auto asked = given[OnPort]) {
        return Meant{std::move(*blocks), std::to_string(*asked)};
    }
    const Place* first = nullptr;
    for (const Place& place : site.places) {
        const bool better = first == nullptr || (isSecure(change.configuration(), *first) &&
                                                 !isSecure(change.configuration(), place));
        first = !place.block->stopped && better ? &place : first;
    }
    const std::vector<Word> addresses = writtenWords(first->block->addresses);
    Meant meant{{}, addresses.empty() ? "" : std::string(portOf(addresses.front().value()))};
    bool others = false;
    for (BlockAt& at : *blocks) {
        const Block& block = at.in(change.configuration());
        others = others || hasOtherPort(block, meant.port);
        if (isOnPort(block, meant.port)) {
            meant.blocks.push_back(std::move(at));
        }
    }
    if (others) {
        change.output().note("the site is on other ports than " +
                             (meant.port.empty() ? "this" : meant.port) +
                             ", too; they stay: name one with --port to change it");
    }
    return meant;
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

Outcome moveBlockAddress(Transaction& change, const BlockAt& at, size_t number, const std::string& address,
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

Outcome moveBlock(Transaction& change, const BlockAt& at, const std::string& only, const Arguments& given) {
    std::vector<std::string> addresses;  // copies: each step makes another text of the block
    for (const Word& word : writtenWords(at.in(change.configuration()).addresses)) {
        addresses.push_back(word.value());
    }
    for (size_t i = 0; i < addresses.size(); ++i) {
        const std::string& old = addresses[i];
        if (portOf(old) != only) {
            continue;
        }
        const std::string address = given[NewAddress].value_or(bareAddress(old));
        if (Outcome moved = moveBlockAddress(change, at, i, address, given[NewPort]); !moved.ok()) {
            return moved;
        }
    }
    return done();
}

// At each address that the moved blocks have.
Outcome listenThere(Transaction& change, const std::string& site, const std::string& port,
                    const std::string& before) {
    std::set<std::string> addresses;
    for (const Place& place : change.configuration().find(site)) {
        for (const Word& word :
             place.block->stopped ? std::vector<Word>() : writtenWords(place.block->addresses)) {
            const Endpoint at = endpointOf(word.value());
            if (std::to_string(at.port) == port) {
                addresses.insert(at.address);
            }
        }
    }
    if (addresses.empty()) {  // of a block without a name
        addresses.insert("*");
    }
    for (const std::string& address : addresses) {
        Outcome listens = requireListen(change, leadingNumber(port), leadingNumber(before), address);
        if (!listens.ok()) {
            return listens;
        }
    }
    return done();
}

Outcome changePort(Transaction& change, const Site& site, const Arguments& given) {
    const auto meant = meantBlocks(change, site, given);
    if (!meant.ok()) {
        return meant.outcome();
    }
    const std::string name = site.name();  // while its blocks are as they were read
    change.output().set("site", name);
    Outcome outcome = isFree(change.configuration(), site, meant->blocks, given[NewPort]);
    for (const BlockAt& at : meant->blocks) {
        outcome = outcome.ok() ? moveBlock(change, at, meant->port, given) : outcome;
    }
    return outcome.ok() && given[Listen] ? listenThere(change, name, given[NewPort], meant->port) : outcome;
}

}  // namespace

Command sitePort() {
    return {
        .words = "site port",
        .summary = "Move a website to another port",
        .action = changePort,
        .parameters = {SiteName, NewPort, NewAddress, OnPort, Listen},
        .operations = {"ApacheHelper::Apache_ChangeVirtualHostPort"},
        .more =
            "Without --port the port of the site's first block that speaks plain HTTP is meant; other "
            "ports "
            "stay.",
        .examples = {"site port shop.example 8080 --listen", "site port shop.example 8443 --port 443"},
    };
}

}  // namespace zpweb
