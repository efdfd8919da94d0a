// vdir find: what an alias leads to.
#include "CZPVirtualDirectory.h"
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Readable.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

constexpr auto Alias = needed("ALIAS", Kind::Word, "Its name");

constexpr char AliasFound = zp::result::directory::AliasFound;
constexpr char AliasMissing = zp::result::directory::AliasNotFound;

Outcome find(Session& session, const Configuration&, const Site& site, const Arguments& given) {
    const std::string alias = given[Alias];
    SDDir record{};
    setField(record.DomainName, domainOf(*site.first().block));
    setField(record.DirName, alias.starts_with('/') ? alias.substr(1) : alias);
    const Readable readable(*site.first().block);
    CZPVirtualDirectory manager(nullptr, readable.path().c_str());
    const int result = quietly(session.output, [&] { return manager.CheckVirDir(&record); });
    const Meaning meaning = expecting(
        "CheckVirDir", {AliasFound}, AliasMissing,
        failure(Status::NotFound, "alias " + inQuotes(alias) + ": the site has none of this name"));
    if (Outcome found = meaning(result); !found.ok()) {
        return found;
    }
    const std::string path = "/" + std::string(record.DirName);
    const std::string target = quietly(session.output, [&] {
        return CZPVirtualDirectory::GetVDPath(readable.path(), record.DomainName, path);
    });
    session.output.set("alias", path);
    session.output.set("folder", known(target));
    return done();
}

}  // namespace

Command vdirFind() {
    return {
        .words = "vdir find",
        .summary = "Tell what an alias leads to",
        .action = find,
        .parameters = {SiteName, Alias},
        .operations = {"CZPVirtualDirectory::CheckVirDir", "CZPVirtualDirectory::GetVDPath"},
        .examples = {"vdir find shop.example /images"},
    };
}

}  // namespace zpweb
