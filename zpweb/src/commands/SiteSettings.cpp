// Websites: their settings, suspension and host names.
#include <sys/stat.h>

#include <algorithm>

#include "ApacheHelper.h"
#include "CZPWebsite.h"
#include "commands/Common.h"
#include "commands/Groups.h"
#include "conf/Text.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr char Merged = 96;
constexpr char InfoRead = 25;
constexpr char InfoWithoutMode = 27;

// A site's settings as the library reads them.
struct Info {
    std::string domain;
    UpdateVHost record{};
    char result = 0;

    Info(Output& output, const std::string& file, std::string_view name) : domain(name) {
        record.pDomain = domain.c_str();
        CZPWebsite website(nullptr, file.c_str());
        result = quietly(output, [&] { return website.GetWebsiteInfo(&record); });
    }
};

Json pairsOf(const NameValueVector& pairs) {
    Json object = Json::object();
    for (const NameValueSt& pair : pairs) {
        object[pair.Name] = pair.Value;
    }
    return object;
}

std::string octal(mode_t mode) {
    std::string digits;
    for (int shift = 9; shift >= 0; shift -= 3) {
        digits += static_cast<char>('0' + ((mode >> shift) & 7));
    }
    return digits;
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
    const Readable readable(*place.file);
    const std::string& file = readable.path();
    const Info info(session.output, file, place.block->name);
    if (Outcome read = resultOf("GetWebsiteInfo", info.result, {InfoRead, InfoWithoutMode}); !read.ok()) {
        return read;
    }
    CZPWebsite website(nullptr, file.c_str());
    std::string address;
    std::string sharedAddress;
    std::string root;
    std::string shared;
    const int exists = quietly(session.output, [&] {
        website.LookupDomainInConfFile(info.domain, file, address);
        root = website.GetRootDocPath(file, info.domain);
        shared = website.ISIPLessDomain(info.domain, configuration->main().path(), sharedAddress);
        return website.WebsiteExists(info.domain.c_str());
    });
    Output& output = session.output;
    output.set("site", info.domain);
    output.set("state", place.block->stopped ? "stopped" : "running");
    output.set("listed", exists == 31);
    output.set("address", address.empty() ? bareAddress(place.block->address) : address);
    output.set("shared_address", shared == "true");
    output.set("root", root.empty() ? std::string(place.block->root) : root);
    output.set("mode", info.result == InfoRead ? Json(octal(info.record.AccessMode)) : Json());
    output.set("host_names", info.record.ServerAlias);
    output.set("index", info.record.DirIndex);
    output.set("include", info.record.Include);
    output.set("alias", pairsOf(info.record.Alias));
    output.set("script_alias", pairsOf(info.record.ScriptAlias));
    output.set("proxy", pairsOf(info.record.ProxyPass));
    output.set("proxy_reverse", pairsOf(info.record.ProxyPassReverse));
    output.set("redirect", pairsOf(info.record.Redirect));
    output.set("error_document", pairsOf(info.record.ErrorDoc));
    Json all = Json::array();
    for (const Place& each : *places) {
        all.push_back(each.text());
    }
    output.set("places", all);
    return done();
}

// The directives that an operation may change; "" stands for those that it was not asked about.
struct Request {
    std::vector<std::string> keywords;
    UpdateVHost record{};
    std::string domain, folder;
};

// The merge replaces a site's host names, includes and index files by those of the record. What is not to
// be changed is in the record as it is, and its lines are kept.
Outcome mergeInto(Transaction& change, const std::string& file, const Request& request,
                  const std::string& operation, const std::function<int(CZPWebsite&, UpdateVHost&)>& call) {
    Edit edit;
    edit.file = file;
    edit.bound = bound::Merge;
    edit.scope = [&](const ConfigurationFile& current) {
        return siteScope(current, request.domain, beginsWithAny(request.keywords));
    };
    edit.operation = [&](const std::string& staged) {
        Info present(change.output(), staged, request.domain);
        UpdateVHost record = request.record;
        record.pDomain = request.domain.c_str();
        record.DirPath = request.folder.empty() ? nullptr : request.folder.c_str();
        const auto keep = [](StringVector& list, const StringVector& old) {
            if (list.empty()) {
                list = old;
            }
        };
        keep(record.ServerAlias, present.record.ServerAlias);
        keep(record.Include, present.record.Include);
        keep(record.DirIndex, present.record.DirIndex);
        CZPWebsite website(nullptr, staged.c_str());
        return call(website, record);
    };
    edit.meaning = [&](int result) { return resultOf(operation, result, {Merged}); };
    return change.edit(edit);
}

mode_t modeOf(const std::string& text) { return static_cast<mode_t>(std::stoul(text, nullptr, 8)); }

