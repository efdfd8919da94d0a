// Virtual directories: the <Directory> blocks of a site.
#include "CZPVirtualDirectory.h"
#include "commands/Common.h"
#include "commands/Groups.h"
#include "conf/Line.h"
#include "host/Paths.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr char BlockMade = 83;
constexpr char BlockThere = 1;
constexpr char BlockRemoved = 85;
constexpr char Queried = 86;
constexpr char LineMalformed = 87;
constexpr char BlockUpdated = 89;
constexpr char AliasFound = 125;
constexpr char AliasMissing = 88;

char& switchFor(SOptions& options, std::string_view name) {
    return name == "Indexes"          ? options.Indexes
           : name == "Includes"       ? options.Includes
           : name == "FollowSymLinks" ? options.FollowSymLinks
           : name == "MultiViews"     ? options.MultiViews
                                      : options.ExecCGI;
}

// The folder above the site's home: creation looks there for the owner, and puts the password file there.
std::string parentOfHome(const Place& place) { return folderOf(std::string(place.block->home)); }

SDDir recordFrom(const Arguments& arguments, const Place& place) {
    SDDir record{};
    fillField(record.DomainName, std::string(place.block->name));
    fillField(record.DirPath, arguments.one("FOLDER"));
    fillField(record.WebAdminPath, parentOfHome(place));
    record.Order = arguments.has("--order") ? 1 : 0;
    for (const std::string& option : arguments.all("--option")) {
        switchFor(record.Options, std::string_view(option).substr(1)) = option.front();
    }
    fillField(record.Allow, arguments.one("--allow"));
    fillField(record.Deny, arguments.one("--deny"));
    record.AnonAccess = arguments.has("--protect") ? '1' : 0;
    record.PerlEnabled = arguments.has("--perl") ? '1' : '0';
    record.RubyOnRails = arguments.has("--rails") ? '1' : '0';
    return record;
}

// Apache 2.4 opens a folder that "Require all granted" stands in, whatever else does.
Outcome contradiction(const Arguments& arguments) {
    if (arguments.has("--protect") && (arguments.has("--allow") || arguments.has("--order"))) {
        return failure(
            Status::Usage,
            "a folder cannot be both open (--allow, --order) and behind a password (--protect): the "
            "server would leave it open");
    }
    return done();
}

bool hasBlock(const Place& place, const std::string& folder) {
    const auto opens = opensFolder(folder);
    for (size_t i = place.block->lines.first; i < place.block->lines.end; ++i) {
        if (opens(zp::conf::skipSpace(withoutReturn(place.file->lines()[i])))) {
            return true;
        }
    }
    return false;
}

Edit editOf(const Place& place, const std::string& folder) {
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::Any;
    const std::string name(place.block->name);
    edit.scope = [name, folder](const ConfigurationFile& file) {
        return sectionScope(file, name, opensFolder(folder));
    };
    edit.scratch = {zp::host::path::VirtualDirectoryScratch};
    return edit;
}

Outcome create(Transaction& change, const Arguments& arguments) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    if (Outcome sound = contradiction(arguments); !sound.ok()) {
        return sound;
    }
    const std::string folder = arguments.one("FOLDER");
    if (!isFolder(folder)) {
        return failure(Status::NotFound,
                       "path " + inQuotes(folder) + ": no such folder; expected one that is there");
    }
    if (hasBlock(*place, folder)) {
        return failure(Status::Exists, folder + " has a block already: see vdir set");
    }
    SDDir record = recordFrom(arguments, *place);
    Edit edit = editOf(*place, folder);
    const std::string site = std::string(record.WebAdminPath) + "/" + record.DomainName;
    if (record.AnonAccess == '1') {
        edit.makes = {site + "/webusers_" + record.DomainName + ".htpasswd"};
        if (change.settings().dryRun) {
            change.output().note("would make " + edit.makes.front() + " if it is missing");
        }
    }
    edit.operation = [&](const std::string& staged) {
        return CZPVirtualDirectory(nullptr, staged.c_str()).CreateVirtualDirectory(&record, 0);
    };
    edit.meaning = [&](int result) {
        return result == BlockThere ? failure(Status::Exists, folder + " has a block already: see vdir set")
                                    : resultOf("CreateVirtualDirectory", result, {BlockMade});
    };
    change.output().set("site", arguments.one("SITE"));
    change.output().set("folder", folder);
    return change.edit(edit);
}

