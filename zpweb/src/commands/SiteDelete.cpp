// site delete: removes a site's blocks, and its home when asked to.
#include <algorithm>

#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "commands/shared/SiteEdit.h"
#include "input/HostName.h"
#include "input/Quoted.h"
#include "sys/File.h"
#include "sys/GuardedFolder.h"

namespace zpweb {

namespace {

constexpr auto RemoveFolders =
    flag("--remove-folders", "Also remove the site's home and all that it holds");

constexpr char Deleted = 24;

// The site's home, as its block tells: where its folders may be removed from.
Expected<std::string> removableHome(const Configuration& configuration, const Block& block) {
    const std::string home(block.home);
    const std::string name(block.name);
    if (home.size() < 4 || nameOf(home) != name || std::count(home.begin(), home.end(), '/') < 2) {
        return failure("the block of " + name +
                       " names no home of its own; its folders stay: nothing is done");
    }
    const SameHost matches(name);
    for (const auto& file : configuration.files()) {
        for (const Block& each : file->blocks()) {
            if ((std::string(each.root) + "/").starts_with(home + "/") && !matches(each.name)) {
                return failure(home + " is used by site " + std::string(each.name) + ": nothing is done");
            }
        }
    }
    return home;
}

Outcome removeFolders(Transaction& change, const Block& block) {
    const auto home = removableHome(change.configuration(), block);
    if (!home.ok()) {
        return home.outcome();
    }
    if (Outcome reached = reachedWithoutForeignLink(*home); !reached.ok()) {
        return reached;
    }
    change.output().set("removed", *home);
    change.outstanding({zp::host::Effect::Step::RemoveTree, *home});
    return done();
}

Edit deletionOf(const std::string& name) {
    Edit edit;
    edit.bound = bound::Deletion;
    edit.site = name;
    edit.scope = [name](const ConfigurationFile& file) {
        Scope scope = siteScope(file, name);
        scope.takesBlankLine = true;
        return scope;
    };
    edit.operation = [name](const std::string& staged) {
        return CZPWebsite(nullptr, staged.c_str()).DeleteWebsite(name.c_str(), 0);
    };
    edit.meaning = expecting("DeleteWebsite", {Deleted});
    edit.look = [name](std::string_view made) {
        return stoppedBlocks(made, name).empty()
                   ? done()
                   : failure("site " + inQuotes(name) +
                             " cannot be deleted: its ServerName line has more on it");
    };
    return edit;
}

Outcome remove(Transaction& change, const Site& site, const Arguments& given) {
    const std::string name(site.places.front().block->name);
    if (given[RemoveFolders]) {
        if (Outcome removable = removeFolders(change, *site.places.front().block); !removable.ok()) {
            return removable;
        }
    }
    change.output().set("site", name);
    return editAll(change, site, deletionOf(name));
}

}  // namespace

Command siteDelete() {
    return {
        .words = "site delete",
        .summary = "Delete a website's blocks",
        .action = remove,
        .parameters = {SiteName, RemoveFolders},
        .operations = {"CZPWebsite::DeleteWebsite", "RemoveDir"},
        .examples = {"site delete shop.example --dry-run --diff",
                     "site delete shop.example --remove-folders"},
        .removesSite = true,
        .onStopped = true,
    };
}

}  // namespace zpweb
