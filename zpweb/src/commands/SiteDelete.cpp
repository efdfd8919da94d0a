// site delete: removes a site's blocks, and its home when asked to.
#include <algorithm>

#include "CZPWebsite.h"
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/SiteFiles.h"
#include "commands/shared/Suspended.h"
#include "commands/shared/WholeBlock.h"
#include "conf/Bounds.h"
#include "conf/Text.h"
#include "input/HostName.h"
#include "server/DirectoryPaths.h"
#include "settings/SiteSettings.h"
#include "settings/TlsChange.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/Mounts.h"

namespace zpweb {

namespace {

constexpr auto RemoveDirectories =
    flag("--remove-folders", "Also remove the site's home and all that it holds");

constexpr char Deleted = zp::result::website::Deleted;

// The site's home, as its block tells: where its directories may be removed from.
Expected<std::string> removableHome(const Configuration& configuration, const Block& block) {
    const std::string home(block.home);
    const std::string name(block.name);
    if (home.size() < 4 || nameOf(home) != name || std::count(home.begin(), home.end(), '/') < 2) {
        return failure("the block of " + name +
                       " names no home of its own; its directories stay: nothing is done");
    }
    const SameHost matches(name);
    for (const ConfigurationFile* file : configuration.namingBelow(home)) {
        for (const Block& each : file->blocks()) {
            if ((std::string(each.root) + "/").starts_with(home + "/") && !matches(each.name)) {
                return failure(home + " is used by site " + std::string(each.name) + ": nothing is done");
            }
        }
    }
    return home;
}

Outcome removeDirectories(Transaction& change, const Block& block) {
    const auto home = removableHome(change.configuration(), block);
    if (!home.ok()) {
        return home.outcome();
    }
    if (Outcome reached = reachedWithoutForeignLink(*home); !reached.ok()) {
        return reached;
    }
    if (const auto mount = mountIn(*home)) {
        return failure(*mount +
                       ": something is mounted there, and would be lost with the home; unmount it "
                       "first: nothing is done");
    }
    change.output().set("removed", *home);
    change.outstanding({zp::host::Effect::Step::RemoveTree, *home});
    return done();
}

// What a line says once it counts: one of a stopped site does when that is started.
std::string_view meantBy(const ConfigurationFile& file, size_t number) {
    const std::string_view text = zp::conf::skipSpace(file.lines()[number]);
    const Block* block = text.starts_with('#') ? file.blockAt(number) : nullptr;
    return block != nullptr && block->stopped ? zp::conf::skipSpace(text.substr(1)) : text;
}

// What other sites, or the server, have in the home, once the site's own lines are gone. Sections for what
// is gone do no harm.
Outcome isUnused(const Configuration& configuration, const std::string& home) {
    for (const ConfigurationFile* file : configuration.namingBelow(home)) {
        for (size_t i = 0; i < file->lines().size(); ++i) {
            const std::string_view text = meantBy(*file, i);
            if (!text.starts_with('#') && !text.starts_with('<') && leadsInto(text, home)) {
                return failure(home + " is used at " + file->path() + ":" +
                               std::to_string(file->firstLine() + i + 1) + ": nothing is done");
            }
        }
    }
    return done();
}

Outcome removeBlocks(Transaction& change, const Site& site) {
    const auto blocks = blocksOf(site, [](const Block& block) { return block.closed; });
    if (blocks.size() != site.places.size()) {
        return failure(site.first().text() +
                       ": a <VirtualHost> of the site is never closed; close it first");
    }
    return editWhole(change, blocks,
                     {.bound = zp::conf::bound::Deletion,
                      .takesBlankLine = true,
                      .run =
                          [](const std::string& staged, const std::string& domain) {
                              return CZPWebsite(nullptr, staged.c_str()).DeleteWebsite(domain.c_str(), 0);
                          },
                      .meaning = expecting("DeleteWebsite", {Deleted}),
                      .took = [](std::string_view made) { return made.empty(); },
                      .become = [](std::string_view) { return std::string(); }});
}

Outcome deleteSite(Transaction& change, const Site& site, const Arguments& given) {
    const std::string name(site.places.front().block->name);
    const std::string home(site.places.front().block->home);
    if (given[RemoveDirectories]) {
        if (Outcome removable = removeDirectories(change, *site.places.front().block); !removable.ok()) {
            return removable;
        }
    }
    const std::string suspension = suspensionFile(change, site);
    change.output().set("site", site.name());
    const std::vector<std::string> files = site.files();
    Outcome removed = removeBlocks(change, site);
    for (size_t i = 0; removed.ok() && i < files.size(); ++i) {
        removed = removeLeftover(change, files[i]);
    }
    if (!removed.ok()) {
        return removed;
    }
    forgetKeptCertificate(change, name);
    Outcome gone = forgetSettings(change, name);
    gone = gone.ok() && change.contentOf(suspension) ? removeSettingFile(change, suspension) : gone;
    return gone.ok() && given[RemoveDirectories] ? isUnused(change.configuration(), home) : gone;
}

}  // namespace

Command siteDelete() {
    return {
        .words = "site delete",
        .summary = "Delete a website's blocks",
        .action = deleteSite,
        .parameters = {SiteName, RemoveDirectories},
        .operations = {"CZPWebsite::DeleteWebsite", "RemoveDir"},
        .more = "A file of its own goes, too, with the link to it.",
        .examples = {"site delete shop.example --dry-run --diff",
                     "site delete shop.example --remove-folders"},
        .removesSite = true,
        .onStopped = true,
    };
}

}  // namespace zpweb
