// perl off: stops running a site's Perl and CGI scripts.
#include "commands/Commands.h"
#include "commands/shared/BlockEdit.h"
#include "commands/shared/PerlSwitch.h"

namespace zpweb {

namespace {

Outcome turnPerlOff(Transaction& change, const Site& site, const Arguments& given) {
    return switchPerl(
        change, site, given,
        {.on = false, .operation = "DisablePerl", .call = [](CZPWebsite& website, const std::string& name) {
             return website.DisablePerl(name);
         }});
}

}  // namespace

Command perlOff() {
    return {
        .words = "perl off",
        .summary = "Stop running them",
        .action = turnPerlOff,
        .parameters = {SiteName, OnPort},
        .operations = {"CZPWebsite::DisablePerl"},
        .examples = {"perl off shop.example"},
    };
}

}  // namespace zpweb
