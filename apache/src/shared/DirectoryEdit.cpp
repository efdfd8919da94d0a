#include "shared/DirectoryEdit.h"

#include "Results.h"
#include "conf/DomainScope.h"
#include "shared/ApacheHelperResults.h"

namespace zp {

using conf::Line;
using conf::Rewrite;
namespace keyword = conf::keyword;

namespace {

constexpr const char* BackupSuffix = ".zpbackup.rt";
constexpr const char* ClosingLine = "\t</Directory>";

// Copies the lines before the domain's first <Directory> line that is wanted, and reads that one into
// `line`. 0, or what ended the search.
int copyToDirectory(Rewrite& rewrite, const std::string& domain, Line& line, const Examine& examine) {
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

void copyRest(Rewrite& rewrite) {
    for (Line line; rewrite.read(line);) {
        if (!line.isEmpty()) {
            rewrite.keep(line);
        }
    }
}

}  // namespace

Match compare(const conf::Value& directory, const std::string& wanted) {
    if (!directory.closed) {
        return Match::Malformed;
    }
    return conf::equalIgnoringCase(directory.text, wanted) ? Match::Wanted : Match::Other;
}

Match compareQuoted(const Line& line, const std::string& wanted) {
    const bool isQuoted = line.argumentOf(keyword::Directory).starts_with('"');
    return isQuoted ? compare(conf::directoryOf(line), wanted) : Match::Malformed;
}

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

void writeContents(Rewrite& rewrite, const StringVector& directives) {
    for (const std::string& directive : directives) {
        rewrite.write("\t\t" + directive);
    }
    rewrite.write(ClosingLine);
}

int editDirectory(const std::string& file, const char* temporarySuffix, const std::string& domain,
                  const Examine& examine, const EditAt& edit) {
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

}  // namespace zp
