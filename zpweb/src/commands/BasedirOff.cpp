// basedir off: lifts the limit of PHP to a directory.
#include "commands/Commands.h"
#include "commands/shared/BaseDirectory.h"
#include "commands/shared/BlockEdit.h"

namespace zpweb {

namespace {

Outcome turnBasedirOff(Transaction& change, const Site& site, const Arguments& given) {
    return changeBaseDirectory(
        change, site, given,
        {.on = false,
         .operation = "Disable_open_basedir",
         .call = [](CZPWebsite& website, const std::string& name, const std::string& directory) {
             return website.Disable_open_basedir(name, directory);
         }});
}

}  // namespace

Command basedirOff() {
    return {
        .words = "basedir off",
        .summary = "Lift that",
        .action = turnBasedirOff,
        .parameters = {SiteName, BaseDirectory, OnPort},
        .operations = {"CZPWebsite::Disable_open_basedir"},
        .examples = {"basedir off shop.example /home/anna/shop.example/www/html"},
    };
}

}  // namespace zpweb
