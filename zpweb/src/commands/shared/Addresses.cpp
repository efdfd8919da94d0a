#include "commands/shared/Addresses.h"

#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "conf/Line.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

constexpr int NotThere = 32;

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

}  // namespace

Outcome moveAddress(Transaction& change, const Site& site, const Arguments& given,
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

}  // namespace zpweb
