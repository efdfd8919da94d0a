#include "commands/shared/PerlSwitch.h"

#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "conf/Line.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

bool isPerlHandler(std::string_view text) {
    return zp::conf::equalIgnoringCase(zp::conf::trimEnd(text), "AddHandler cgi-script cgi pl");
}

}  // namespace

Outcome switchPerl(Transaction& change, const Site& site, const PerlSwitch& wanted) {
    const Place& place = site.first();
    const std::string name = site.name();
    if (blockHas(place, isPerlHandler) == wanted.on) {
        return done();
    }
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::Handler;
    edit.scope = [&](const ConfigurationFile& file) { return siteScope(file, name, isPerlHandler); };
    edit.operation = [&](const std::string& staged) {
        CZPWebsite website(nullptr, staged.c_str());
        return wanted.call(website, name);
    };
    edit.meaning = expecting(wanted.operation, {0});
    edit.look = [&](std::string_view made) {
        return anyLine(made, isPerlHandler) == wanted.on
                   ? done()
                   : failure(Status::NotFound, "site " + inQuotes(name) +
                                                   " has no block for its document root: see vdir create");
    };
    change.output().set("site", name);
    return change.edit(edit);
}

}  // namespace zpweb
