// vdir create: gives a directory of a site a block of its own.
#include <sys/stat.h>

#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/BlockLines.h"
#include "commands/shared/DirectoryBlock.h"
#include "conf/Bounds.h"
#include "input/Quoted.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/Look.h"

namespace zpweb {

namespace {

constexpr int BlockMade = zp::result::directory::Created;

// The library takes the directory for that of the DocumentRoot line where the block has one.
void showRoot(View& view, const std::string& directory) {
    view.show(isOneOf({"DocumentRoot"}));
    if (view.lines().size() == 3) {
        view.provide("DocumentRoot \"" + directory + "\"");
    }
}

// Another account's directory, anywhere on the host, is not a site's to be given.
Outcome mayBeGiven(const std::string& directory, const std::string& home) {
    struct stat given {};
    struct stat owners {};
    if (Outcome own = isNotMovedThere(directory); !own.ok()) {
        return own;
    }
    const bool inside = (directory + "/").starts_with(home + "/");
    return home.empty() || inside ||
                   (lookAt(directory, given) && lookAt(home, owners) && given.st_uid == owners.st_uid)
               ? done()
               : failure(directory + ": lies outside of the site's home " + home +
                         " and is not its owner's; it is not given to the site");
}

Outcome createIn(Transaction& change, const BlockAt& at, const std::string& site, const Arguments& given) {
    const bool exact = change.settings().exact;
    const std::string home(at.in(change.configuration()).home);
    if (Outcome ours = given[TakeOver] ? mayBeGiven(given[Directory], home) : done(); !ours.ok()) {
        return ours;
    }
    SDDir record = directoryRecord(given, at.in(change.configuration()), exact);
    return editBlock(
        change, at,
        {.bound = zp::conf::bound::None,
         .show = [&](View& view) { showRoot(view, given[Directory]); },
         .run =
             [&](const std::string& staged, const std::string&) {
                 return CZPVirtualDirectory(nullptr, staged.c_str()).CreateVirtualDirectory(&record, 0);
             },
         .meaning = expecting("CreateVirtualDirectory", {BlockMade}),
         .adjusted =
             [&](std::string_view made) {
                 return exact ? std::string(made) : withAccess(made, given, site, {});
             }});
}

Outcome create(Transaction& change, const Site& site, const Arguments& given) {
    const std::string directory = given[Directory];
    const std::string name = site.name();
    if (given[Perl] || given[Rails]) {
        return failure(Status::Usage,
                       "--perl, --rails: a block that is there can be given them (vdir set)");
    }
    if (!isDirectory(directory)) {
        return failure(Status::NotFound,
                       "path " + inQuotes(directory) + ": no such directory; expected one that is there");
    }
    auto blocks = runningBlocks(change.configuration(), site, given);
    if (!blocks.ok()) {
        return blocks.outcome();
    }
    std::erase_if(*blocks,
                  [&](const BlockAt& at) { return hasSection(at.in(change.configuration()), directory); });
    if (blocks->empty()) {
        return existsAlready(directory + " has a block already: see vdir set");
    }
    change.output().set("site", given[SiteName]);
    change.output().set("folder", directory);
    Outcome outcome = expectAsAsked(change, site, given);
    for (const BlockAt& at : *blocks) {
        outcome = outcome.ok() ? createIn(change, at, name, given) : outcome;
    }
    return outcome;
}

}  // namespace

Command vdirCreate() {
    return {
        .words = "vdir create",
        .summary = "Give a directory of a website a block of its own",
        .action = create,
        .parameters = blockSettings(),
        .operations = {"CZPVirtualDirectory::CreateVirtualDirectory"},
        .examples = {"vdir create shop.example /home/anna/shop.example/www/html/intern --protect",
                     "vdir create shop.example /home/anna/shop.example/www/html/files --option=+Indexes"},
    };
}

}  // namespace zpweb
