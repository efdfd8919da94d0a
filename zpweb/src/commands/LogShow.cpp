// log show: the last lines of a site's logs, and those to come.
#include <algorithm>

#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "input/Quoted.h"
#include "settings/LogTail.h"
#include "settings/SiteLogs.h"

namespace zpweb {

namespace {

constexpr auto Errors = flag("--errors", "The error log only");
constexpr auto Requests = flag("--requests", "The logs of requests only");
constexpr auto LineCount = numberOption("--lines", "NUMBER", "So many lines of each (10)");
constexpr auto Follow = flag("--follow", "Go on with what is written from now on, until interrupted");

bool isWanted(const SiteLog& log, const Arguments& given) {
    return given[Errors] == given[Requests] || log.errors == given[Errors];
}

Outcome showLog(Session& session, const Configuration& configuration, const Site& site,
                const Arguments& given) {
    std::vector<SiteLog> logs = logsOf(configuration, site.places);
    std::erase_if(logs, [&](const SiteLog& log) { return !isWanted(log, given); });
    if (logs.empty()) {
        return failure(Status::NotFound, "site " + inQuotes(site.name()) + " names no such log file");
    }
    const auto count = static_cast<size_t>(given[LineCount].value_or(10));
    if (given[Follow]) {
        return followLogs(logs, count);
    }
    List& rows = session.output.list("lines", {"log", "line"});
    for (const SiteLog& log : logs) {
        const auto lines = lastLines(log.path, count);
        if (!lines.ok()) {
            session.output.warning(lines.outcome().message);
            continue;
        }
        for (const std::string& line : *lines) {
            rows.row().add("log", log.path).add("line", line);
        }
    }
    return done();
}

}  // namespace

Command logShow() {
    return {
        .words = "log show",
        .summary = "Show the last lines of a website's logs",
        .action = showLog,
        .parameters = {SiteName, Errors, Requests, LineCount, Follow},
        .more = "A log that its owner has made a link to another file is not read.",
        .examples = {"log show shop.example --errors", "log show shop.example -f"},
    };
}

}  // namespace zpweb
