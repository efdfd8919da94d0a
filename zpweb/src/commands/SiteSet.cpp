// site set: changes a site's settings.
#include <sys/stat.h>

#include "commands/Commands.h"
#include "commands/shared/Merge.h"
#include "commands/shared/Operation.h"
#include "input/Quoted.h"
#include "sys/File.h"
#include "sys/GuardedFolder.h"

namespace zpweb {

namespace {

constexpr auto Alias = options("--alias", Kind::Assignment, "URL=FOLDER", "A folder under a URL path");
constexpr auto ScriptAlias =
    options("--script-alias", Kind::Assignment, "URL=FOLDER", "A folder of scripts");
constexpr auto Proxy =
    options("--proxy", Kind::Assignment, "URL=TARGET", "A proxied path; it becomes a redirection");
constexpr auto Redirect = options("--redirect", Kind::Assignment, "URL=TARGET", "A redirection");
constexpr auto ErrorDocument =
    options("--error-document", Kind::Assignment, "CODE=DOCUMENT", "A page for an error");
constexpr auto HostNames =
    options("--host-name", Kind::HostName, "NAME", "The site's further names, all of them");
constexpr auto Include =
    options("--include", Kind::Path, "FILE", "The files that it includes, all of them");
constexpr auto Index = options("--index", Kind::Word, "FILE", "Its index files, all of them");
constexpr auto Mode =
    option("--mode", Kind::Mode, "MODE", "Permission bits of its document root, or of --folder");
constexpr auto Folder = option("--folder", Kind::Path, "FOLDER", "The folder that --mode is for");

NameValueVector assignments(const std::vector<std::string>& values) {
    NameValueVector pairs;
    for (const std::string& value : values) {
        const size_t sign = value.find('=');
        pairs.push_back({value.substr(0, sign), value.substr(sign + 1)});
    }
    return pairs;
}

using TextsOption = Of<std::vector<std::string>>;

// What options fill a list of the record, and the directives that it stands for.
struct PairsOption {
    TextsOption option;
    NameValueVector UpdateVHost::*list;
    std::vector<std::string> keywords;
};
struct WordsOption {
    TextsOption option;
    StringVector UpdateVHost::*list;
    const char* keyword;
};

MergeRequest requestFrom(const Arguments& given) {
    static const std::vector<PairsOption> pairs = {
        {Alias, &UpdateVHost::Alias, {"Alias"}},
        {ScriptAlias, &UpdateVHost::ScriptAlias, {"ScriptAlias"}},
        {Proxy, &UpdateVHost::ProxyPass, {"ProxyPass", "ProxyPassReverse", "Redirect"}},
        {Redirect, &UpdateVHost::Redirect, {"Redirect"}},
        {ErrorDocument, &UpdateVHost::ErrorDoc, {"ErrorDocument"}}};
    static const std::vector<WordsOption> words = {{HostNames, &UpdateVHost::ServerAlias, "ServerAlias"},
                                                   {Include, &UpdateVHost::Include, "Include"},
                                                   {Index, &UpdateVHost::DirIndex, "DirectoryIndex"}};
    MergeRequest request;
    for (const PairsOption& each : pairs) {
        if (given.has(each.option)) {
            request.record.*each.list = assignments(given[each.option]);
            request.keywords.insert(request.keywords.end(), each.keywords.begin(), each.keywords.end());
        }
    }
    for (const WordsOption& each : words) {
        if (given.has(each.option)) {
            request.record.*each.list = given[each.option];
            request.keywords.emplace_back(each.keyword);
        }
    }
    return request;
}

mode_t modeOf(const std::string& text) { return static_cast<mode_t>(std::stoul(text, nullptr, 8)); }

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
        zp::host::Effect access;
        access.path = target;
        access.mode = mode;
        change.outstanding(std::move(access));
    }
    return done();
}

Outcome set(Transaction& change, const Site& site, const Arguments& given) {
    const Place& place = site.first();
    MergeRequest request = requestFrom(given);
    request.domain = site.name();
    request.folder = given[Folder].value_or("");
    if (const auto bits = given[Mode]) {
        Outcome mode = setMode(change, place, request.folder, modeOf(*bits));
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

}  // namespace

Command siteSet() {
    return {
        .words = "site set",
        .summary = "Change a website's settings",
        .action = set,
        .parameters = {SiteName, Alias, ScriptAlias, Proxy, Redirect, ErrorDocument, HostNames, Include,
                       Index, Mode, Folder},
        .operations = {"CZPWebsite::UpdateWebsite", "CZPWebsite::GetWebsiteInfo"},
        .more =
            "An empty VALUE removes the entry NAME. An existing script alias keeps its target; remove it "
            "first.",
        .examples = {"site set shop.example --redirect /old=https://shop.example/new --diff",
                     "site set shop.example --error-document 404=/missing.html --index index.php",
                     "site set shop.example --redirect /old="},
    };
}

}  // namespace zpweb
