// <Directory> blocks of one domain: adding, replacing, moving and deleting them.
#include "ApacheHelper.h"
#include "Results.h"
#include "conf/Directory.h"
#include "conf/DomainScope.h"
#include "conf/Rewrite.h"
#include "shared/ApacheHelperResults.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

constexpr const char* BackupSuffix = ".zpbackup.rt";
constexpr const char* ClosingLine = "\t</Directory>";

// What a <Directory> line of the domain is to an edit.
enum class Match { Wanted, Other, Malformed };

Match compare(const conf::Value& directory, const std::string& wanted) {
    if (!directory.closed) {
        return Match::Malformed;
    }
    return conf::equalIgnoringCase(directory.text, wanted) ? Match::Wanted : Match::Other;
}

// For edits that take a directory without quotes for an error, also in a block that is not wanted.
Match compareQuoted(const Line& line, const std::string& wanted) {
    const bool isQuoted = line.argumentOf(keyword::Directory).starts_with('"');
    return isQuoted ? compare(conf::directoryOf(line), wanted) : Match::Malformed;
}

// Copies the lines before the domain's first <Directory> line that is wanted, and reads that one into
// `line`. 0, or what ended the search.
template <class Examine>
int copyToDirectory(Rewrite& rewrite, const std::string& domain, Line& line, Examine examine) {
    conf::AnyNameScope scope(domain);
    while (rewrite.read(line)) {
        if (line.isEmpty()) {
            continue;
        }
        if (scope.inDomain() && line.begins(keyword::Directory)) {
            const Match match = examine(line);
            if (match != Match::Other) {
                return match == Match::Wanted ? 0 : result::helper::BlockUnclosed;
            }
        } else if (!scope.enters(line)) {
            scope.leaves(line);
        }
        rewrite.keep(line);
    }
    return result::helper::NotFoundInDomain;
}

// Passes over the block's lines, its closing one included. False when that does not come before the site's
// own.
bool skipDirectory(Rewrite& rewrite) {
    for (Line line; rewrite.read(line);) {
        if (line.begins(keyword::DirectoryEnd)) {
            return true;
        }
        if (line.begins(keyword::VirtualHostEnd)) {
            return false;
        }
    }
    return false;
}

void copyRest(Rewrite& rewrite) {
    for (Line line; rewrite.read(line);) {
        if (!line.isEmpty()) {
            rewrite.keep(line);
        }
    }
}

void writeContents(Rewrite& rewrite, const StringVector& directives) {
    for (const std::string& directive : directives) {
        rewrite.write("\t\t" + directive);
    }
    rewrite.write(ClosingLine);
}

// Edits the file at the wanted <Directory> line: `edit` gets that line and reads on as far as it changes
// anything; false from it means that the block has no end.
template <class Examine, class Edit>
int editDirectory(const std::string& file, const char* temporarySuffix, const std::string& domain,
                  Examine examine, Edit edit) {
    conf::backUp(file, BackupSuffix);
    Rewrite rewrite(file, file + temporarySuffix, conf::bound::Directive);
    if (!rewrite.open()) {
        return result::failureOf(rewrite);
    }
    Line line;
    int outcome = copyToDirectory(rewrite, domain, line, examine);
    if (outcome == 0 && !edit(rewrite, line)) {
        outcome = result::helper::BlockUnclosed;
    }
    if (outcome == 0) {
        copyRest(rewrite);
    }
    return result::finish(rewrite, outcome == 0, outcome);
}

}  // namespace

int ApacheHelper::Apache_addDirectoryTag(std::string apacheConfFile, std::string domainName,
                                         std::string dirPath, StringVector& dirEntry) {
    const auto any = [](const Line&) { return Match::Wanted; };
    return editDirectory(apacheConfFile, "_temp4", domainName, any,
                         [&](Rewrite& rewrite, const Line& line) {
                             rewrite.write(conf::openingLine(dirPath));
                             writeContents(rewrite, dirEntry);
                             rewrite.keep(line);
                             return true;
                         });
}

int ApacheHelper::Apache_UpdateDirectoryDirectives(std::string apacheConfFile, std::string domainName,
                                                   std::string dirPath, StringVector& entry) {
    const auto wanted = [&](const Line& line) { return compareQuoted(line, dirPath); };
    return editDirectory(apacheConfFile, "_temp3", domainName, wanted,
                         [&](Rewrite& rewrite, const Line& line) {
                             rewrite.keep(line);
                             writeContents(rewrite, entry);
                             return skipDirectory(rewrite);
                         });
}

int ApacheHelper::Apache_UpdateDirectoryTagPath(std::string apacheConfFile, std::string domainName,
                                                std::string oldPath, std::string newPath) {
    const auto wanted = [&](const Line& line) { return compare(conf::directoryOf(line), oldPath); };
    return editDirectory(apacheConfFile, "_temp2", domainName, wanted, [&](Rewrite& rewrite, const Line&) {
        rewrite.write(conf::openingLine(newPath));
        return true;
    });
}

int ApacheHelper::Apache_deleteDirectoryTag(std::string apacheConfFile, std::string domainName,
                                            std::string dirPath) {
    const auto wanted = [&](const Line& line) { return compareQuoted(line, dirPath); };
    return editDirectory(apacheConfFile, "_temp5", domainName, wanted,
                         [](Rewrite& rewrite, const Line&) { return skipDirectory(rewrite); });
}
