#include "commands/shared/PerlSwitch.h"

#include <algorithm>

#include "commands/shared/BlockLines.h"
#include "commands/shared/Expectations.h"
#include "conf/Bounds.h"
#include "conf/Handlers.h"
#include "input/Quoted.h"
#include "server/DirectoryPaths.h"

namespace zpweb {

namespace {

std::string quotedRoot(const Statement& statement) {
    return "DocumentRoot \"" + withoutSlash(statement.argument(0)) + "\"";
}

// The section of the document root, which is made where there is none.
void showRoot(View& view, const std::string& root) {
    view.showAs(isOneOf({"DocumentRoot"}), quotedRoot);
    view.showSections(opensDirectory(root));
    if (std::none_of(view.lines().begin(), view.lines().end(),
                     [](const ViewLine& line) { return line.kind == ViewLine::Kind::SectionOpens; })) {
        view.provideDirectory(root);
    }
    view.dropEmptySections();
}

}  // namespace

Outcome switchPerl(Transaction& change, const Site& site, const Arguments& given,
                   const PerlSwitch& wanted) {
    change.output().set("site", site.name());
    const auto blocks = runningBlocks(change.configuration(), site, given);
    if (!blocks.ok()) {
        return blocks.outcome();
    }
    if (std::all_of(site.places.begin(), site.places.end(),
                    [](const Place& place) { return place.block->root.empty(); })) {
        return failure(Status::NotFound, "site " + inQuotes(site.name()) + " has no DocumentRoot");
    }
    const auto asked = blocksAskedFor(site, given);
    for (const BlockAt& at : *blocks) {
        const std::string root = withoutSlash(std::string(at.in(change.configuration()).root));
        if (root.empty()) {
            continue;  // it serves no files
        }
        const std::string line(zp::conf::PerlHandler);
        const BlocksOf all = asked.value_or(BlocksOf{});
        expectOf(
            change, asked, root, "perl",
            wanted.on ? directoryHas(all, root, {line}, Holders::AtRoot) : directoryLacks(all, root, line));
        if (hasLine(at.in(change.configuration()), root, std::string(zp::conf::PerlHandler)) == wanted.on) {
            continue;
        }
        if (Outcome switched = editBlock(change, at,
                                         {.bound = zp::conf::bound::Perl,
                                          .show = [&](View& view) { showRoot(view, root); },
                                          .run =
                                              [&](const std::string& staged, const std::string& domain) {
                                                  CZPWebsite website(nullptr, staged.c_str());
                                                  return wanted.call(website, domain);
                                              },
                                          .meaning = expecting(wanted.operation, {0})});
            !switched.ok()) {
            return switched;
        }
    }
    return done();
}

}  // namespace zpweb
