#include "commands/shared/Directives.h"

#include <algorithm>
#include <memory>

#include "conf/Bounds.h"
#include "conf/Text.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

// Of these each line counts, and none takes the place of another.
bool isCumulative(const std::string& name) {
    static constexpr std::string_view names[] = {"AddDefaultCharset",
                                                 "AddHandler",
                                                 "AddOutputFilter",
                                                 "AddOutputFilterByType",
                                                 "AddType",
                                                 "Alias",
                                                 "AliasMatch",
                                                 "BrowserMatch",
                                                 "CustomLog",
                                                 "Define",
                                                 "ErrorDocument",
                                                 "Header",
                                                 "Include",
                                                 "IncludeOptional",
                                                 "Listen",
                                                 "LoadModule",
                                                 "LogFormat",
                                                 "PassEnv",
                                                 "php_admin_flag",
                                                 "php_admin_value",
                                                 "php_flag",
                                                 "php_value",
                                                 "ProxyPass",
                                                 "ProxyPassMatch",
                                                 "ProxyPassReverse",
                                                 "Redirect",
                                                 "RedirectMatch",
                                                 "RedirectPermanent",
                                                 "RedirectTemp",
                                                 "RequestHeader",
                                                 "RewriteCond",
                                                 "RewriteMap",
                                                 "RewriteRule",
                                                 "ScriptAlias",
                                                 "ScriptAliasMatch",
                                                 "ServerAlias",
                                                 "SetEnv",
                                                 "SetEnvIf",
                                                 "SetEnvIfNoCase",
                                                 "Use"};
    return std::any_of(std::begin(names), std::end(names),
                       [&](std::string_view each) { return zp::conf::equalIgnoringCase(each, name); });
}

size_t countOf(const Statements& statements, size_t level, const StatementTest& test) {
    return static_cast<size_t>(std::count_if(
        statements.begin(), statements.end(),
        [&](const Statement& statement) { return statement.scope == level && test(statement); }));
}

Outcome canChange(const std::string& name, const DirectiveChange& wanted, size_t lines) {
    return wanted.onlyLast && lines > 1 && isCumulative(name)
               ? failure(Status::Usage,
                         inQuotes(name) + " stands there " + std::to_string(lines) +
                             " times, and each counts: delete the one with its value, and add "
                             "another")
               : done();
}

void showFor(View& view, const DirectiveChange& wanted) {
    const size_t last = lastOf(view.statements(), view.level(), wanted.test);
    view.show([&](const Statement& statement) {
        return wanted.test(statement) && (!wanted.onlyLast || &statement == &view.statements()[last]);
    });
}

Outcome notFound(const Arguments& given) {
    const auto site = given[InSite];
    return failure(
        Status::NotFound,
        "directive " + inQuotes(given[DirectiveName]) + ": " +
            (site ? "site " + inQuotes(*site) + " has none of its own" : "the server's level has none") +
            (zp::conf::equalIgnoringCase(given[DirectiveName], "ServerName") ? "; see site rename" : ""));
}

Outcome changeInBlocks(Transaction& change, const Arguments& given, const DirectiveChange& wanted) {
    const auto site = findRunning(change.configuration(), *given[InSite]);
    if (!site.ok()) {
        return site.outcome();
    }
    const auto blocks = runningBlocks(change.configuration(), *site, given);
    if (!blocks.ok()) {
        return blocks.outcome();
    }
    const auto asked = blocksAskedFor(*site, given);  // an edit ends what the site refers to
    bool found = false;
    for (const BlockAt& at : *blocks) {
        const size_t lines = countOf(Statements(at.in(change.configuration())), 0, wanted.test);
        if (lines == 0) {
            continue;
        }
        found = true;
        Outcome changed = canChange(given[DirectiveName], wanted, lines);
        changed = changed.ok() ? editBlock(change, at,
                                           {.bound = zp::conf::bound::Directive,
                                            .show = [&](View& view) { showFor(view, wanted); },
                                            .run =
                                                [&](const std::string& staged, const std::string& domain) {
                                                    ApacheHelper helper;
                                                    return wanted.call(helper, staged, domain);
                                                },
                                            .meaning = expecting(wanted.operation, {0})})
                               : changed;
        if (!changed.ok()) {
            return changed;
        }
    }
    if (asked && found) {
        wanted.expect(*asked);
    }
    return found ? done() : notFound(given);
}

