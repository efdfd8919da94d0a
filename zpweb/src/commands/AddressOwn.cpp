// address own: gives a site an address of its own.
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/Addresses.h"
#include "commands/shared/BlockEdit.h"

namespace zpweb {

namespace {

constexpr int NowOwn = zp::result::website::MovedToOwn;

Outcome moveToOwnAddress(Transaction& change, const Site& site, const Arguments& given) {
    return moveAddress(
        change, site, given,
        {.operation = "NameBasedToIPBased",
         .moved = NowOwn,
         .call = [](CZPWebsite& website, const std::string& from, const std::string& to,
                    const std::string& name) { return website.NameBasedToIPBased(from, to, name); }});
}

}  // namespace

Command addressOwn() {
    return {
        .words = "address own",
        .summary = "Give a website an address of its own",
        .action = moveToOwnAddress,
        .parameters = {SiteName, NewAddress, OnPort},
        .operations = {"CZPWebsite::NameBasedToIPBased"},
        .examples = {"address own shop.example --address 192.0.2.8"},
    };
}

}  // namespace zpweb
