// Virtual directories: what is set for one, and aliases.
#include "commands/FolderOptions.h"
#include "commands/Groups.h"
#include "commands/Operation.h"
#include "commands/Parameters.h"
#include "commands/Readable.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

constexpr char Queried = 86;
constexpr char AliasFound = 125;
constexpr char AliasMissing = 88;

std::string switchText(const SOptions& options) {
    std::string text;
    SOptions copy = options;
    for (const char* name : FolderOptions) {
        const char state = switchFor(copy, name);
        if (state == '+' || state == '-') {
            text += (text.empty() ? "" : " ") + std::string(1, state) + name;
        }
    }
    return text;
}

Outcome show(Session& session, const Configuration&, const Places& places, const Arguments& arguments) {
    const Place& place = places.front();
    SDDir record{};
    fillField(record.DomainName, std::string(place.block->name));
    fillField(record.DirPath, arguments.one("FOLDER"));
    const Readable readable(*place.file);
    CZPVirtualDirectory manager(nullptr, readable.path().c_str());
    Output& output = session.output;
    const int present = quietly(output, [&] { return manager.VirtualDirectoryExists(&record); });
    if (present == 0 && !place.block->stopped) {
        return failure(Status::NotFound, std::string(record.DirPath) + " has no block in this site");
    }
    const int result = quietly(output, [&] { return manager.GetVirtualDirectoryinfo(&record); });
    if (Outcome read = resultOf("GetVirtualDirectoryinfo", result, {Queried}); !read.ok()) {
        return read;
    }
    const int aliases =
        quietly(output, [&] { return manager.DirectoryRequired(record.DomainName, record.DirPath); });
    output.set("site", place.block->name);
    output.set("folder", record.DirPath);
    output.set("allow", record.Allow);
    output.set("deny", record.Deny);
    output.set("options", switchText(record.Options));
    output.set("protected", record.AnonAccess == '1');
    output.set("perl", record.PerlEnabled == '1');
    output.set("rails", record.RubyOnRails == '1');
    output.set("several_aliases", aliases == 1);
    return done();
}

Outcome list(Session& session, const Configuration&, const Places& places, const Arguments&) {
    const std::string name(places.front().block->name);
    const Readable readable(*places.front().file);
    CZPVirtualDirectory manager(nullptr, readable.path().c_str());
    StringVector pairs;
    const int result =
        quietly(session.output, [&] { return manager.VirtualDirectoryList(name.c_str(), &pairs); });
    List& rows = session.output.list("aliases", {"alias", "folder"});
    for (size_t i = 0; i + 1 < pairs.size(); i += 2) {
        rows.row().add("alias", "/" + pairs[i + 1]).add("folder", pairs[i]);
    }
    return resultOf("VirtualDirectoryList", result, {0});
}

Outcome find(Session& session, const Configuration&, const Places& places, const Arguments& arguments) {
    const std::string alias = arguments.one("ALIAS");
    SDDir record{};
    fillField(record.DomainName, std::string(places.front().block->name));
    fillField(record.DirName, alias.starts_with('/') ? alias.substr(1) : alias);
    const Readable readable(*places.front().file);
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

std::vector<Command> virtualDirectoryShowing() {
    return {
        {"vdir show",
         "Show a folder's settings",
         show,
         {siteName(), needed("FOLDER", Kind::Path, "The folder that the block is for")},
         {"CZPVirtualDirectory::GetVirtualDirectoryinfo", "CZPVirtualDirectory::VirtualDirectoryExists",
          "CZPVirtualDirectory::DirectoryRequired"}},
        {"vdir list",
         "List a website's aliases",
         list,
         {siteName()},
         {"CZPVirtualDirectory::VirtualDirectoryList"}},
        {"vdir find",
         "Tell what an alias leads to",
         find,
         {siteName(), needed("ALIAS", Kind::Word, "Its name")},
         {"CZPVirtualDirectory::CheckVirDir", "CZPVirtualDirectory::GetVDPath"}},
    };
}

}  // namespace zpweb
