// vdir create: gives a directory of a site a block of its own.
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/BlockLines.h"
#include "commands/shared/DirectoryBlock.h"
#include "conf/Bounds.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr int BlockMade = zp::result::directory::Created;

// The library takes the directory for that of the DocumentRoot line where the block has one.
void showRoot(View& view, const std::string& folder) {
    view.show(isOneOf({"DocumentRoot"}));
    if (view.lines().size() == 3) {
        view.provide("DocumentRoot \"" + folder + "\"");
    }
}

Outcome createIn(Transaction& change, const BlockAt& at, const std::string& site, const Arguments& given) {
    const bool exact = change.settings().exact;
    SDDir record = directoryRecord(given, at.in(change.configuration()), exact);
    return editBlock(
        change, at,
        {.bound = zp::conf::bound::None,
         .show = [&](View& view) { showRoot(view, given[Folder]); },
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
    const std::string folder = given[Folder];
    const std::string name = site.name();
    if (!isFolder(folder)) {
        return failure(Status::NotFound,
                       "path " + inQuotes(folder) + ": no such folder; expected one that is there");
    }
    auto blocks = runningBlocks(change.configuration(), site, given);
    if (!blocks.ok()) {
        return blocks.outcome();
    }
    std::erase_if(*blocks,
                  [&](const BlockAt& at) { return hasSection(at.in(change.configuration()), folder); });
    if (blocks->empty()) {
        return existsAlready(folder + " has a block already: see vdir set");
    }
    change.output().set("site", given[SiteName]);
    change.output().set("folder", folder);
    Outcome outcome;
    for (const BlockAt& at : *blocks) {
        outcome = outcome.ok() ? createIn(change, at, name, given) : outcome;
    }
    return outcome;
}

}  // namespace

Command vdirCreate() {
    return {
        .words = "vdir create",
        .summary = "Give a folder of a website a block of its own",
        .action = create,
        .parameters = blockSettings(),
        .operations = {"CZPVirtualDirectory::CreateVirtualDirectory"},
        .examples = {"vdir create shop.example /home/anna/shop.example/www/html/intern --protect",
                     "vdir create shop.example /home/anna/shop.example/www/html/files --option=+Indexes"},
    };
}

}  // namespace zpweb
