// directive get: a directive's value, of the server or of a site.
#include "commands/Commands.h"
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

void look(Found& found, const ConfigurationFile& file, std::string_view text, size_t firstLine,
          size_t level, const std::string& name) {
    const Statements statements(text);
    const size_t last = lastOf(statements, level, isOneOf({name}));
    if (last != None) {
        found.line = canonical(statements[last]);
        found.file = file.path();
        found.number = firstLine + statements[last].lines.first + 1;
    }
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
        for (const auto& file : configuration.files()) {
            look(found, *file, file->content().text(), 0, None, given[DirectiveName]);
        }
    }
    return found.line.empty()
               ? failure(Status::NotFound, "directive " + inQuotes(given[DirectiveName]) + ": not found")
               : Expected(found);
}

Outcome get(Session& session, const Configuration& configuration, const Arguments& given) {
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
    session.output.set("directive", name);
    session.output.set("value", value);
    session.output.set("file", found->file);
    session.output.set("line", static_cast<long>(found->number));
    if (const auto wanted = given[Is]) {
        session.output.set("matches", quietly(session.output, [&] {
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
