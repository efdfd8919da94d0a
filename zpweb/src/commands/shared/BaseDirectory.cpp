#include "commands/shared/BaseDirectory.h"

#include <algorithm>

#include "Results.h"
#include "commands/shared/BlockLines.h"
#include "commands/shared/Expectations.h"
#include "conf/Bounds.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

constexpr int BaseDirChanged = zp::result::Changed;

// The library keeps one php_admin_value line a directory, whatever it sets: it sees no other.
bool isBaseDir(const Statement& statement) {
    return statement.is("php_admin_value") && statement.argument(0) == "open_basedir";
}

void showDirectory(View& view, const std::string& directory) {
    view.showSections(opensDirectory(directory), isBaseDir);
    if (std::none_of(view.lines().begin(), view.lines().end(),
                     [](const ViewLine& line) { return line.kind == ViewLine::Kind::SectionOpens; })) {
        view.provideDirectory(directory);
    }
    view.dropEmptySections();
}

}  // namespace

Outcome changeBaseDirectory(Transaction& change, const Site& site, const Arguments& given,
                            const BaseDirectoryChange& wanted) {
    const std::string directory = given[BaseDirectory];
    change.output().set("site", site.name());
    const auto blocks = runningBlocks(change.configuration(), site, given);
    if (!blocks.ok()) {
        return blocks.outcome();
    }
    const std::string line = "php_admin_value open_basedir \"" + directory + "/:/tmp/\"";
    const auto asked = blocksAskedFor(site, given);
    const BlocksOf all = asked.value_or(BlocksOf{});
    expectOf(change, asked, directory, "open_basedir",
             wanted.on ? directoryHas(all, directory, {line}, Holders::All)
                       : directoryLacks(all, directory, line));
    return editBlocks(change, *blocks,
                      {.bound = zp::conf::bound::SiteDirectory,
                       .show = [&](View& view) { showDirectory(view, directory); },
                       .run =
                           [&](const std::string& staged, const std::string& domain) {
                               CZPWebsite website(nullptr, staged.c_str());
                               return wanted.call(website, domain, directory);
                           },
                       .meaning = expecting(wanted.operation, {BaseDirChanged})});
}

}  // namespace zpweb
