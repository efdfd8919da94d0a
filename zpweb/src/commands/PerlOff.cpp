// perl off: stops running a site's Perl and CGI scripts.
#include "commands/Commands.h"
#include "commands/shared/PerlSwitch.h"

namespace zpweb {

namespace {

Outcome run(Transaction& change, const Site& site, const Arguments&) {
    return switchPerl(
        change, site,
        {.on = false, .operation = "DisablePerl", .call = [](CZPWebsite& website, const std::string& name) {
             return website.DisablePerl(name);
         }});
}

}  // namespace

Command perlOff() {
    return {
        .words = "perl off",
        .summary = "Stop running them",
        .action = run,
        .parameters = {SiteName},
        .operations = {"CZPWebsite::DisablePerl"},
        .examples = {"perl off shop.example"},
    };
}

}  // namespace zpweb
