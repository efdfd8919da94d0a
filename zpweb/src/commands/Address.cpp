// Addresses: a site's own, or shared by name.
#include "CZPWebsite.h"
#include "commands/Groups.h"
#include "commands/Operation.h"
#include "commands/Parameters.h"
#include "commands/Scopes.h"
#include "conf/Line.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

constexpr int Listed = 28;
constexpr int NowOwn = 123;
constexpr int NowShared = 121;
constexpr int NotThere = 32;

Outcome list(Session& session, const Configuration& configuration, const Arguments&) {
    List& rows = session.output.list("addresses", {"address", "file"});
    for (const auto& file : configuration.files()) {
        CZPWebsite website(nullptr, file->path().c_str());
        StringVector addresses;
        const int result = quietly(session.output, [&] { return website.ListOccupiedIPs(&addresses); });
        if (Outcome listed = resultOf("ListOccupiedIPs", result, {Listed}); !listed.ok()) {
            session.output.clear();
            return listed;
        }
        for (const std::string& address : addresses) {
            rows.row().add("address", address).add("file", file->path());
        }
    }
    return done();
}

// The block's opening line may change, and the NameVirtualHost lines of the new address.
Scope addressScope(const ConfigurationFile& file, const std::string& name, const std::string& newAddress) {
    Scope scope = additionsScope(file);
    for (const Block& block : file.blocks()) {
        if (!block.stopped && !block.name.empty() && zp::conf::equalIgnoringCase(block.name, name)) {
            scope.mayChange[block.lines.first] = true;
        }
    }
    allowLines(scope, [&](std::string_view text) {
        const zp::conf::Line line(text);
        return line.begins(zp::conf::keyword::NameVirtualHost) &&
               bareAddress(line.argumentOf(zp::conf::keyword::NameVirtualHost)) == newAddress;
    });
    return scope;
}

Outcome move(Transaction& change, const Place& place, const Arguments& arguments) {
    const bool own = arguments.verb == "own";
    const std::string name(place.block->name);
    const std::string oldAddress = bareAddress(place.block->address);
    const std::string newAddress = arguments.one("--address", oldAddress);
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::Addressing;
    edit.scope = [&](const ConfigurationFile& file) { return addressScope(file, name, newAddress); };
    edit.operation = [&](const std::string& staged) {
        CZPWebsite website(nullptr, staged.c_str());
        return own ? website.NameBasedToIPBased(oldAddress, newAddress, name)
                   : website.IPBasedToNameBased(oldAddress, newAddress, name);
    };
    edit.meaning =
        expecting(own ? "NameBasedToIPBased" : "IPBasedToNameBased", {own ? NowOwn : NowShared}, NotThere,
                  failure(Status::NotFound, "site " + inQuotes(name) + " has no block at " + oldAddress));
    change.output().set("site", name);
    change.output().set("address", newAddress);
    return change.edit(edit);
}

}  // namespace

std::vector<Command> addressCommands() {
    const Parameter address =
        option("--address", Kind::Address, "IP", "The new address (default: the one that it has)");
    return {
        {"address list", "List the addresses in use", list, {}, {"CZPWebsite::ListOccupiedIPs"}},
        {"address own",
         "Give a website an address of its own",
         move,
         {siteName(), address},
         {"CZPWebsite::NameBasedToIPBased"}},
        {"address shared",
         "Move a website to an address that sites share by name",
         move,
         {siteName(), address},
         {"CZPWebsite::IPBasedToNameBased"}},
    };
}

}  // namespace zpweb