Outcome remove(Transaction& change, const Arguments& arguments) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    const std::string folder = arguments.one("FOLDER");
    if (!hasBlock(*place, folder)) {
        return failure(Status::NotFound, folder + " has no block in this site");
    }
    Edit edit = editOf(*place, folder);
    edit.operation = [&](const std::string& staged) {
        return CZPVirtualDirectory(nullptr, staged.c_str()).DeleteVirtualDirectory(folder.c_str());
    };
    edit.meaning = [](int result) { return resultOf("DeleteVirtualDirectory", result, {BlockRemoved}); };
    return change.edit(edit);
}

Outcome set(Transaction& change, const Arguments& arguments) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    if (Outcome sound = contradiction(arguments); !sound.ok()) {
        return sound;
    }
    const std::string folder = arguments.one("FOLDER");
    const bool present = hasBlock(*place, folder);
    SDDir record = recordFrom(arguments, *place);
    // Where the site has no such block yet, the update takes the character for protection the other way.
    if (!present) {
        record.AnonAccess = arguments.has("--protect") ? '0' : '1';
    }
    Edit edit = editOf(*place, folder);
    if (arguments.has("--protect")) {
        edit.makes = {folder + "/webusers.htpasswd"};
    }
    edit.operation = [&](const std::string& staged) {
        return CZPVirtualDirectory(nullptr, staged.c_str()).UpdateVirtualDirectory(&record);
    };
    edit.meaning = [](int result) {
        return result == LineMalformed ? failure("a <Directory> line of the site has no closing quote")
                                       : resultOf("UpdateVirtualDirectory", result, {BlockUpdated});
    };
    change.output().set("site", arguments.one("SITE"));
    change.output().set("folder", folder);
    return change.edit(edit);
}

std::string switchText(const SOptions& options) {
    std::string text;
    SOptions copy = options;
    for (const char* name : {"Indexes", "Includes", "FollowSymLinks", "MultiViews", "ExecCGI"}) {
        const char state = switchFor(copy, name);
        if (state == '+' || state == '-') {
            text += (text.empty() ? "" : " ") + std::string(1, state) + name;
        }
    }
    return text;
}

Outcome show(Session& session, const Arguments& arguments) {
    const auto configuration = session.load();
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    const auto places = findSite(*configuration, arguments.one("SITE"));
    if (!places.ok()) {
        return places.outcome();
    }
    const Place& place = places->front();
    SDDir record{};
    fillField(record.DomainName, std::string(place.block->name));
    fillField(record.DirPath, arguments.one("FOLDER"));
    const Readable readable(*place.file);
    CZPVirtualDirectory manager(nullptr, readable.path().c_str());
    const int present = quietly(session.output, [&] { return manager.VirtualDirectoryExists(&record); });
    if (present == 0 && !place.block->stopped) {
        return failure(Status::NotFound, std::string(record.DirPath) + " has no block in this site");
    }
    const int result = quietly(session.output, [&] { return manager.GetVirtualDirectoryinfo(&record); });
    if (Outcome read = resultOf("GetVirtualDirectoryinfo", result, {Queried}); !read.ok()) {
        return read;
    }
    const int needed = quietly(
        session.output, [&] { return manager.DirectoryRequired(record.DomainName, record.DirPath); });
    Output& output = session.output;
    output.set("site", std::string(place.block->name));
    output.set("folder", record.DirPath);
    output.set("allow", record.Allow);
    output.set("deny", record.Deny);
    output.set("options", switchText(record.Options));
    output.set("protected", record.AnonAccess == '1');
    output.set("perl", record.PerlEnabled == '1');
    output.set("rails", record.RubyOnRails == '1');
    output.set("several_aliases", needed == 1);
    return done();
}

