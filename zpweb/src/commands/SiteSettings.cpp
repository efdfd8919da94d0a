// Websites: settings and suspension.
#include <sys/stat.h>

#include "commands/Groups.h"
#include "commands/Parameters.h"
#include "commands/Scopes.h"
#include "commands/SiteInfo.h"
#include "input/Quoted.h"
#include "sys/File.h"
#include "sys/GuardedFolder.h"

namespace zpweb {

namespace {

constexpr char Merged = 96;

// What an operation is to change: these directives, to what the record says.
struct Request {
    std::vector<std::string> keywords;
    UpdateVHost record{};
    std::string domain, folder;
};

using SiteCall = std::function<int(CZPWebsite&, UpdateVHost&)>;

// The merge replaces a site's host names, includes and index files by those of the record. What is not to
// be changed is in the record as it is, and its lines are kept.
Outcome mergeInto(Transaction& change, const std::string& file, const Request& request,
                  const std::string& operation, const SiteCall& call) {
    Edit edit;
    edit.file = file;
    edit.bound = bound::Merge;
    edit.scope = [&](const ConfigurationFile& current) {
        return siteScope(current, request.domain, beginsWithAny(request.keywords));
    };
    edit.operation = [&](const std::string& staged) {
        const SiteInfo present(change.output(), staged, request.domain);
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
    edit.meaning = expecting(operation, {Merged});
    return change.edit(edit);
}

NameValueVector assignments(const std::vector<std::string>& values) {
    NameValueVector pairs;
    for (const std::string& value : values) {
        const size_t sign = value.find('=');
        pairs.push_back({value.substr(0, sign), value.substr(sign + 1)});
    }
    return pairs;
}

// What options fill a list of the record, and the directives that it stands for.
struct PairsOption {
    const char* option;
    NameValueVector UpdateVHost::*list;
    std::vector<std::string> keywords;
};
struct WordsOption {
    const char* option;
    StringVector UpdateVHost::*list;
    const char* keyword;
};

Request requestFrom(const Arguments& arguments) {
    static const std::vector<PairsOption> pairs = {
        {"--alias", &UpdateVHost::Alias, {"Alias"}},
        {"--script-alias", &UpdateVHost::ScriptAlias, {"ScriptAlias"}},
        {"--proxy", &UpdateVHost::ProxyPass, {"ProxyPass", "ProxyPassReverse", "Redirect"}},
        {"--redirect", &UpdateVHost::Redirect, {"Redirect"}},
        {"--error-document", &UpdateVHost::ErrorDoc, {"ErrorDocument"}}};
    static const std::vector<WordsOption> words = {
        {"--host-name", &UpdateVHost::ServerAlias, "ServerAlias"},
        {"--include", &UpdateVHost::Include, "Include"},
        {"--index", &UpdateVHost::DirIndex, "DirectoryIndex"}};
    Request request;
    for (const PairsOption& each : pairs) {
        if (arguments.has(each.option)) {
            request.record.*each.list = assignments(arguments.all(each.option));
            request.keywords.insert(request.keywords.end(), each.keywords.begin(), each.keywords.end());
        }
    }
    for (const WordsOption& each : words) {
        if (arguments.has(each.option)) {
            request.record.*each.list = arguments.all(each.option);
            request.keywords.emplace_back(each.keyword);
        }
    }
    return request;
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

Outcome setMode(Transaction& change, const Place& place, const std::string& folder, mode_t mode) {
    const std::string target = folder.empty() ? std::string(place.block->root) : folder;
    struct stat status {};
    if (::stat(target.c_str(), &status) != 0) {
        return failure(Status::NotFound, systemError(target));
    }
    if (Outcome reached = reachedWithoutForeignLink(target); !reached.ok()) {
        return reached;
    }
    if ((status.st_mode & 07777) != mode) {
        setModeAfterwards(change, place.file->path(), std::string(place.block->name), folder, mode);
    }
    return done();
}

Outcome set(Transaction& change, const Place& place, const Arguments& arguments) {
    Request request = requestFrom(arguments);
    request.domain = place.block->name;
    request.folder = arguments.one("--folder");
    if (arguments.has("--mode")) {
        Outcome mode = setMode(change, place, request.folder, modeOf(arguments.one("--mode")));
        if (!mode.ok()) {
            return mode;
        }
    } else if (request.keywords.empty()) {
        return failure(Status::Usage, "site set: nothing to set; expected one of its options");
    }
    change.output().set("site", request.domain);
    if (request.keywords.empty()) {
        return done();
    }
    return mergeInto(
        change, place.file->path(), request, "UpdateWebsite",
        [](CZPWebsite& website, UpdateVHost& record) { return website.UpdateWebsite(&record); });
}

// --- suspension ---

// The merge replaces the site's DocumentRoot line; it adds none.
Outcome changeRoot(Transaction& change, const Place& place, const std::string& root, const char* operation,
                   const SiteCall& call) {
    Request request;
    request.domain = place.block->name;
    request.keywords = {"DocumentRoot"};
    if (place.block->root.empty()) {
        return failure(Status::NotFound, "site " + inQuotes(request.domain) + " has no DocumentRoot line");
    }
    change.output().set("site", request.domain);
    return place.block->root == root ? done()
                                     : mergeInto(change, place.file->path(), request, operation, call);
}

Outcome suspend(Transaction& change, const Place& place, const Arguments&) {
    Outcome suspended =
        changeRoot(change, place, "message.htm", "EnableMessage",
                   [](CZPWebsite& website, UpdateVHost& record) { return website.EnableMessage(&record); });
    change.output().set("state", "suspended");
    return suspended;
}

Outcome resume(Transaction& change, const Place& place, const Arguments& arguments) {
    const std::string home = arguments.one("--home", std::string(place.block->home));
    if (home.empty() || home.front() != '/') {
        return failure("the block of " + arguments.one("SITE") +
                       " does not tell the site's home: name it with --home");
    }
    Outcome resumed = changeRoot(change, place, home + "/www/html", "DisableMessage",
                                 [&](CZPWebsite& website, UpdateVHost& record) {
                                     return website.DisableMessage(&record, home.c_str());
                                 });
    change.output().set("state", "running");
    return resumed;
}

}  // namespace

std::vector<Command> siteSettings() {
    return {
        {"site set",
         "Change a website's settings",
         set,
         {siteName(), options("--alias", Kind::Assignment, "URL=FOLDER", "A folder under a URL path"),
          options("--script-alias", Kind::Assignment, "URL=FOLDER", "A folder of scripts"),
          options("--proxy", Kind::Assignment, "URL=TARGET", "A proxied path; it becomes a redirection"),
          options("--redirect", Kind::Assignment, "URL=TARGET", "A redirection"),
          options("--error-document", Kind::Assignment, "CODE=DOCUMENT", "A page for an error"),
          options("--host-name", Kind::HostName, "NAME", "The site's further names, all of them"),
          options("--include", Kind::Path, "FILE", "The files that it includes, all of them"),
          options("--index", Kind::Word, "FILE", "Its index files, all of them"),
          option("--mode", Kind::Mode, "MODE", "Permission bits of its document root, or of --folder"),
          option("--folder", Kind::Path, "FOLDER", "The folder that --mode is for")},
         {"CZPWebsite::UpdateWebsite", "CZPWebsite::GetWebsiteInfo"},
         "An empty VALUE removes the entry NAME. An existing script alias keeps its target; remove it "
         "first."},
        {"site suspend",
         "Let a website answer with the message page",
         suspend,
         {siteName()},
         {"CZPWebsite::EnableMessage"}},
        {"site resume",
         "Let a suspended website answer again",
         resume,
         {siteName(),
          option("--home", Kind::Path, "FOLDER", "Its home (default: its block's first folder)")},
         {"CZPWebsite::DisableMessage"}},
    };
}

}  // namespace zpweb
