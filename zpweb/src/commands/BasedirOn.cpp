// basedir on: keeps PHP within a directory.
#include "commands/Commands.h"
#include "commands/shared/BaseDirectory.h"
#include "commands/shared/BlockEdit.h"

namespace zpweb {

namespace {

Outcome turnBasedirOn(Transaction& change, const Site& site, const Arguments& given) {
    return changeBaseDirectory(
        change, site, given,
        {.on = true,
         .operation = "Enable_open_basedir",
         .call = [](CZPWebsite& website, const std::string& name, const std::string& directory) {
             return website.Enable_open_basedir(name, directory);
         }});
}

}  // namespace

Command basedirOn() {
    return {
        .words = "basedir on",
        .summary = "Keep PHP within a directory",
        .action = turnBasedirOn,
        .parameters = {SiteName, BaseDirectory, OnPort},
        .operations = {"CZPWebsite::Enable_open_basedir"},
        .examples = {"basedir on shop.example /home/anna/shop.example/www/html"},
    };
}

}  // namespace zpweb
