#include "server/LogLinks.h"

#include <algorithm>
#include <set>

#include "server/Logs.h"
#include "sys/Trap.h"

namespace zpweb {

namespace {

constexpr const char* LogDirectives[] = {"ErrorLog", "CustomLog", "TransferLog", "ForensicLog",
                                         "GlobalLog"};

// Empty for what is no log, or none in a file.
std::string logFileOf(const Directive& directive) {
    if (std::none_of(std::begin(LogDirectives), std::end(LogDirectives),
                     [&](const char* name) { return directive.is(name); })) {
        return {};
    }
    const auto words = argumentsIn(directive.arguments);
    return words.empty() || words[0].starts_with('|') || lowerCase(words[0]).starts_with("syslog")
               ? std::string()
               : words[0];
}

std::string siteOf(const Reading& reading, const Directive& directive) {
    for (uint32_t at = directive.parent; at != Directive::None; at = reading.directives()[at].parent) {
        const Directive& section = reading.directives()[at];
        if (section.is("VirtualHost")) {
            return reading.valueIn(at, "ServerName");
        }
    }
    return {};
}

std::vector<OpenedLog> logsIn(const Reading& reading) {
    std::vector<OpenedLog> logs;
    std::set<std::string> known;
    for (const Directive& directive : reading.directives()) {
        const std::string named = logFileOf(directive);
        if (!named.empty() && known.insert(named).second) {
            logs.push_back(
                {siteOf(reading, directive), reading.absolute(named), reading.originOf(directive).text()});
        }
    }
    return logs;
}

}  // namespace

std::vector<OpenedLog> openedLogs(const Reading* reading, const Configuration& configuration) {
    if (reading != nullptr && reading->complete()) {
        return logsIn(*reading);
    }
    std::vector<OpenedLog> logs;
    const ConfigurationFile* file = nullptr;
    size_t next = 0;  // of its blocks, the first that does not end before the log's line
    for (const NamedLog& log : namedLogs(configuration)) {
        next = log.file == file ? next : 0;
        file = log.file;
        const auto& blocks = file->blocks();
        while (next < blocks.size() && blocks[next].lines.end <= log.line) {
            ++next;
        }
        const bool ofBlock = next < blocks.size() && blocks[next].lines.holds(log.line);
        logs.push_back({ofBlock ? std::string(blocks[next].name) : "", log.path,
                        file->path() + ":" + std::to_string(log.line + 1)});
    }
    return logs;
}

namespace {

Outcome refusalOf(const OpenedLog& log, const Trap& trap, size_t more) {
    const bool pipe = trap.kind == Trap::Kind::Pipe;
    const std::string others = more > 0 ? " and " + std::to_string(more) + " more" : "";
    if (trap.kind == Trap::Kind::NoLog) {
        return failure(Status::Refused, "site " + (log.site.empty() ? log.place : log.site) + others +
                                            ": the server cannot write to its log " + trap.path +
                                            " and would end at the reload. \"zpweb doctor --repair\" "
                                            "moves aside what stands there");
    }
    return failure(Status::Refused,
                   "site " + (log.site.empty() ? log.place : log.site) + others + ": its log " + log.path +
                       (pipe ? " is the named pipe " : " goes through the symbolic link ") + trap.path +
                       ", which others than root can have placed: at the reload root would " +
                       (pipe ? "wait for a reader of it" : "write where it leads") +
                       ". \"zpweb doctor --repair\" removes it, --allow-log-links goes on");
}

}  // namespace

Outcome areTheServers(const std::vector<OpenedLog>& logs) {
    std::vector<std::pair<const OpenedLog*, Trap>> trapped;
    for (const OpenedLog& log : logs) {
        if (auto trap = trapOn(log.path)) {
            trapped.emplace_back(&log, std::move(*trap));
        }
    }
    return trapped.empty() ? done()
                           : refusalOf(*trapped.front().first, trapped.front().second, trapped.size() - 1);
}

}  // namespace zpweb
