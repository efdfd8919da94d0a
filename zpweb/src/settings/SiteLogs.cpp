#include "settings/SiteLogs.h"

#include <algorithm>

#include "conf/Text.h"
#include "server/Reading.h"
#include "sys/Process.h"
#include "text/Sites.h"

namespace zpweb {

namespace {

namespace conf = zp::conf;

// The variables of a line. What lines behind it define counts for names that none before it does: an
// included file may be read before it all the same.
Defines definesAt(const Configuration& configuration, const ConfigurationFile& own, size_t line) {
    Defines defines;
    bool behind = false;
    for (const auto& file : configuration.files()) {
        for (size_t i = 0; i < file->lines().size(); ++i) {
            behind = behind || (file.get() == &own && i == line);
            const conf::Words words = conf::splitAtBlank(conf::skipSpace(file->lines()[i]));
            if (!conf::equalIgnoringCase(words.keyword, "Define")) {
                continue;
            }
            const std::vector<std::string> define = argumentsIn(words.rest);
            if (!define.empty() && !(behind && defines.contains(define[0]))) {
                defines[define[0]] = define.size() > 1 ? resolved(define[1], defines) : "";
            }
        }
    }
    return defines;
}

std::string ofEnvironment(const std::string& name) {
    const Finished variable = runProgram(
        {"sh", "-c", ". \"${APACHE_ENVVARS:-/etc/apache2/envvars}\" && printenv \"$1\"", "sh", name});
    return variable.ok() ? variable.output.substr(0, variable.output.find('\n')) : "";
}

// Empty when a variable is not known.
std::string withEnvironment(std::string text) {
    for (size_t begin = 0; (begin = text.find("${", begin)) != std::string::npos;) {
        const size_t end = text.find('}', begin);
        const std::string value =
            end == std::string::npos ? "" : ofEnvironment(text.substr(begin + 2, end - begin - 2));
        if (value.empty()) {
            return {};
        }
        text.replace(begin, end + 1 - begin, value);
        begin += value.size();
    }
    return text;
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
        path = withEnvironment(resolved(path, definesAt(configuration, *place.file, line)));
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
            logs.push_back({path, errors, place.file->path() + ":" + std::to_string(i + 1)});
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
