// perl on: runs a site's Perl and CGI scripts.
#include "commands/Commands.h"
#include "commands/shared/PerlSwitch.h"

namespace zpweb {

namespace {

Outcome run(Transaction& change, const Site& site, const Arguments&) {
    return switchPerl(
        change, site,
        {.on = true, .operation = "EnablePerl", .call = [](CZPWebsite& website, const std::string& name) {
             return website.EnablePerl(name);
         }});
}

}  // namespace

Command perlOn() {
    return {
        .words = "perl on",
        .summary = "Run a website's Perl and CGI scripts",
        .action = run,
        .parameters = {SiteName},
        .operations = {"CZPWebsite::EnablePerl"},
        .examples = {"perl on shop.example"},
    };
}

}  // namespace zpweb
