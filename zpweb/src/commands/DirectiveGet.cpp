// directive get: a directive's value, of the server or of a site.
#include <algorithm>

#include "commands/Commands.h"
#include "commands/shared/AskedServer.h"
#include "commands/shared/Directives.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Readable.h"
#include "conf/Text.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

constexpr auto Is = option("--is", Kind::Text, "VALUE", "Tell whether the server has it with this value");

// The line that counts, and where it stands.
struct Found {
    std::string line, domain;
    std::string file;
    size_t number = 0;
};

bool look(Found& found, const ConfigurationFile& file, std::string_view text, size_t firstLine,
          size_t level, const std::string& name) {
    const Statements statements(text);
    const size_t last = lastOf(statements, level, isOneOf({name}));
    if (last != None) {
        found.line = canonical(statements[last]);
        found.file = file.path();
        found.number = firstLine + statements[last].lines.first + 1;
    }
    return last != None;
}

// The last one as the server reads them: what is included stands where the line does that includes it.
bool lookFromEnd(Found& found, const Configuration& configuration, const ConfigurationFile& file,
                 const std::string& name, int depth = 0) {
    constexpr int Deepest = 10;
    Found own;
    const bool has = look(own, file, file.content().text(), 0, None, name);
    const auto& includes = file.server().includes;
    for (auto include = includes.rbegin(); include != includes.rend() && depth < Deepest; ++include) {
        if ((has && include->line < own.number) || file.blockAt(include->line) != nullptr) {
            continue;
        }
        std::vector<std::string> paths = configuration.included(include->pattern);
        std::reverse(paths.begin(), paths.end());
        for (const std::string& path : paths) {
            const ConfigurationFile* part = configuration.file(path);
            if (part != nullptr && lookFromEnd(found, configuration, *part, name, depth + 1)) {
                return true;
            }
        }
    }
    found = has ? own : found;
    return has;
}

Expected<Found> find(const Configuration& configuration, const Arguments& given) {
    Found found;
    if (const auto name = given[InSite]) {
        const auto site = findSite(configuration, *name);
        if (!site.ok()) {
            return site.outcome();
        }
        for (size_t i = site->places.size(); i-- > 0;) {
            const Place& place = site->places[i];
            look(found, *place.file, place.block->text, place.block->lines.first, 0, given[DirectiveName]);
        }
        found.domain = "site.invalid";
    } else {
        lookFromEnd(found, configuration, configuration.main(), given[DirectiveName]);
    }
    return found.line.empty()
               ? failure(Status::NotFound, "directive " + inQuotes(given[DirectiveName]) + ": not found")
               : Expected(found);
}

// The directive that counts for the server: of a site that of its first block which has one.
const Directive* effective(const Reading& reading, const Site* site, const std::string& name) {
    if (site == nullptr) {
        const auto all = reading.inSection(Directive::None, name);
        return all.empty() ? nullptr : all.back();
    }
    for (const VirtualHost* host : servedBlocks(reading, *site)) {
        if (const auto all = reading.inSection(host->directive, name); !all.empty()) {
            return all.back();
        }
    }
    return nullptr;
}

// By the server's reading; false where that shows nothing.
bool getEffective(Session& session, const Configuration& configuration, const Arguments& given) {
    const auto name = given[InSite];
    const auto site = name ? findSite(configuration, *name) : Expected<Site>(failure(""));
    const auto reading = name && !site.ok() ? nullptr : askedServer(session, configuration);
    const Directive* found =
        reading != nullptr ? effective(*reading, name ? &*site : nullptr, given[DirectiveName]) : nullptr;
    const bool quoted = found != nullptr && found->arguments.starts_with('"');
    if (found == nullptr || (given[Quoted] && !quoted)) {
        return false;
    }
    const std::vector<std::string> words = argumentsIn(found->arguments);
    const std::string value = words.size() == 1 ? words.front() : std::string(found->arguments);
    session.output.set("directive", given[DirectiveName]);
    session.output.set("value", value);
    session.output.set("file", reading->originOf(*found).file);
    session.output.set("line", static_cast<long>(reading->originOf(*found).line));
    if (const auto wanted = given[Is]) {
        session.output.set("matches", *wanted == value || argumentsIn(*wanted) == words);
    }
    return true;
}

Outcome get(Session& session, const Configuration& configuration, const Arguments& given) {
    if (getEffective(session, configuration, given)) {
        return done();
    }
    const auto found = find(configuration, given);
    if (!found.ok()) {
        return found.outcome();
    }
    const std::string name = given[DirectiveName];
    // The line that names the site is never found in it.
    const bool inSite = !found->domain.empty() && !zp::conf::equalIgnoringCase(name, "ServerName");
    const Readable text((inSite ? "<VirtualHost *>\nServerName " + found->domain + "\n" : "") +
                        found->line + "\n" + (inSite ? "</VirtualHost>\n" : ""));
    const Readable line(found->line + "\n");
    ApacheHelper helper;
    std::string value;
    const int result = quietly(session.output, [&] {
        return inSite
                   ? helper.Apache_getDirectiveInVH(text.path(), found->domain, name, value, given[Quoted])
                   : helper.Apache_getDirectiveValue(text.path(), name, value, given[Quoted]);
    });
    if (result != 0) {
        return failure(Status::NotFound,
                       "directive " + inQuotes(name) + ": its value does not stand in quotes");
    }
    const std::vector<std::string> words = argumentsIn(value);
    const std::string shown = words.size() == 1 ? words.front() : value;
    session.output.set("directive", name);
    session.output.set("value", shown);
    session.output.set("file", found->file);
    session.output.set("line", static_cast<long>(found->number));
    if (const auto wanted = given[Is]) {
        session.output.set("matches", *wanted == shown || quietly(session.output, [&] {
                               return helper.Apache_isDirectiveWithValueExists(line.path(), name, *wanted,
                                                                               given[Quoted]);
                           }));
    }
    return done();
}

}  // namespace

Command directiveGet() {
    return {
        .words = "directive get",
        .summary = "Show a directive's value, of the server or of a website",
        .action = get,
        .parameters = {DirectiveName, InSite, Quoted, Is},
        .operations = {"ApacheHelper::Apache_getDirectiveValue", "ApacheHelper::Apache_getDirectiveInVH",
                       "ApacheHelper::Apache_isDirectiveWithValueExists"},
        .examples = {"directive get Timeout", "directive get DocumentRoot --site shop.example --quoted"},
    };
}

}  // namespace zpweb