// The mode is set by the operation when the change is certain: not in a dry run, and not on a staged copy.
void setModeAfterwards(Transaction& change, const std::string& file, const std::string& domain,
                       const std::string& folder, mode_t mode) {
    change.afterwards([file, domain, folder, mode, &change] {
        const std::string copy = change.state().stage() + "/mode";
        const auto text = readFile(file);
        if (!text.ok()) {
            return text.outcome();
        }
        if (Outcome written = writeNewFile(copy, *text, 0600); !written.ok()) {
            return written;
        }
        UpdateVHost record{};
        record.pDomain = domain.c_str();
        record.DirPath = folder.empty() ? nullptr : folder.c_str();
        record.AccessMode = mode;
        CZPWebsite website(nullptr, copy.c_str());
        const int result = quietly(change.output(), [&] { return website.UpdateWebsite(&record); });
        return resultOf("UpdateWebsite", result, {Merged});
    });
}

Outcome set(Transaction& change, const Arguments& arguments) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    Request request;
    request.domain = place->block->name;
    request.folder = arguments.one("--folder");
    const auto pairs = [&](const char* option, std::initializer_list<const char*> keywords,
                           NameValueVector& list) {
        if (arguments.has(option)) {
            list = assignments(arguments.all(option));
            request.keywords.insert(request.keywords.end(), keywords.begin(), keywords.end());
        }
    };
    pairs("--alias", {"Alias"}, request.record.Alias);
    pairs("--script-alias", {"ScriptAlias"}, request.record.ScriptAlias);
    pairs("--proxy", {"ProxyPass", "ProxyPassReverse", "Redirect"}, request.record.ProxyPass);
    pairs("--redirect", {"Redirect"}, request.record.Redirect);
    pairs("--error-document", {"ErrorDocument"}, request.record.ErrorDoc);
    const auto words = [&](const char* option, const char* keyword, StringVector& list) {
        if (arguments.has(option)) {
            list = arguments.all(option);
            request.keywords.emplace_back(keyword);
        }
    };
    words("--host-name", "ServerAlias", request.record.ServerAlias);
    words("--include", "Include", request.record.Include);
    words("--index", "DirectoryIndex", request.record.DirIndex);
    const std::string file = place->file->path();
    if (arguments.has("--mode")) {
        const mode_t mode = modeOf(arguments.one("--mode"));
        struct stat status {};
        const std::string folder =
            request.folder.empty() ? std::string(place->block->root) : request.folder;
        if (::stat(folder.c_str(), &status) != 0) {
            return failure(Status::NotFound, systemError(folder));
        }
        if ((status.st_mode & 07777) != mode) {
            setModeAfterwards(change, file, request.domain, request.folder, mode);
        }
    } else if (request.keywords.empty()) {
        return failure(Status::Usage, "site set: nothing to set; expected one of its options");
    }
    change.output().set("site", request.domain);
    if (request.keywords.empty()) {
        return done();
    }
    return mergeInto(change, file, request, "UpdateWebsite", [](CZPWebsite& website, UpdateVHost& record) {
        return website.UpdateWebsite(&record);
    });
}

// The merge replaces the site's DocumentRoot line; it adds none.
Outcome needsRoot(const Place& place) {
    return place.block->root.empty() ? failure(Status::NotFound, "site " + inQuotes(place.block->name) +
                                                                     " has no DocumentRoot line")
                                     : done();
}

Outcome suspend(Transaction& change, const Arguments& arguments) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    if (Outcome root = needsRoot(*place); !root.ok()) {
        return root;
    }
    Request request;
    request.domain = place->block->name;
    request.keywords = {"DocumentRoot"};
    change.output().set("site", request.domain);
    change.output().set("state", "suspended");
    if (place->block->root == "message.htm") {
        return done();
    }
    return mergeInto(
        change, place->file->path(), request, "EnableMessage",
        [](CZPWebsite& website, UpdateVHost& record) { return website.EnableMessage(&record); });
}

Outcome resume(Transaction& change, const Arguments& arguments) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    const std::string home = arguments.one("--home", std::string(place->block->home));
    if (home.empty() || home.front() != '/') {
        return failure("the block of " + arguments.one("SITE") +
                       " does not tell the site's home: name it with --home");
    }
    if (Outcome root = needsRoot(*place); !root.ok()) {
        return root;
    }
    Request request;
    request.domain = place->block->name;
    request.keywords = {"DocumentRoot"};
    change.output().set("site", request.domain);
    change.output().set("state", "running");
    if (place->block->root == home + "/www/html") {
        return done();
    }
    return mergeInto(change, place->file->path(), request, "DisableMessage",
                     [&](CZPWebsite& website, UpdateVHost& record) {
                         return website.DisableMessage(&record, home.c_str());
                     });
}

Outcome port(Transaction& change, const Arguments& arguments) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    const std::string name(place->block->name);
    const std::string address = arguments.one("--address", bareAddress(place->block->address));
    const std::string portNumber = arguments.one("PORT");
    Edit edit;
    edit.file = place->file->path();
    edit.bound = bound::Port;
    edit.scope = [&](const ConfigurationFile& file) {
        return siteScope(file, name, beginsWithAny({"<VirtualHost"}));
    };
    edit.operation = [&](const std::string& staged) {
        return ApacheHelper().Apache_ChangeVirtualHostPort(staged, name, address, portNumber);
    };
    edit.meaning = [](int result) { return resultOf("Apache_ChangeVirtualHostPort", result, {0}); };
    return change.edit(edit);
}

