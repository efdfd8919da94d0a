#include "settings/SiteLogs.h"

#include <algorithm>
#include <map>

#include "conf/Text.h"
#include "sys/Process.h"

namespace zpweb {

namespace {

namespace conf = zp::conf;

// A variable of the server's environment, or one that the configuration defines.
std::string valueOf(const Configuration& configuration, const std::string& name) {
    for (const auto& file : configuration.files()) {
        for (const std::string_view line : file->lines().all) {
            const conf::Words words = conf::splitAtBlank(conf::skipSpace(line));
            const conf::Words define = conf::splitAtBlank(conf::skipSpace(words.rest));
            if (conf::equalIgnoringCase(words.keyword, "Define") && define.keyword == name) {
                return std::string(conf::unquoted(conf::trimEnd(conf::skipSpace(define.rest))));
            }
        }
    }
    const Finished variable = runProgram(
        {"sh", "-c", ". \"${APACHE_ENVVARS:-/etc/apache2/envvars}\" && printenv \"$1\"", "sh", name});
    return variable.ok() ? variable.output.substr(0, variable.output.find('\n')) : "";
}

// Empty when a variable is not known.
std::string resolved(const Configuration& configuration, std::string text) {
    for (size_t begin = 0; (begin = text.find("${")) != std::string::npos;) {
        const size_t end = text.find('}', begin);
        const std::string value =
            end == std::string::npos ? "" : valueOf(configuration, text.substr(begin + 2, end - begin - 2));
        if (value.empty()) {
            return {};
        }
        text.replace(begin, end + 1 - begin, value);
    }
    return text;
}

// Empty for a program and for the system's log.
std::string fileIn(const Configuration& configuration, std::string_view argument) {
    const bool quoted = argument.starts_with('"');
    const std::string_view word =
        quoted ? conf::upTo(argument.substr(1), "\"") : conf::upTo(argument, " \t\r");
    if (word.empty() || word.front() == '|' || conf::beginsIgnoringCase(word, "syslog")) {
        return {};
    }
    const std::string path = resolved(configuration, std::string(word));
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
        const std::string path = fileIn(configuration, conf::skipSpace(words.rest));
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
