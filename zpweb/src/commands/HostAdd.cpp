// host add: gives a site a further name.
#include <algorithm>

#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/HostNames.h"
#include "commands/shared/Operation.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

constexpr int ListedAlready = 2;

Meaning additionMeaning(const std::string& site, const std::string& host, bool hasNames) {
    return [=](int result) {
        if (result == ListedAlready) {
            return failure(Status::Exists,
                           "host name " + inQuotes(host) +
                               ": the library takes it for listed, since a listed name begins with it");
        }
        return result == NoAliasLine && !hasNames
                   ? failure(Status::NotFound, "site " + inQuotes(site) + " has no ServerAlias line")
                   : resultOf("AddHostHeader", result, {HostChanged});
    };
}

Outcome add(Transaction& change, const Site& site, const Arguments& given) {
    const std::string name = site.name();
    const std::string host = given[Host];
    const std::vector<std::string> hosts = hostNamesOf(change.output(), site);
    change.output().set("site", name);
    change.output().set("host", host);
    if (std::find(hosts.begin(), hosts.end(), host) != hosts.end()) {
        return done();  // already so
    }
    if (!hosts.empty()) {
        if (const auto elsewhere = change.configuration().find(host); !elsewhere.empty()) {
            return failure(Status::Exists, "host name " + inQuotes(host) +
                                               ": it is a site of its own, at " + elsewhere.front().text());
        }
    }
    Edit edit = hostNameEdit(site);
    edit.operation = [&](const std::string& staged) {
        return CZPWebsite(nullptr, staged.c_str()).AddHostHeader(name, host);
    };
    edit.meaning = additionMeaning(name, host, !hosts.empty());
    return change.edit(edit);
}

}  // namespace

Command hostAdd() {
    return {
        .words = "host add",
        .summary = "Give a website a further name",
        .action = add,
        .parameters = {SiteName, Host},
        .operations = {"CZPWebsite::AddHostHeader"},
        .examples = {"host add shop.example www.shop.example"},
    };
}

}  // namespace zpweb
