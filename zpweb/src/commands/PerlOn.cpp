// perl on: runs a site's Perl and CGI scripts.
#include "commands/Commands.h"
#include "commands/shared/BlockEdit.h"
#include "commands/shared/PerlSwitch.h"

namespace zpweb {

namespace {

Outcome turnPerlOn(Transaction& change, const Site& site, const Arguments& given) {
    return switchPerl(
        change, site, given,
        {.on = true, .operation = "EnablePerl", .call = [](CZPWebsite& website, const std::string& name) {
             return website.EnablePerl(name);
         }});
}

}  // namespace

Command perlOn() {
    return {
        .words = "perl on",
        .summary = "Run a website's Perl and CGI scripts",
        .action = turnPerlOn,
        .parameters = {SiteName, OnPort},
        .operations = {"CZPWebsite::EnablePerl"},
        .examples = {"perl on shop.example"},
    };
}

}  // namespace zpweb
