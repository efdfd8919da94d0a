// site set: changes a site's settings.
#include <sys/stat.h>

#include <algorithm>
#include <set>

#include "commands/Commands.h"
#include "commands/shared/Expectations.h"
#include "commands/shared/HostNames.h"
#include "commands/shared/Merge.h"
#include "commands/shared/Operation.h"
#include "conf/Text.h"
#include "input/HostName.h"
#include "input/Quoted.h"
#include "server/DirectoryRules.h"
#include "server/PassedOn.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/Look.h"

namespace zpweb {

namespace {

constexpr auto Alias = options("--alias", Kind::Assignment, "URL=FOLDER", "A directory under a URL path");
constexpr auto ScriptAlias =
    options("--script-alias", Kind::Assignment, "URL=FOLDER", "A directory of scripts");
constexpr auto Proxy =
    options("--proxy", Kind::Assignment, "URL=TARGET", "A proxied path; it becomes a redirection");
constexpr auto Redirect = options("--redirect", Kind::Assignment, "URL=TARGET", "A redirection");
constexpr auto ErrorDocument =
    options("--error-document", Kind::Assignment, "CODE=DOCUMENT", "A page for an error");
constexpr auto HostNames =
    options("--host-name", Kind::Alias, "NAME", "The site's further names, all of them");
constexpr auto Include =
    options("--include", Kind::Path, "FILE", "The files that it includes, all of them");
constexpr auto Index = options("--index", Kind::Word, "FILE", "Its index files, all of them");
constexpr auto Mode =
    option("--mode", Kind::Mode, "MODE", "Permission bits of its document root, or of --folder");
constexpr auto Directory = option("--folder", Kind::Path, "FOLDER", "The directory that --mode is for");

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
        {Proxy, &UpdateVHost::ProxyPass, {"ProxyPass"}},
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

mode_t octalMode(const std::string& text) { return static_cast<mode_t>(std::stoul(text, nullptr, 8)); }

Outcome setMode(Transaction& change, const Place& place, const std::string& directory, mode_t mode) {
    const std::string target = directory.empty() ? std::string(place.block->root) : directory;
    struct stat status {};
    if (!lookAt(target, status)) {
        return failure(Status::NotFound, systemError(target));
    }
    if (Outcome reached = reachedWithoutForeignLink(target); !reached.ok()) {
        return reached;
    }
    if (Outcome own = isNotMovedThere(target); !own.ok()) {
        return own;
    }
    if ((status.st_mode & 07777) != mode) {
        zp::host::Effect access;
        access.path = target;
        access.mode = mode;
        change.outstanding(std::move(access));
    }
    return done();
}

std::string lowerHostOf(std::string_view target) {
    std::string host(hostOf(zp::conf::upTo(target.substr(target.find("://") + 3), "/")));
    std::transform(host.begin(), host.end(), host.begin(), zp::conf::lower);
    return host;
}

std::string pathAsked(const std::string& target) {
    const size_t slash = target.find('/', target.find("://") + 3);
    return slash == std::string::npos ? "/"
                                      : target.substr(slash, target.find_first_of("?#", slash) - slash);
}

// To a port of the block's, or without one by its scheme: what stands before the server may pass that on.
// Whether an included file switches TLS on, the block does not tell.
bool leadsBack(const Block& block, bool tls, const std::string& port) {
    const bool anyPort = isOnPort(block, "") || isOnPort(block, "*");
    return isOnPort(block, port.empty() ? (tls ? "443" : "80") : port) ||
           (tls == block.tls && (port.empty() || anyPort));
}

// Would the block answer with a redirection to what it redirects?
bool leadsToItself(const Block& block, const NameValueSt& redirection) {
    const std::string& target = redirection.Value;
    const size_t scheme = target.find("://");
    if (scheme == std::string::npos) {
        return false;
    }
    const std::string host = lowerHostOf(target);
    const std::string written =
        target.substr(scheme + 3, target.find_first_of("/?#", scheme + 3) - scheme - 3);
    return (sameHost(block.name, host) || listsHost(block, host)) &&
           leadsBack(block, target.starts_with("https"), std::string(portOf(written))) &&
           takesIn(redirection.Name, pathAsked(target));
}

// The path of a request begins with a slash. One that is there and does not can be removed.
Outcome canBeAsked(const Arguments& given) {
    for (const TextsOption& option : {Alias, ScriptAlias, Proxy, Redirect}) {
        for (const NameValueSt& pair : assignments(given[option])) {
            if (!pair.Value.empty() && !pair.Name.starts_with('/') && !pair.Name.starts_with("${")) {
                return failure(Status::Usage, std::string(option.parameter.name) + ": " +
                                                  inQuotes(pair.Name) +
                                                  " is no path that can be asked for; expected it to begin "
                                                  "with a slash");
            }
        }
    }
    return done();
}

// For a redirection that no block can have there is nothing to do, and a second one of its name is never
// asked.
Outcome canAllBe(const Transaction& change, const std::vector<BlockAt>& blocks, const Arguments& given) {
    for (const TextsOption& option : {Alias, ScriptAlias, Proxy, Redirect, ErrorDocument}) {
        std::set<std::string> names;
        for (const NameValueSt& pair : assignments(given[option])) {
            if (!names.insert(pair.Name).second) {
                return failure(Status::Usage, std::string(option.parameter.name) + ": " +
                                                  inQuotes(pair.Name) +
                                                  " is given twice; expected it once");
            }
        }
    }
    for (const NameValueSt& redirection : assignments(given[Redirect])) {
        if (std::all_of(blocks.begin(), blocks.end(), [&](const BlockAt& at) {
                return leadsToItself(at.in(change.configuration()), redirection);
            })) {
            return failure(Status::Usage, "--redirect " +
                                              inQuotes(redirection.Name + "=" + redirection.Value) +
                                              ": it would lead to itself");
        }
    }
    return done();
}

// A section for the document root has the last word about index files and the pages of errors.
void expectPages(Transaction& change, const BlocksOf& blocks, const Arguments& given) {
    if (!given[Index].empty()) {
        change.expect(blocks.site, std::string(AboutBlocks) + "index",
                      holdsAtRoot(blocks, "DirectoryIndex"));
    }
    for (const NameValueSt& page : assignments(given[ErrorDocument])) {
        if (!page.Value.empty()) {
            change.expect(blocks.site, std::string(AboutBlocks) + "error " + page.Name,
                          holdsAtRoot(blocks, "ErrorDocument", page.Name));
        }
    }
}

// What the block would answer by these settings must not be passed on to another server.
void expectAnswers(Transaction& change, const Site& site, const Arguments& given) {
    const auto blocks = blocksAskedFor(site, given);
    const auto expect = [&](const std::string& path, const std::string& wayOut) {
        if (blocks) {
            change.expect(blocks->site, std::string(AboutBlocks) + "answers " + path,
                          answersItself(*blocks, path, wayOut));
            change.expect(blocks->site, std::string(AboutBlocks) + "answers " + path + " here",
                          isNotLedAway(*blocks, path, wayOut));
        }
    };
    for (const TextsOption& option : {Alias, ScriptAlias, Redirect}) {
        for (const NameValueSt& pair : assignments(given[option])) {
            if (!pair.Value.empty()) {
                expect(pair.Name, option.parameter.name == Redirect.parameter.name
                                      ? ": use \"redirect set\", which comes before"
                                      : ": give it an exception first: ProxyPass " + pair.Name +
                                            " ! or RewriteRule ^" + pair.Name +
                                            " - [L] above that line; where it is in a section, "
                                            "<Location " +
                                            pair.Name + "> with ProxyPass ! below that section");
            }
        }
    }
    if (given.has(Index)) {
        expect("/", ", and no index file is looked for");
    }
    if (blocks) {
        expectPages(change, *blocks, given);
    }
}

Outcome setInBlock(Transaction& change, const BlockAt& at, MergeRequest request) {
    const Block& block = at.in(change.configuration());
    const size_t looping = std::erase_if(request.record.Redirect, [&](const NameValueSt& redirection) {
        return leadsToItself(block, redirection);
    });
    if (looping > 0) {
        change.output().note(at.place(change.configuration()) +
                             ": left without a redirection that would lead to itself");
    }
    return mergeInto(change, at, request, "UpdateWebsite", [](CZPWebsite& website, UpdateVHost& record) {
        return website.UpdateWebsite(&record);
    });
}

Outcome setSite(Transaction& change, const Site& site, const Arguments& given) {
    const MergeRequest request = requestFrom(given);
    if (Outcome can = canBeAsked(given); !can.ok()) {
        return can;
    }
    if (const auto bits = given[Mode]) {
        Outcome mode = setMode(change, site.first(), given[Directory].value_or(""), octalMode(*bits));
        if (!mode.ok()) {
            return mode;
        }
    } else if (request.keywords.empty()) {
        return failure(Status::Usage, "site set: nothing to set; expected one of its options");
    }
    change.output().set("site", site.name());
    const auto blocks = runningBlocks(change.configuration(), site, given);
    if (!blocks.ok() || request.keywords.empty()) {
        return blocks.outcome();
    }
    expectAnswers(change, site, given);
    Outcome outcome = canAllBe(change, *blocks, given);
    for (const BlockAt& at : *blocks) {
        outcome = outcome.ok() ? setInBlock(change, at, request) : outcome;
    }
    return outcome;
}

}  // namespace

Command siteSet() {
    return {
        .words = "site set",
        .summary = "Change a website's settings",
        .action = setSite,
        .parameters = {SiteName, Alias, ScriptAlias, Proxy, Redirect, ErrorDocument, HostNames, Include,
                       Index, Mode, Directory, OnPort},
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
