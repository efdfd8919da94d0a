// vdir set: changes what is named of a directory's settings, and keeps the rest.
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/BlockLines.h"
#include "commands/shared/DirectoryBlock.h"
#include "conf/Bounds.h"

namespace zpweb {

namespace {

constexpr int LineMalformed = zp::result::directory::Malformed;
constexpr int BlockUpdated = zp::result::directory::Updated;

// Where the block has no such section yet, the update takes the character for protection the other way.
char protection(bool wanted, bool hasSection) { return wanted == hasSection ? '1' : '0'; }

Outcome setIn(Transaction& change, const BlockAt& at, const std::string& site, const Arguments& given) {
    const std::string directory = given[Directory];
    const bool exact = change.settings().exact;
    const Statements statements(at.in(change.configuration()));
    const std::vector<Statement> present = sectionOf(statements, directory);
    SDDir record = directoryRecord(given, at.in(change.configuration()), exact);
    record.AnonAccess =
        protection(exact && given[Protect], hasSection(at.in(change.configuration()), directory));
    return editBlock(
        change, at,
        {.bound = zp::conf::bound::None,
         .show =
             [&](View& view) {
                 view.showSections(opensDirectory(directory),
                                   [&](const Statement& statement) { return isNamed(given, statement); });
             },
         .run =
             [&](const std::string& staged, const std::string&) {
                 return CZPVirtualDirectory(nullptr, staged.c_str()).UpdateVirtualDirectory(&record);
             },
         .meaning = expecting("UpdateVirtualDirectory", {BlockUpdated}, LineMalformed,
                              failure("a <Directory> line of the site has no closing quote")),
         .adjusted =
             [&](std::string_view made) {
                 return exact ? std::string(made) : withAccess(made, given, site, present);
             },
         .makes = exact && given[Protect] ? std::vector<std::string>{directory + "/webusers.htpasswd"}
                                          : std::vector<std::string>()});
}

Outcome set(Transaction& change, const Site& site, const Arguments& given) {
    const std::string name = site.name();
    const auto blocks = runningBlocks(change.configuration(), site, given);
    change.output().set("site", given[SiteName]);
    change.output().set("folder", given[Directory]);
    Outcome outcome = blocks.ok() ? expectAsAsked(change, site, given) : blocks.outcome();
    for (size_t i = 0; outcome.ok() && i < blocks->size(); ++i) {
        outcome = setIn(change, (*blocks)[i], name, given);
    }
    return outcome;
}

}  // namespace

Command vdirSet() {
    return {
        .words = "vdir set",
        .summary = "Change a directory's settings",
        .action = set,
        .parameters = blockSettings(),
        .operations = {"CZPVirtualDirectory::UpdateVirtualDirectory"},
        .examples = {"vdir set shop.example /home/anna/shop.example/www/html --option=-Indexes --diff"},
    };
}

}  // namespace zpweb