// What stands in no block of a file, or in its part, is shown as one.
Outcome changeInFile(Transaction& change, const ConfigurationFile& file, bool onlyPart,
                     const DirectiveChange& wanted) {
    Edit edit;
    edit.file = file.path();
    edit.part = onlyPart ? &file : nullptr;
    edit.bound = zp::conf::bound::Directive;
    std::string domain;
    edit.excerpt = [&](const ConfigurationFile& current) {
        const std::string& text = current.content().text();
        const auto view = std::make_shared<View>(View::ofServer(text));
        showFor(*view, wanted);
        domain = view->domain();
        return Excerpt{text, view->text(), [view](std::string_view made) { return view->laidBack(made); }};
    };
    edit.operation = [&](const std::string& staged) {
        ApacheHelper helper;
        return wanted.call(helper, staged, domain);
    };
    edit.meaning = expecting(wanted.operation, {0});
    return change.edit(edit);
}

// The part with the line that counts, in the order in which the server reads them: one behind an Include
// counts for more than those that are included.
const ConfigurationFile& countingPart(const Transaction& change,
                                      const std::vector<const ConfigurationFile*>& parts,
                                      const std::string& name) {
    const ConfigurationFile* found = parts.back();
    const Reading* live = change.live();
    const auto lines =
        live == nullptr ? std::vector<const Directive*>() : live->inSection(Directive::None, name);
    if (!lines.empty()) {
        const Origin origin = live->originOf(*lines.back());
        for (const ConfigurationFile* part : parts) {
            found = part->path() == origin.file && part->firstLine() < origin.line ? part : found;
        }
    }
    return *found;
}

Outcome changeOnServer(Transaction& change, const Arguments& given, const DirectiveChange& wanted) {
    std::vector<const ConfigurationFile*> parts;  // that have it
    size_t lines = 0;
    for (const ConfigurationFile* part : change.configuration().serverParts()) {
        if (const size_t here = countOf(Statements(part->content().text()), None, wanted.test); here > 0) {
            parts.push_back(part);
            lines += here;
        }
    }
    if (parts.empty()) {
        return notFound(given);
    }
    if (!wanted.onlyLast && lines > 1 && !given.has(DirectiveValue)) {
        return failure(Status::Usage, inQuotes(given[DirectiveName]) + " stands there " +
                                          std::to_string(lines) +
                                          " times: name the VALUE of the one that is meant");
    }
    if (Outcome can = canChange(given[DirectiveName], wanted, lines); !can.ok()) {
        return can;
    }
    wanted.expect({});
    const ConfigurationFile& counts =
        wanted.onlyLast ? countingPart(change, parts, given[DirectiveName]) : *parts.back();
    const auto ofFile = std::count_if(parts.begin(), parts.end(), [&](const ConfigurationFile* part) {
        return part->path() == counts.path();
    });
    return changeInFile(change, counts, ofFile == 1, wanted);
}

}  // namespace

std::string writtenValue(const Arguments& given) {
    const std::string value = given[DirectiveValue];
    return given[Quoted] ? "\"" + value + "\"" : value;
}

std::string wholeLine(const Arguments& given) { return given[DirectiveName] + " " + writtenValue(given); }

StatementTest directiveTest(const std::string& name, const std::optional<std::string>& value) {
    return [=](const Statement& statement) {
        if (!statement.is(name)) {
            return false;
        }
        const std::string written = canonical(statement);
        const std::string_view arguments =
            zp::conf::skipSpace(std::string_view(written).substr(statement.name.size()));
        return !value || arguments == *value || arguments == "\"" + *value + "\"";
    };
}

size_t lastOf(const Statements& statements, size_t level, const StatementTest& test) {
    for (size_t i = statements.size(); i-- > 0;) {
        if (statements[i].scope == level && test(statements[i])) {
            return i;
        }
    }
    return None;
}

bool holdsDirective(const Statements& statements, size_t level, const std::string& name,
                    const std::string& value) {
    const size_t line = lastOf(statements, level, directiveTest(name, value));
    return line != None && (isCumulative(name) || line == lastOf(statements, level, directiveTest(name)));
}

Outcome changeDirective(Transaction& change, const Arguments& given, const DirectiveChange& wanted) {
    return given.has(InSite) ? changeInBlocks(change, given, wanted)
                             : changeOnServer(change, given, wanted);
}

}  // namespace zpweb
