// Addresses: a site's own, or shared by name.
#include "CZPWebsite.h"
#include "commands/Common.h"
#include "commands/Groups.h"
#include "conf/Line.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

constexpr int Listed = 28;
constexpr int NowOwn = 123;
constexpr int NowShared = 121;
constexpr int NotThere = 32;

Outcome list(Session& session, const Arguments&) {
    const auto configuration = session.load();
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    Json rows = Json::array();
    for (const auto& file : configuration->files()) {
        CZPWebsite website(nullptr, file->path().c_str());
        StringVector addresses;
        const int result = quietly(session.output, [&] { return website.ListOccupiedIPs(&addresses); });
        if (Outcome listed = resultOf("ListOccupiedIPs", result, {Listed}); !listed.ok()) {
            return listed;
        }
        for (const std::string& address : addresses) {
            rows.push_back({{"address", address}, {"file", file->path()}});
        }
    }
    session.output.list("addresses", {"address", "file"}, std::move(rows));
    return done();
}

// The block's opening line may change, and the NameVirtualHost lines of the new address.
Scope addressScope(const ConfigurationFile& file, const std::string& name, const std::string& newAddress) {
    Scope scope = Scope::additions(file.lines());
    for (const Block& block : file.blocks()) {
        if (!block.stopped && !block.name.empty() && zp::conf::equalIgnoringCase(block.name, name)) {
            scope.mayChange[block.lines.first] = true;
        }
    }
    allowLines(scope, file, [&](std::string_view text) {
        const zp::conf::Line line(text);
        return line.begins(zp::conf::keyword::NameVirtualHost) &&
               bareAddress(line.argumentOf(zp::conf::keyword::NameVirtualHost)) == newAddress;
    });
    return scope;
}

Outcome move(Transaction& change, const Arguments& arguments, bool own) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    const std::string name(place->block->name);
    const std::string oldAddress = bareAddress(place->block->address);
    const std::string newAddress = arguments.one("--address", oldAddress);
    Edit edit;
    edit.file = place->file->path();
    edit.bound = bound::Addressing;
    edit.scope = [&](const ConfigurationFile& file) { return addressScope(file, name, newAddress); };
    edit.operation = [&](const std::string& staged) {
        CZPWebsite website(nullptr, staged.c_str());
        return own ? website.NameBasedToIPBased(oldAddress, newAddress, name)
                   : website.IPBasedToNameBased(oldAddress, newAddress, name);
    };
    edit.meaning = [&](int result) {
        return result == NotThere
                   ? failure(Status::NotFound, "site " + inQuotes(name) + " has no block at " + oldAddress)
                   : resultOf(own ? "NameBasedToIPBased" : "IPBasedToNameBased", result,
                              {own ? NowOwn : NowShared});
    };
    change.output().set("site", name);
    change.output().set("address", newAddress);
    return change.edit(edit);
}

Outcome own(Transaction& change, const Arguments& arguments) { return move(change, arguments, true); }
Outcome shared(Transaction& change, const Arguments& arguments) { return move(change, arguments, false); }

}  // namespace

std::vector<Command> addressCommands() {
    const Parameter site{"SITE", Kind::HostName, "", "The site's name", true};
    const Parameter address{"--address", Kind::Address, "IP",
                            "The new address (default: the one that it has)"};
    return {
        {"address list", "List the addresses in use", {}, {"CZPWebsite::ListOccupiedIPs"}, list},
        {"address own",
         "Give a website an address of its own",
         {site, address},
         {"CZPWebsite::NameBasedToIPBased"},
         nullptr,
         own},
        {"address shared",
         "Move a website to an address that sites share by name",
         {site, address},
         {"CZPWebsite::IPBasedToNameBased"},
         nullptr,
         shared},
    };
}

}  // namespace zpweb
