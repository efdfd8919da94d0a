#include "settings/SiteLogs.h"

#include <algorithm>

#include "conf/Text.h"
#include "server/Program.h"
#include "server/Reading.h"
#include "text/Sites.h"

namespace zpweb {

namespace {

namespace conf = zp::conf;

// Empty when a variable is not known.
std::string withEnvironment(const std::string& text, const std::string& main) {
    if (!conf::contains(text, "${")) {
        return text;
    }
    const std::string whole = resolved(text, variablesOfServer(main));
    return conf::contains(whole, "${") ? "" : whole;
}

// Empty for a program and for the system's log.
std::string fileIn(const Configuration& configuration, const Place& place, size_t line,
                   std::string_view arguments) {
    const std::vector<std::string> words = argumentsIn(arguments);
    std::string path = words.empty() ? "" : words.front();
    if (path.empty() || path.front() == '|' || conf::beginsIgnoringCase(path, "syslog")) {
        return {};
    }
    if (conf::contains(path, "${")) {
        path =
            withEnvironment(configuration.resolvedAt(path, *place.file, line), configuration.main().path());
    }
    return path.empty() || path.front() == '/' ? path : configuration.serverRoot() + "/" + path;
}

void addLogs(std::vector<SiteLog>& logs, const Configuration& configuration, const Place& place) {
    const Lines& lines = place.file->lines();
    for (size_t i = place.block->lines.first; i < place.block->lines.end; ++i) {
        const conf::Words words = conf::splitAtBlank(conf::skipSpace(lines[i]));
        const bool errors = conf::equalIgnoringCase(words.keyword, "ErrorLog");
        if (!errors && !conf::equalIgnoringCase(words.keyword, "CustomLog") &&
            !conf::equalIgnoringCase(words.keyword, "TransferLog")) {
            continue;
        }
        const std::string path = fileIn(configuration, place, i, words.rest);
        const bool known =
            std::any_of(logs.begin(), logs.end(), [&](const SiteLog& log) { return log.path == path; });
        if (!path.empty() && !known) {
            logs.push_back(
                {path, errors, place.file->path() + ":" + std::to_string(place.file->firstLine() + i + 1)});
        }
    }
}

}  // namespace

std::vector<SiteLog> logsOf(const Configuration& configuration, const std::vector<Place>& places) {
    std::vector<SiteLog> logs;
    for (const Place& place : places) {
        if (!place.block->stopped) {
            addLogs(logs, configuration, place);
        }
    }
    return logs;
}

}  // namespace zpweb
