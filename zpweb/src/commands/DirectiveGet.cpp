// directive get: a directive's value, of the server or of a site.
#include "commands/Commands.h"
#include "commands/shared/Directives.h"
#include "commands/shared/Operation.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

constexpr auto Is = option("--is", Kind::Text, "VALUE", "Tell whether the server has it with this value");

Outcome get(Session& session, const Configuration& configuration, const Arguments& given) {
    const auto target = targetOf(configuration, given);
    if (!target.ok()) {
        return target.outcome();
    }
    const std::string name = given[DirectiveName];
    const bool isQuoted = given[Quoted];
    ApacheHelper helper;
    std::string value;
    const int result = quietly(session.output, [&] {
        return target->site.empty()
                   ? helper.Apache_getDirectiveValue(target->file, name, value, isQuoted)
                   : helper.Apache_getDirectiveInVH(target->file, target->site, name, value, isQuoted);
    });
    if (result != 0) {
        return failure(Status::NotFound, "directive " + inQuotes(name) + ": not found");
    }
    session.output.set("directive", name);
    session.output.set("value", value);
    if (const auto wanted = given[Is]) {
        session.output.set("matches", quietly(session.output, [&] {
                               return helper.Apache_isDirectiveWithValueExists(target->file, name, *wanted,
                                                                               isQuoted);
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
