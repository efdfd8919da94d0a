#include "commands/shared/DirectoryBlock.h"

#include <algorithm>

#include "commands/shared/Expectations.h"
#include "commands/shared/Overrides.h"
#include "commands/shared/WebUsers.h"
#include "conf/Text.h"
#include "host/Fields.h"
#include "input/Quoted.h"
#include "server/DirectoryOptions.h"
#include "server/DirectoryPaths.h"
#include "server/DirectoryRules.h"
#include "sys/File.h"
#include "text/Restrictions.h"

namespace zpweb {

namespace {

using zp::conf::equalIgnoringCase;

void setOption(SOptions& options, std::string_view name, char state) {
    for (const DirectoryOption& each : DirectoryOptions) {
        if (each.name == name) {
            options.*each.state = state;
        }
    }
}

bool asksForHosts(const Arguments& given) { return given.has(Allow) || given.has(Deny) || given[Order]; }

bool asksForUsers(const std::vector<Statement>& statements) {
    return std::any_of(statements.begin(), statements.end(), [](const Statement& statement) {
        const std::string first = statement.argument(0);
        return statement.is("Require") &&
               (equalIgnoringCase(first, "valid-user") || equalIgnoringCase(first, "user") ||
                equalIgnoringCase(first, "group"));
    });
}

// Terms that are there and say more than by which users: they hold beside the users that are asked for.
std::vector<std::string> presentTerms(const std::vector<Statement>& present) {
    std::vector<std::string> lines;
    for (const Statement& statement : present) {
        const bool term = zp::conf::beginsIgnoringCase(statement.name, "Require");
        if (term && !equalIgnoringCase(statement.argument(0), "valid-user")) {
            lines.push_back(canonical(statement));
        }
    }
    if (lines.size() > 1) {
        lines.insert(lines.begin(), "<RequireAny>");
        lines.emplace_back("</RequireAny>");
    }
    return lines;
}

std::vector<std::string> authentication(const std::string& file) {
    return {"AuthType Basic", "AuthName \"Restricted Area\"", "AuthBasicProvider file",
            "AuthUserFile \"" + file + "\""};
}

std::vector<std::string> accessLines(const Arguments& given, const std::string& site,
                                     const std::vector<Statement>& present) {
    const bool users = given[Protect] || asksForUsers(present);
    std::vector<std::string> lines;
    if (given[Protect]) {
        lines = authentication(WebUsers(site, given[Directory]).file());
    }
    std::vector<std::string> terms;
    if (asksForHosts(given)) {
        terms = requireLines({given[Allow].value_or(""), given[Deny].value_or(""), !given[Order], users});
    } else if (given[Protect]) {
        terms = presentTerms(present);
        terms.emplace_back("Require valid-user");
        if (terms.size() > 1) {
            terms.insert(terms.begin(), "<RequireAll>");
            terms.emplace_back("</RequireAll>");
        }
    }
    lines.insert(lines.end(), terms.begin(), terms.end());
    return lines;
}

// The Options line that is there, with what was switched.
std::string optionsLine(const Arguments& given, const std::vector<Statement>& present) {
    for (const Statement& statement : present) {
        if (statement.is("Options")) {
            std::vector<std::string> words;
            for (const Word& word : statement.words()) {
                words.push_back(word.value());
            }
            return switchedOptions(words, given[Switches]);
        }
    }
    return {};
}

// What the library writes itself about hosts and users.
std::vector<std::string> ownAccessLines(const Arguments& given) {
    std::vector<std::string> lines;
    const bool opens = given[Order] && given[Allow].value_or("") == "all";
    if (opens) {
        lines.emplace_back("Require all granted");
    } else if (given.has(Allow)) {
        lines.push_back("Allow from " + given[Allow].value_or(""));
    }
    if (given.has(Deny)) {
        lines.push_back("Deny from " + given[Deny].value_or(""));
    }
    if (given[Protect]) {
        lines.emplace_back("Require valid-user");
    }
    return lines;
}

// It replaces the section, says of hosts what it can, and does not find one that is written in another way
// than its own.
void expectExact(Transaction& change, const Site& site, const Arguments& given,
                 const std::optional<BlocksOf>& blocks) {
    const BlocksOf all = blocks.value_or(BlocksOf{});
    const std::string directory = given[Directory];
    std::vector<std::string> lines = ownAccessLines(given);
    const bool asksAccess = !lines.empty();
    bool asksUsers = given[Protect];
    for (const Place& place : site.places) {
        for (const Statement& each : sectionOf(Statements(*place.block), directory)) {
            asksUsers = asksUsers || asksForUsers({each});
            if (isRestriction(each) && !asksAccess) {
                lines.push_back(canonical(each));
            }
        }
    }
    change.asked().within[hostNameIn(site.name())].insert("directory " + withoutSlash(directory));
    expectOf(change, blocks, directory, "access", directoryHas(all, directory, lines, Holders::Some));
    if (!asksUsers) {
        expectOf(change, blocks, directory, "users", directoryLacks(all, directory, "Require valid-user"));
    }
}

// A network with a name is taken for a host that nobody comes from.
Outcome canHold(const Arguments& given) {
    for (const auto& option : {Allow, Deny}) {
        const std::string other = hostThatIsNone(given[option].value_or(""));
        if (!other.empty()) {
            return failure(Status::Usage, std::string(option.parameter.name) + ": " + inQuotes(other) +
                                              " is no network; expected hosts such as 192.0.2.0/24, "
                                              "192.0.2.7, office.example or all");
        }
    }
    for (const std::string& each : given[Switches]) {
        const std::string other = (each.starts_with('+') ? "-" : "+") + each.substr(1);
        const std::vector<std::string>& all = given[Switches];
        if (std::find(all.begin(), all.end(), other) != all.end()) {
            return failure(Status::Usage, "--option: " + inQuotes(each) + " and " + inQuotes(other) +
                                              " are both given; expected one of them");
        }
    }
    return done();
}

}  // namespace

SDDir directoryRecord(const Arguments& given, const Block& block, bool withAccess) {
    SDDir record{};
    zp::host::setField(record.DomainName, domainOf(block));
    zp::host::setField(record.DirPath, given[Directory]);
    // Creation looks in the directory above the site's home for the owner: where there is none, nothing is
    // handed over.
    const bool handsOver = given[TakeOver] || withAccess;
    zp::host::setField(record.WebAdminPath,
                       handsOver ? directoryOf(std::string(block.home)) : "/nonexistent");
    for (const std::string& option : given[Switches]) {
        setOption(record.Options, std::string_view(option).substr(1), option.front());
    }
    if (withAccess) {
        record.Order = given[Order] ? 1 : 0;
        zp::host::setField(record.Allow, given[Allow].value_or(""));
        zp::host::setField(record.Deny, given[Deny].value_or(""));
        record.AnonAccess = given[Protect] ? '1' : 0;
    }
    record.PerlEnabled = given[Perl] ? '1' : '0';
    record.RubyOnRails = given[Rails] ? '1' : '0';
    return record;
}

std::string withAccess(std::string_view made, const Arguments& given, const std::string& site,
                       const std::vector<Statement>& present) {
    const std::string opening = "<Directory \"" + given[Directory] + "\"";
    const std::string options = optionsLine(given, present);
    std::string text;
    bool inside = false;
    for (const std::string_view line : Lines(made).all) {
        const std::string_view start = zp::conf::skipSpace(line);
        inside = inside || zp::conf::beginsIgnoringCase(start, opening);
        if (inside && zp::conf::beginsIgnoringCase(start, "</Directory>")) {
            for (const std::string& each : accessLines(given, site, present)) {
                text += "\t\t" + each + "\n";
            }
            inside = false;
        }
        const bool replaced = inside && !options.empty() && isDirective(start, "Options");
        text.append(replaced ? "\t\t" + options : std::string(line)).append("\n");
    }
    return text;
}

Outcome expectAsAsked(Transaction& change, const Site& site, const Arguments& given) {
    if (Outcome can = canHold(given); !can.ok()) {
        return can;
    }
    const auto blocks = blocksAskedFor(site, given);
    const std::string directory = given[Directory];
    releaseDirectory(change, blocks, directory);
    const BlocksOf all = blocks.value_or(BlocksOf{});
    expectOf(change, blocks, directory, "options", hasOptions(all, directory, given[Switches]));
    if (change.settings().exact) {
        expectExact(change, site, given, blocks);
        return done();
    }
    if (!asksForHosts(given) && !given[Protect]) {
        return done();
    }
    std::vector<std::vector<std::string>> asked;  // beside what each block says already
    for (const Place& place : site.places) {
        const Statements statements(*place.block);
        asked.push_back(accessLines(given, site.name(), sectionOf(statements, directory)));
    }
    expectOf(change, blocks, directory, "access", isRestricted(all, directory, asked));
    if (const std::string line = accessLineIn(directory); !line.empty()) {
        expectOf(change, blocks, directory, "htaccess", ignoresAccessFile(all, directory, line));
    }
    return given[Protect] ? provideUsers(change, WebUsers(site.name(), directory)) : done();
}

bool isNamed(const Arguments& given, const Statement& statement) {
    const bool options = statement.is("Options") && !given[Switches].empty();
    const bool perl =
        statement.is("AddHandler") && given[Perl] && equalIgnoringCase(statement.argument(0), "cgi-script");
    const bool who = zp::conf::beginsIgnoringCase(statement.name, "Require") || statement.is("Order") ||
                     statement.is("Allow") || statement.is("Deny") || statement.is("Satisfy");
    return options || perl || (who && (asksForHosts(given) || given[Protect])) ||
           (given[Protect] && isRestriction(statement));
}

namespace {

// <Files>, <Limit>: what they say is not said of the directory.
bool isOfPart(const Statement& statement) {
    return statement.end != None && !isCondition(statement.name) &&
           !zp::conf::beginsIgnoringCase(statement.name, "Require");
}

}  // namespace

std::vector<Statement> sectionOf(const Statements& statements, const std::string& directory) {
    const StatementTest opens = opensDirectory(directory);
    std::vector<Statement> found;
    for (const Statement& opening : statements) {
        if (opens(opening) && opening.scope == 0 && opening.end != None) {
            found.clear();
            for (auto i = static_cast<size_t>(&opening - &statements[0]) + 1; i < opening.end; ++i) {
                if ((statements.isUnmet(i) && statements[i].end != None) || isOfPart(statements[i])) {
                    i = statements[i].end;
                } else {
                    found.push_back(statements[i]);
                }
            }
        }
    }
    return found;
}

}  // namespace zpweb
