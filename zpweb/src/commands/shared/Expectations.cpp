#include "commands/shared/Expectations.h"

#include "commands/shared/BlockEdit.h"
#include "server/DirectoryOptions.h"
#include "server/DirectoryRules.h"

namespace zpweb {

namespace {

constexpr const char* AllValues = "\n";  // no value is that

std::string about(const std::string& directive) { return AboutBlocks + lowerCase(directive) + " "; }

std::string aboutDirectory(const std::string& directory) {
    return std::string(AboutBlocks) + "<" + directory + "> ";
}

// A section for the document root has the last word.
void expectAtRoot(Transaction& change, const BlocksOf& blocks, const std::string& directive,
                  const std::string& value) {
    const std::string name = lowerCase(directive);
    const std::string key = about(directive) + AllValues + "root";
    if (name == "options") {
        change.expect(blocks.site, key, optionsHoldAtRoot(blocks, value));
    } else if (isReplaced(name) && name != "rewriteengine") {  // which the server keeps apart
        change.expect(blocks.site, key, holdsAtRoot(blocks, directive));
    } else if (const auto words = argumentsIn(value); name == "errordocument" && !words.empty()) {
        change.expect(blocks.site, key + words.front(), holdsAtRoot(blocks, directive, words.front()));
    }
}

}  // namespace

std::optional<BlocksOf> blocksAskedFor(const Site& site, const Arguments& given) {
    const std::string name = hostNameIn(std::string(site.first().block->name));
    const bool byPlace = isPlace(given[SiteName]) || isPlace(given[InSite].value_or(""));
    const auto port = given[OnPort];
    return name.empty() || byPlace ? std::nullopt
                                   : std::optional(BlocksOf{name, port ? std::to_string(*port) : ""});
}

void expectSet(Transaction& change, const BlocksOf& blocks, const std::string& directive,
               const std::string& value) {
    releaseDirective(change, blocks.site, directive);
    if (isShown(directive)) {
        change.expect(blocks.site, about(directive) + AllValues, inEffect(blocks, directive, value));
    }
    expectAtRoot(change, blocks, directive, value);
}

void releaseDirective(Transaction& change, const std::string& site, const std::string& directive) {
    change.release(site, about(directive));
}

void expectAdded(Transaction& change, const BlocksOf& blocks, const std::string& directive,
                 const std::string& value) {
    change.release(blocks.site, about(directive) + AllValues);
    if (isShown(directive)) {
        change.expect(blocks.site, about(directive) + value, carries(blocks, directive, value));
    }
    expectAtRoot(change, blocks, directive, value);
}

void expectGone(Transaction& change, const BlocksOf& blocks, const std::string& directive,
                const std::optional<std::string>& value) {
    change.release(blocks.site, about(directive) + (value ? AllValues : ""));
    if (isShown(directive)) {
        change.expect(blocks.site, about(directive) + value.value_or(AllValues),
                      carriesNoMore(blocks, directive, value));
    }
}

void expectOf(Transaction& change, const std::optional<BlocksOf>& blocks, const std::string& directory,
              const std::string& about, Postcondition holds) {
    if (blocks) {
        change.expect(blocks->site, aboutDirectory(directory) + about, std::move(holds));
    }
}

void releaseDirectory(Transaction& change, const std::optional<BlocksOf>& blocks,
                      const std::string& directory) {
    if (blocks) {
        change.release(blocks->site, aboutDirectory(directory));
    }
}

}  // namespace zpweb
