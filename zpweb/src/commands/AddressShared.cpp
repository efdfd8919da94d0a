// address shared: moves a site to an address that sites share by name.
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/Addresses.h"
#include "commands/shared/BlockEdit.h"

namespace zpweb {

namespace {

constexpr int NowShared = zp::result::website::MovedToShared;

Outcome moveToSharedAddress(Transaction& change, const Site& site, const Arguments& given) {
    return moveAddress(
        change, site, given,
        {.operation = "IPBasedToNameBased",
         .moved = NowShared,
         .call = [](CZPWebsite& website, const std::string& from, const std::string& to,
                    const std::string& name) { return website.IPBasedToNameBased(from, to, name); }});
}

}  // namespace

Command addressShared() {
    return {
        .words = "address shared",
        .summary = "Move a website to an address that sites share by name",
        .action = moveToSharedAddress,
        .parameters = {SiteName, NewAddress, OnPort},
        .operations = {"CZPWebsite::IPBasedToNameBased"},
        .examples = {"address shared shop.example --address 192.0.2.8"},
    };
}

}  // namespace zpweb
