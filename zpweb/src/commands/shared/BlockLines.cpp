#include "commands/shared/BlockLines.h"

#include <algorithm>

#include "conf/Bounds.h"
#include "conf/Text.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

// One with a pattern is none that the operations could read.
bool isDirectoryBlock(const Statement& statement) {
    return statement.opens("Directory") && statement.argument(0) != "~";
}

// A new section comes before the first one; in a block without any, to its end.
void showDirectories(View& view, const StatementTest& inner) {
    view.showSections(isDirectoryBlock, inner);
    const auto& lines = view.lines();
    if (std::none_of(lines.begin(), lines.end(),
                     [](const ViewLine& line) { return line.kind == ViewLine::Kind::SectionOpens; })) {
        view.provideDirectory("/");
    }
}

}  // namespace

bool hasSection(const Block& block, const std::string& directory) {
    const Statements statements(block);
    const StatementTest opens = opensDirectory(directory);
    return std::any_of(statements.begin(), statements.end(), [&](const Statement& statement) {
        return opens(statement) && statement.scope == 0;
    });
}

StatementTest isLine(const std::string& line) {
    return [line](const Statement& statement) {
        const Statements asked(line);
        const std::vector<Word> wanted = asked.size() == 1 ? asked[0].words() : std::vector<Word>();
        const std::vector<Word> words = statement.words();
        return asked.size() == 1 && asked[0].kind == statement.kind &&
               zp::conf::equalIgnoringCase(asked[0].name, statement.name) &&
               std::equal(words.begin(), words.end(), wanted.begin(), wanted.end(),
                          [](const Word& one, const Word& other) { return one.value() == other.value(); });
    };
}

bool hasLine(const Block& block, const std::string& directory, const std::string& line) {
    const Statements statements(block);
    const StatementTest opens = opensDirectory(directory);
    return std::any_of(statements.begin(), statements.end(), [&](const Statement& statement) {
        return statement.section != None && opens(statements[statement.section]) && isLine(line)(statement);
    });
}

Outcome editSections(Transaction& change, const Site& site, const Arguments& given, const BlockTest& test,
                     const BlockCall& call, const StatementTest& inner) {
    const std::string directory = given[BlockDirectory];
    auto blocks = runningBlocks(change.configuration(), site, given);
    if (!blocks.ok()) {
        return blocks.outcome();
    }
    std::erase_if(*blocks, [&](const BlockAt& at) { return !test(at.in(change.configuration())); });
    if (blocks->empty()) {
        return failure(Status::NotFound,
                       "folder " + inQuotes(directory) + ": not found in site " + inQuotes(site.name()));
    }
    return editBlocks(change, *blocks,
                      {.bound = zp::conf::bound::Directive,
                       .show = [&](View& view) { showDirectories(view, inner); },
                       .run =
                           [&](const std::string& staged, const std::string& domain) {
                               ApacheHelper helper;
                               return call(helper, staged, domain, directory);
                           },
                       .meaning = expecting("folder " + inQuotes(directory), {0})});
}

}  // namespace zpweb
