// Websites: further names, and the port.
#include <algorithm>

#include "ApacheHelper.h"
#include "commands/Groups.h"
#include "commands/Parameters.h"
#include "commands/Readable.h"
#include "commands/Scopes.h"
#include "commands/SiteInfo.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

constexpr int HostChanged = 0;
constexpr int NoAliasLine = 1;
constexpr int ListedAlready = 2;

Meaning hostMeaning(bool add, const std::string& name, const std::string& host, bool hasNames) {
    return [=](int result) {
        if (add && result == ListedAlready) {
            return failure(Status::Exists,
                           "host name " + inQuotes(host) +
                               ": the library takes it for listed, since a listed name begins with it");
        }
        return result == NoAliasLine && !hasNames
                   ? failure(Status::NotFound, "site " + inQuotes(name) + " has no ServerAlias line")
                   : resultOf(add ? "AddHostHeader" : "DeleteHostHeader", result, {HostChanged});
    };
}

Outcome changeHost(Transaction& change, const Place& place, const Arguments& arguments) {
    const bool add = arguments.verb == "add";
    const std::string name(place.block->name);
    const std::string host = arguments.one("HOST");
    const Readable readable(*place.file, name);
    const SiteInfo info(change.output(), readable.path(), name);
    const StringVector& hosts = info.record.ServerAlias;
    change.output().set("site", name);
    change.output().set("host", host);
    if ((std::find(hosts.begin(), hosts.end(), host) != hosts.end()) == add) {
        return done();  // already so
    }
    if (add && !hosts.empty()) {
        if (const auto elsewhere = change.configuration().find(host); !elsewhere.empty()) {
            return failure(Status::Exists, "host name " + inQuotes(host) +
                                               ": it is a site of its own, at " + elsewhere.front().text());
        }
    }
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::Directive;
    edit.scope = [&](const ConfigurationFile& file) {
        return siteScope(file, name, beginsWithAny({"ServerAlias"}));
    };
    edit.operation = [&](const std::string& staged) {
        CZPWebsite website(nullptr, staged.c_str());
        return add ? website.AddHostHeader(name, host) : website.DeleteHostHeader(name, host);
    };
    edit.meaning = hostMeaning(add, name, host, !hosts.empty());
    return change.edit(edit);
}

Outcome port(Transaction& change, const Place& place, const Arguments& arguments) {
    const std::string name(place.block->name);
    const std::string address = arguments.one("--address", bareAddress(place.block->address));
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::Port;
    edit.scope = [&](const ConfigurationFile& file) {
        return siteScope(file, name, beginsWithAny({"<VirtualHost"}));
    };
    edit.operation = [&](const std::string& staged) {
        return ApacheHelper().Apache_ChangeVirtualHostPort(staged, name, address, arguments.one("PORT"));
    };
    edit.meaning = expecting("Apache_ChangeVirtualHostPort", {0});
    return change.edit(edit);
}

}  // namespace

std::vector<Command> siteHosts() {
    const Parameter host = needed("HOST", Kind::HostName, "A further name of the site");
    return {
        {"site port",
         "Change the address line of a website's first block",
         port,
         {siteName(), needed("PORT", Kind::Port, "The new port"),
          option("--address", Kind::Address, "IP", "The new address")},
         {"ApacheHelper::Apache_ChangeVirtualHostPort"}},
        {"host add",
         "Give a website a further name",
         changeHost,
         {siteName(), host},
         {"CZPWebsite::AddHostHeader"}},
        {"host remove",
         "Take a further name away",
         changeHost,
         {siteName(), host},
         {"CZPWebsite::DeleteHostHeader"}},
    };
}

}  // namespace zpweb
