// Changing the directives of one domain's block, and inserting a line at server level.
#include "ApacheHelper.h"
#include "Results.h"
#include "conf/Address.h"
#include "conf/DomainScope.h"
#include "conf/Rewrite.h"
#include "shared/ApacheHelperResults.h"

using zp::conf::AnyNameScope;
using zp::conf::FirstNameScope;
using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

std::string directiveLine(const std::string& directive, const std::string& value, bool quoted) {
    return quoted ? "\t" + directive + " \"" + value + "\"" : "\t" + directive + " " + value;
}

enum class Blocks { First, All };

// Writes `added` before the closing line of the domain's first block, or of each.
int appendToBlock(const std::string& file, const std::string& backupSuffix, const std::string& domain,
                  const StringVector& added, Blocks blocks) {
    conf::backUp(file, backupSuffix);
    Rewrite rewrite(file, file + "_zpbackup_ACEP", conf::bound::AddDirective);
    if (!rewrite.open()) {
        return result::helper::NotAdded;
    }
    FirstNameScope scope(domain);
    bool done = false;
    for (Line line; rewrite.read(line);) {
        if (!done || blocks == Blocks::All) {
            // A commented-out tag or ServerName counts as a live one.
            const Line live = line.withoutCommentMark();
            const bool inDomain = scope.inDomain();
            if (!scope.enters(live) && scope.leaves(live) && inDomain) {
                for (const std::string& text : added) {
                    rewrite.write(text);
                }
                done = true;
            }
        }
        rewrite.keep(line);
    }
    if (!done) {
        rewrite.discard();
        return result::helper::NotAdded;
    }
    return rewrite.putInPlace() ? result::helper::Done : result::helper::NotAdded;
}

bool beginsWithOneOf(const Line& line, const StringVector& directives) {
    for (const std::string& directive : directives) {
        if (line.begins(directive + " ")) {
            return true;
        }
    }
    return false;
}

// Copies lines up to and including the one that names the domain in an addressed block. False without one.
bool copyToServerName(Rewrite& rewrite, const std::string& domain) {
    bool inBlock = false;
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        rewrite.keep(line);
        if (line.opensAddressedVirtualHost()) {
            inBlock = true;
        } else if (inBlock && line.namesServer(domain)) {
            return true;
        } else if (line.begins(keyword::VirtualHostEndTag)) {
            inBlock = false;
        }
    }
    return false;
}

// Copies the file with `entry` before its `lineCount`th line, unless that line is empty or not there.
int insertAtLine(const std::string& file, const std::string& entry, int lineCount) {
    Rewrite rewrite(file, file + ".wd1", conf::bound::AddDirective);
    if (!rewrite.open()) {
        return result::failureOf(rewrite);
    }
    int number = 0;
    for (Line line; rewrite.read(line);) {
        ++number;  // empty lines count, though they are dropped
        if (line.isEmpty()) {
            continue;
        }
        if (number == lineCount) {
            rewrite.write(entry);
        }
        rewrite.keep(line);
    }
    return result::finish(rewrite, true, 0);
}

}  // namespace

int ApacheHelper::Apache_ChangeVirtualHostPort(std::string apacheConfFile, std::string domainName,
                                               std::string ip, std::string port) {
    conf::backUp(apacheConfFile, ".zpbackup.cp");
    Rewrite rewrite(apacheConfFile, apacheConfFile + "_zpbackup_cp", conf::bound::Port);
    if (!rewrite.open()) {
        return result::failureOf(rewrite);
    }
    bool inBlock = false;
    bool done = false;
    std::string opening;
    for (Line line; rewrite.read(line);) {
        if (!done && line.opensAddressedVirtualHost()) {
            // Held until the ServerName line: what stands between the two comes out before it, and a block
            // without a ServerName line loses it.
            inBlock = true;
            opening = line.raw();
            continue;
        }
        if (!done && inBlock && line.begins(keyword::ServerName)) {
            done = line.namesServer(domainName);
            inBlock = false;
            rewrite.write(done ? "<VirtualHost " + conf::inBrackets(ip) + ":" + port + ">" : opening);
        } else if (line.begins(keyword::VirtualHostEnd)) {
            inBlock = false;
        }
        rewrite.keep(line);
    }
    return result::finish(rewrite, done, result::helper::DomainNotFound);
}

int ApacheHelper::Apache_AddDirectiveInVH(std::string apacheConfFile, std::string domainName,
                                          std::string directive, std::string value, bool valueQuoted) {
    const StringVector added{directiveLine(directive, value, valueQuoted)};
    return appendToBlock(apacheConfFile, ".zpbackup.ACEP", domainName, added, Blocks::All);
}