Outcome list(Session& session, const Arguments& arguments) {
    const auto configuration = session.load();
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    const auto places = findSite(*configuration, arguments.one("SITE"));
    if (!places.ok()) {
        return places.outcome();
    }
    const Place& place = places->front();
    const std::string name(place.block->name);
    const Readable readable(*place.file);
    CZPVirtualDirectory manager(nullptr, readable.path().c_str());
    StringVector pairs;
    const int result =
        quietly(session.output, [&] { return manager.VirtualDirectoryList(name.c_str(), &pairs); });
    Json rows = Json::array();
    for (size_t i = 0; i + 1 < pairs.size(); i += 2) {
        rows.push_back({{"alias", "/" + pairs[i + 1]}, {"folder", pairs[i]}});
    }
    session.output.list("aliases", {"alias", "folder"}, std::move(rows));
    return resultOf("VirtualDirectoryList", result, {0});
}

Outcome find(Session& session, const Arguments& arguments) {
    const auto configuration = session.load();
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    const auto places = findSite(*configuration, arguments.one("SITE"));
    if (!places.ok()) {
        return places.outcome();
    }
    const Place& place = places->front();
    const std::string alias = arguments.one("ALIAS");
    SDDir record{};
    fillField(record.DomainName, std::string(place.block->name));
    fillField(record.DirName, alias.starts_with('/') ? alias.substr(1) : alias);
    const Readable readable(*place.file);
    CZPVirtualDirectory manager(nullptr, readable.path().c_str());
    const int result = quietly(session.output, [&] { return manager.CheckVirDir(&record); });
    if (result == AliasMissing) {
        return failure(Status::NotFound, "alias " + inQuotes(alias) + ": the site has none of this name");
    }
    if (Outcome found = resultOf("CheckVirDir", result, {AliasFound}); !found.ok()) {
        return found;
    }
    const std::string target = quietly(session.output, [&] {
        return CZPVirtualDirectory::GetVDPath(readable.path(), record.DomainName,
                                              "/" + std::string(record.DirName));
    });
    session.output.set("alias", "/" + std::string(record.DirName));
    session.output.set("folder", target.empty() ? Json() : Json(target));
    return done();
}

}  // namespace

std::vector<Command> virtualDirectoryCommands() {
    const Parameter site{"SITE", Kind::HostName, "", "The site's name", true};
    const Parameter folder{"FOLDER", Kind::Path, "", "The folder that the block is for", true};
    const std::vector<Parameter> settings = {
        site,
        folder,
        {"--option", Kind::Switch, "+NAME|-NAME", "Switch an option on or off", false, true},
        {"--order", Kind::Flag, "", "Open the folder by an order of allow and deny"},
        {"--allow", Kind::Text, "HOSTS", "The hosts that may see it"},
        {"--deny", Kind::Text, "HOSTS", "The hosts that may not"},
        {"--protect", Kind::Flag, "", "Put it behind a password"},
        {"--perl", Kind::Flag, "", "Run its Perl scripts (set only)"},
        {"--rails", Kind::Flag, "", "Run it as a Rails application (set only)"}};
    return {
        {"vdir create",
         "Give a folder of a website a block of its own",
         settings,
         {"CZPVirtualDirectory::CreateVirtualDirectory"},
         nullptr,
         create},
        {"vdir delete",
         "Remove a folder's block",
         {site, folder},
         {"CZPVirtualDirectory::DeleteVirtualDirectory"},
         nullptr,
         remove},
        {"vdir show",
         "Show a folder's settings",
         {site, folder},
         {"CZPVirtualDirectory::GetVirtualDirectoryinfo", "CZPVirtualDirectory::VirtualDirectoryExists",
          "CZPVirtualDirectory::DirectoryRequired"},
         show},
        {"vdir set",
         "Replace a folder's settings",
         settings,
         {"CZPVirtualDirectory::UpdateVirtualDirectory"},
         nullptr,
         set},
        {"vdir list",
         "List a website's aliases",
         {site},
         {"CZPVirtualDirectory::VirtualDirectoryList"},
         list},
        {"vdir find",
         "Tell what an alias leads to",
         {site, {"ALIAS", Kind::Word, "", "Its name", true}},
         {"CZPVirtualDirectory::CheckVirDir", "CZPVirtualDirectory::GetVDPath"},
         find},
    };
}

}  // namespace zpweb
