// Single directives.
#include "commands/Find.h"
#include "commands/Groups.h"
#include "commands/LineOperation.h"
#include "commands/Operation.h"
#include "commands/Parameters.h"
#include "commands/Scopes.h"
#include "input/Quoted.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

Expected<Target> targetOf(const Configuration& configuration, const Arguments& arguments) {
    if (!arguments.has("--site")) {
        return Target{configuration.main().path(), ""};
    }
    const auto place = findRunning(configuration, arguments.one("--site"));
    return place.ok() ? Expected(Target{place->file->path(), std::string(place->block->name)})
                      : place.outcome();
}

std::string wholeLine(const Arguments& arguments) {
    const std::string value = arguments.one("VALUE");
    return arguments.one("NAME") + " " + (arguments.has("--quoted") ? "\"" + value + "\"" : value);
}

Outcome get(Session& session, const Configuration& configuration, const Arguments& arguments) {
    const auto target = targetOf(configuration, arguments);
    if (!target.ok()) {
        return target.outcome();
    }
    const std::string name = arguments.one("NAME");
    const bool isQuoted = arguments.has("--quoted");
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
    if (arguments.has("--is")) {
        session.output.set("matches", quietly(session.output, [&] {
                               return helper.Apache_isDirectiveWithValueExists(
                                   target->file, name, arguments.one("--is"), isQuoted);
                           }));
    }
    return done();
}

using HelperCall = std::function<int(ApacheHelper&, const std::string& staged, const std::string& site)>;

// On the site that --site names: lines that begin with the directive may be changed, or only added.
Outcome inSite(Transaction& change, const Arguments& arguments, const char* operation, bool addsOnly,
               const HelperCall& call) {
    if (!arguments.has("--site")) {
        return failure(Status::Usage, "directive " + arguments.verb + ": --site is missing");
    }
    const auto target = targetOf(change.configuration(), arguments);
    if (!target.ok()) {
        return target.outcome();
    }
    const auto scope = [&](const ConfigurationFile& file) {
        return addsOnly ? sectionScope(file, target->site, [](std::string_view) { return false; })
                        : siteScope(file, target->site, beginsWithAny({arguments.one("NAME")}));
    };
    return runOn(change, *target,
                 {operation, addsOnly ? bound::AddDirective : bound::Directive, scope,
                  [&](ApacheHelper& helper, const std::string& staged) {
                      return call(helper, staged, target->site);
                  }});
}

Outcome add(Transaction& change, const Arguments& arguments) {
    if (arguments.has("--first")) {
        return inSite(change, arguments, "Apache_AddDirectivesInVH", true,
                      [&](ApacheHelper& helper, const std::string& staged, const std::string& site) {
                          StringVector lines{wholeLine(arguments)};
                          return helper.Apache_AddDirectivesInVH(staged, site, lines);
                      });
    }
    return inSite(change, arguments, "Apache_AddDirectiveInVH", true,
                  [&](ApacheHelper& helper, const std::string& staged, const std::string& site) {
                      return helper.Apache_AddDirectiveInVH(staged, site, arguments.one("NAME"),
                                                            arguments.one("VALUE"),
                                                            arguments.has("--quoted"));
                  });
}

Outcome set(Transaction& change, const Arguments& arguments) {
    return inSite(change, arguments, "Apache_UpdateDirectiveInVH", false,
                  [&](ApacheHelper& helper, const std::string& staged, const std::string& site) {
                      return helper.Apache_UpdateDirectiveInVH(staged, site, arguments.one("NAME"),
                                                               arguments.one("VALUE"),
                                                               arguments.has("--quoted"));
                  });
}

Outcome remove(Transaction& change, const Arguments& arguments) {
    return inSite(change, arguments, "Apache_DeleteDirectivesInVH", false,
                  [&](ApacheHelper& helper, const std::string& staged, const std::string& site) {
                      StringVector names{arguments.one("NAME")};
                      return helper.Apache_DeleteDirectivesInVH(staged, site, names);
                  });
}

Outcome insert(Transaction& change, const Arguments& arguments) {
    const auto scope = additionsScope;
    const auto call = [&](ApacheHelper& helper, const std::string& staged) {
        const bool before = !arguments.has("--after");
        return helper.Apache_writeDirective(staged, wholeLine(arguments),
                                            arguments.one(before ? "--before" : "--after"), before,
                                            leadingNumber(arguments.one("--line", "1")));
    };
    return runOn(change, {change.configuration().main().path(), ""},
                 {"Apache_writeDirective", bound::AddDirective, scope, call});
}

}  // namespace

std::vector<Command> directiveCommands() {
    const Parameter name = needed("NAME", Kind::Word, "The directive");
    const Parameter value = needed("VALUE", Kind::Text, "Its value");
    const Parameter site = option("--site", Kind::HostName, "SITE", "In this website's block");
    const Parameter quotes = flag("--quoted", "The value stands in quotes");
    return {
        {"directive get",
         "Show a directive's value, of the server or of a website",
         get,
         {name, site, quotes,
          option("--is", Kind::Text, "VALUE", "Tell whether the server has it with this value")},
         {"ApacheHelper::Apache_getDirectiveValue", "ApacheHelper::Apache_getDirectiveInVH",
          "ApacheHelper::Apache_isDirectiveWithValueExists"}},
        {"directive add",
         "Add a directive to a website's blocks",
         add,
         {name, value, site, quotes, flag("--first", "To its first block only")},
         {"ApacheHelper::Apache_AddDirectiveInVH", "ApacheHelper::Apache_AddDirectivesInVH"}},
        {"directive set",
         "Give a website's directive another value",
         set,
         {name, value, site, quotes},
         {"ApacheHelper::Apache_UpdateDirectiveInVH"}},
        {"directive delete",
         "Delete a directive from a website's block",
         remove,
         {name, site},
         {"ApacheHelper::Apache_DeleteDirectivesInVH"}},
        {"directive insert",
         "Insert a directive at server level",
         insert,
         {name, value, quotes,
          option("--before", Kind::Text, "DIRECTIVE", "Before the first line that begins so"),
          option("--after", Kind::Text, "DIRECTIVE", "Behind it"),
          option("--line", Kind::Number, "NUMBER", "At this line when there is none (1)")},
         {"ApacheHelper::Apache_writeDirective"}},
    };
}

}  // namespace zpweb
