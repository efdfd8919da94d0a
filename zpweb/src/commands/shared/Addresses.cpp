#include "commands/shared/Addresses.h"

#include "Results.h"
#include "commands/shared/BlockEdit.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "conf/Bounds.h"
#include "conf/Line.h"
#include "input/Quoted.h"
#include "server/Program.h"

namespace zpweb {

namespace {

constexpr int NotThere = zp::result::website::NotFound;

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

// On servers before 2.4 an address is shared by a line of its own, which the operation keeps.
Outcome moveAnnounced(Transaction& change, const Site& site, const Arguments& given,
                      const AddressMove& move) {
    const Place& place = site.first();
    const std::string name = site.name();
    const std::string oldAddress = bareAddress(place.block->address);
    const std::string newAddress = given[NewAddress].value_or(oldAddress);
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::Addressing;
    edit.scope = [&](const ConfigurationFile& file) { return addressScope(file, name, newAddress); };
    edit.operation = [&](const std::string& staged) {
        CZPWebsite website(nullptr, staged.c_str());
        return move.call(website, oldAddress, newAddress, name);
    };
    edit.meaning =
        expecting(move.operation, {move.moved}, NotThere,
                  failure(Status::NotFound, "site " + inQuotes(name) + " has no block at " + oldAddress));
    change.output().set("site", name);
    change.output().set("address", newAddress);
    return change.edit(edit);
}

// The block keeps its port.
Outcome moveBlock(Transaction& change, const BlockAt& at, const std::string& to, const AddressMove& move) {
    const Block& block = at.in(change.configuration());
    const std::string from = bareAddress(block.address);
    if (writtenWords(block.addresses).size() != 1) {
        return failure(Status::Refused, at.place(change.configuration()) +
                                            ": the block has several addresses; leave it one first");
    }
    return editBlock(change, at,
                     {.bound = zp::conf::bound::Addressing,
                      .show = [](View& view) { view.showAddress(0, View::Port::Kept); },
                      .run =
                          [&](const std::string& staged, const std::string& domain) {
                              CZPWebsite website(nullptr, staged.c_str());
                              return move.call(website, from, to.empty() ? from : to, domain);
                          },
                      .meaning = expecting(move.operation, {move.moved})});
}

}  // namespace

Outcome moveAddress(Transaction& change, const Site& site, const Arguments& given,
                    const AddressMove& move) {
    if (isBefore24()) {
        return moveAnnounced(change, site, given, move);
    }
    const std::string address = given[NewAddress].value_or("");
    change.output().set("site", site.name());
    change.output().set("address", address.empty() ? bareAddress(site.first().block->address) : address);
    const auto blocks = runningBlocks(change.configuration(), site, given);
    Outcome outcome = blocks.outcome();
    for (size_t i = 0; outcome.ok() && i < blocks->size(); ++i) {
        outcome = moveBlock(change, (*blocks)[i], address, move);
    }
    return outcome;
}

}  // namespace zpweb
