#include "commands/shared/Directives.h"

#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "commands/table/Site.h"

namespace zpweb {

namespace {

Expected<Target> siteTarget(const Configuration& configuration, const Arguments& given) {
    if (!given.has(InSite)) {
        return failure(Status::Usage, "--site is missing: the directive is changed in a site");
    }
    return targetOf(configuration, given);
}

}  // namespace

Expected<Target> targetOf(const Configuration& configuration, const Arguments& given) {
    const auto name = given[InSite];
    if (!name) {
        return Target{configuration.main().path(), ""};
    }
    const auto site = findRunning(configuration, *name);
    return site.ok() ? Expected(Target{site->first().file->path(), site->name()}) : site.outcome();
}

std::string wholeLine(const Arguments& given) {
    const std::string value = given[DirectiveValue];
    return given[DirectiveName] + " " + (given[Quoted] ? "\"" + value + "\"" : value);
}

Outcome changeInSite(Transaction& change, const Arguments& given, const char* operation,
                     const SiteCall& call) {
    const auto target = siteTarget(change.configuration(), given);
    if (!target.ok()) {
        return target.outcome();
    }
    return runOn(change, *target,
                 {operation, bound::Directive,
                  [&](const ConfigurationFile& file) {
                      return siteScope(file, target->site, beginsWithAny({given[DirectiveName]}));
                  },
                  [&](ApacheHelper& helper, const std::string& staged) {
                      return call(helper, staged, target->site);
                  }});
}

Outcome addInSite(Transaction& change, const Arguments& given, const char* operation,
                  const SiteCall& call) {
    const auto target = siteTarget(change.configuration(), given);
    if (!target.ok()) {
        return target.outcome();
    }
    return runOn(change, *target,
                 {operation, bound::AddDirective,
                  [&](const ConfigurationFile& file) {
                      return sectionScope(file, target->site, [](std::string_view) { return false; });
                  },
                  [&](ApacheHelper& helper, const std::string& staged) {
                      return call(helper, staged, target->site);
                  }});
}

}  // namespace zpweb