int ApacheHelper::Apache_AddDirectivesInVH(std::string apacheConfFile, std::string domainName,
                                           StringVector& directives) {
    StringVector added;
    for (const std::string& directive : directives) {
        added.push_back("\t" + directive);
    }
    return appendToBlock(apacheConfFile, ".zpbackup.AD", domainName, added, Blocks::First);
}

int ApacheHelper::Apache_UpdateVHDirectiveContents(std::string apacheConfFile, std::string domainName,
                                                   std::string directive, std::string value,
                                                   bool addValue) {
    conf::backUp(apacheConfFile, ".zpbackup.rt");
    Rewrite rewrite(apacheConfFile, apacheConfFile + "_temp12", conf::bound::Directive);
    if (!rewrite.open()) {
        return result::failureOf(rewrite);
    }
    AnyNameScope scope(domainName);
    bool inNested = false;
    bool valueFound = false;
    bool done = false;
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        if (scope.enters(line)) {
            // copied
        } else if (scope.inDomain() && line.begins(directive)) {
            inNested = true;
        } else if (inNested && line.begins(value)) {
            valueFound = true;
            if (!addValue) {
                continue;
            }
        } else if (inNested && line.begins(keyword::DirectoryEndTag)) {
            if (!valueFound) {  // added also when the caller asked for a deletion: callers rely on it
                rewrite.write("\t\t" + value);
            }
            inNested = false;
            done = true;
        } else {
            scope.leaves(line);
        }
        rewrite.keep(line);
    }
    return result::finish(rewrite, done, result::helper::DomainNotFound);
}

int ApacheHelper::Apache_UpdateDirectiveInVH(std::string apacheConfFile, std::string domainName,
                                             std::string directive, std::string value, bool valueQuoted) {
    conf::backUp(apacheConfFile, ".zpbackup.rt");
    Rewrite rewrite(apacheConfFile, apacheConfFile + "_temp1", conf::bound::Directive);
    if (!rewrite.open()) {
        return result::failureOf(rewrite);
    }
    AnyNameScope scope(domainName);
    bool done = false;
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        if (!scope.enters(line)) {
            if (scope.inDomain() && line.begins(directive)) {
                rewrite.write(directiveLine(directive, value, valueQuoted));
                scope.leaveDomain();  // later lines of the same directive stay
                done = true;
                continue;
            }
            scope.leaves(line);
        }
        rewrite.keep(line);
    }
    return result::finish(rewrite, done, result::helper::DomainNotFound);
}

int ApacheHelper::Apache_writeDirective(std::string apacheConfFile, std::string entry,
                                        std::string reference, bool beforeReference, int lineCount) {
    conf::backUp(apacheConfFile, ".zpbackup.rt");
    Rewrite rewrite(apacheConfFile, apacheConfFile + ".wd", conf::bound::AddDirective);
    if (!rewrite.open()) {
        return result::failureOf(rewrite);
    }
    bool inBlock = false;
    bool done = false;
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        if (line.begins(keyword::VirtualHost)) {
            inBlock = true;
        } else if (line.begins(keyword::VirtualHostEnd)) {
            inBlock = false;
        } else if (!done && !inBlock && line.begins(reference)) {
            done = true;
            if (beforeReference) {
                rewrite.write(entry);
                rewrite.keep(line);
            } else {
                rewrite.keep(line);
                rewrite.write(entry);
            }
            continue;
        }
        rewrite.keep(line);
    }
    if (!done && !rewrite.source().failed()) {
        rewrite.discard();
        return insertAtLine(apacheConfFile, entry, lineCount);
    }
    return result::finish(rewrite, true, 0);
}

int ApacheHelper::Apache_DeleteDirectivesInVH(std::string apacheConfFile, std::string domainName,
                                              StringVector& directives) {
    conf::backUp(apacheConfFile, ".zpbackup.drt");
    Rewrite rewrite(apacheConfFile, apacheConfFile + "_temp11", conf::bound::Directive);
    if (!rewrite.open()) {
        return result::failureOf(rewrite);
    }
    bool done = false;
    if (copyToServerName(rewrite, domainName)) {
        for (Line line; rewrite.read(line);) {
            if (line.isEmpty() || (!done && !line.begins(keyword::VirtualHostEndTag) && !line.isComment() &&
                                   beginsWithOneOf(line, directives))) {
                continue;
            }
            done = done || line.begins(keyword::VirtualHostEndTag);
            rewrite.keep(line);
        }
    }
    return result::finish(rewrite, done, result::helper::DomainNotFound);
}