// --- host names
// -------------------------------------------------------------------------------------------

Outcome changeHost(Transaction& change, const Arguments& arguments, bool add) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    const std::string name(place->block->name);
    const std::string host = arguments.one("HOST");
    const Readable readable(*place->file);
    const Info info(change.output(), readable.path(), name);
    const auto& hosts = info.record.ServerAlias;
    const bool listed = std::find(hosts.begin(), hosts.end(), host) != hosts.end();
    change.output().set("site", name);
    change.output().set("host", host);
    if (listed == add) {
        return done();  // already so
    }
    if (add && !hosts.empty()) {
        const auto elsewhere = change.configuration().find(host);
        if (!elsewhere.empty()) {
            return failure(Status::Exists, "host name " + inQuotes(host) +
                                               ": it is a site of its own, at " + elsewhere.front().text());
        }
    }
    constexpr int Added = 0;
    constexpr int ListedAlready = 2;
    Edit edit;
    edit.file = place->file->path();
    edit.bound = bound::Directive;
    edit.scope = [&](const ConfigurationFile& file) {
        return siteScope(file, name, beginsWithAny({"ServerAlias"}));
    };
    edit.operation = [&](const std::string& staged) {
        CZPWebsite website(nullptr, staged.c_str());
        return add ? website.AddHostHeader(name, host) : website.DeleteHostHeader(name, host);
    };
    edit.meaning = [&](int result) {
        if (add && result == ListedAlready) {
            return failure(Status::Exists,
                           "host name " + inQuotes(host) +
                               ": the library takes it for listed, since a listed name begins with it");
        }
        return result == 1 && hosts.empty()
                   ? failure(Status::NotFound, "site " + inQuotes(name) + " has no ServerAlias line")
                   : resultOf(add ? "AddHostHeader" : "DeleteHostHeader", result, {Added});
    };
    return change.edit(edit);
}

Outcome addHost(Transaction& change, const Arguments& arguments) {
    return changeHost(change, arguments, true);
}
Outcome removeHost(Transaction& change, const Arguments& arguments) {
    return changeHost(change, arguments, false);
}

}  // namespace

std::vector<Command> siteSettingCommands() {
    const Parameter site{"SITE", Kind::HostName, "", "The site's name", true};
    const Parameter host{"HOST", Kind::HostName, "", "A further name of the site", true};
    return {
        {"site show",
         "Show a website's settings",
         {site},
         {"CZPWebsite::GetWebsiteInfo", "CZPWebsite::GetRootDocPath", "CZPWebsite::LookupDomainInConfFile",
          "CZPWebsite::WebsiteExists", "CZPWebsite::ISIPLessDomain"},
         show},
        {"site set",
         "Change a website's settings",
         {site,
          {"--alias", Kind::Assignment, "URL=FOLDER", "A folder under a URL path", false, true},
          {"--script-alias", Kind::Assignment, "URL=FOLDER", "A folder of scripts", false, true},
          {"--proxy", Kind::Assignment, "URL=TARGET", "A proxied path; it becomes a redirection", false,
           true},
          {"--redirect", Kind::Assignment, "URL=TARGET", "A redirection", false, true},
          {"--error-document", Kind::Assignment, "CODE=DOCUMENT", "A page for an error", false, true},
          {"--host-name", Kind::HostName, "NAME", "The site's further names, all of them", false, true},
          {"--include", Kind::Path, "FILE", "The files that it includes, all of them", false, true},
          {"--index", Kind::Word, "FILE", "Its index files, all of them", false, true},
          {"--mode", Kind::Mode, "MODE", "Permission bits of its document root, or of --folder"},
          {"--folder", Kind::Path, "FOLDER", "The folder that --mode is for"}},
         {"CZPWebsite::UpdateWebsite", "CZPWebsite::GetWebsiteInfo"},
         nullptr,
         set,
         "An empty VALUE removes the entry NAME. An existing script alias keeps its target; remove it "
         "first."},
        {"site suspend",
         "Let a website answer with the message page",
         {site},
         {"CZPWebsite::EnableMessage"},
         nullptr,
         suspend},
        {"site resume",
         "Let a suspended website answer again",
         {site, {"--home", Kind::Path, "FOLDER", "Its home (default: its block's first folder)"}},
         {"CZPWebsite::DisableMessage"},
         nullptr,
         resume},
        {"site port",
         "Change the address line of a website's first block",
         {site,
          {"PORT", Kind::Port, "", "The new port", true},
          {"--address", Kind::Address, "IP", "The new address"}},
         {"ApacheHelper::Apache_ChangeVirtualHostPort"},
         nullptr,
         port},
        {"host add",
         "Give a website a further name",
         {site, host},
         {"CZPWebsite::AddHostHeader"},
         nullptr,
         addHost},
        {"host remove",
         "Take a further name away",
         {site, host},
         {"CZPWebsite::DeleteHostHeader"},
         nullptr,
         removeHost},
    };
}

}  // namespace zpweb
