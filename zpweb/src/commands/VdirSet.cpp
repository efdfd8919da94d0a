// vdir set: changes what is named of a directory's settings, and keeps the rest.
#include <algorithm>

#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/BlockLines.h"
#include "commands/shared/DirectoryBlock.h"
#include "conf/Bounds.h"
#include "conf/Directory.h"

namespace zpweb {

namespace {

constexpr int LineMalformed = zp::result::directory::Malformed;
constexpr int BlockUpdated = zp::result::directory::Updated;

// Where the block has no such section yet, the update takes the character for protection the other way.
char protection(bool wanted, bool hasSection) { return wanted == hasSection ? '1' : '0'; }

// Beside one that it does not find the library makes another.
bool findsSection(const Block& block, const std::string& directory) {
    const Lines lines(block.text);
    return std::any_of(lines.all.begin(), lines.all.end(), [&](std::string_view each) {
        const zp::conf::Line line(withoutReturn(each));
        return line.begins(zp::conf::keyword::Directory) && !zp::conf::opensLongerTag(line) &&
               zp::conf::equalIgnoringCase(zp::conf::directoryOf(line).text, directory);
    });
}

Outcome setIn(Transaction& change, const BlockAt& at, const std::string& site, const Arguments& given) {
    const std::string directory = given[Directory];
    const bool exact = change.settings().exact;
    const Block& block = at.in(change.configuration());
    if (exact && hasSection(block, directory) && !findsSection(block, directory)) {
        return failure(Status::Refused, at.place(change.configuration()) +
                                            ": the library does not find the <Directory> section as it is "
                                            "written; leave --exact away");
    }
    const Statements statements(block);
    const std::vector<Statement> present = sectionOf(statements, directory);
    SDDir record = directoryRecord(given, block, exact);
    record.AnonAccess = protection(exact && given[Protect], hasSection(block, directory));
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

Outcome setVdir(Transaction& change, const Site& site, const Arguments& given) {
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
        .action = setVdir,
        .parameters = blockSettings(),
        .operations = {"CZPVirtualDirectory::UpdateVirtualDirectory"},
        .examples = {"vdir set shop.example /home/anna/shop.example/www/html --option=-Indexes --diff"},
    };
}

}  // namespace zpweb
