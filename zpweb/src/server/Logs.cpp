#include "server/Logs.h"

#include <set>

#include "conf/Text.h"
#include "sys/File.h"

namespace zpweb {

namespace {

bool namesLog(std::string_view text) {
    for (const std::string_view directive : {"ErrorLog", "CustomLog", "TransferLog"}) {
        if (zp::conf::beginsIgnoringCase(text, directive) && text.size() > directive.size() &&
            zp::conf::isSpace(text[directive.size()])) {
            return true;
        }
    }
    return false;
}

// The file that a log directive names; empty for a program, the system's log or a variable.
std::string logFile(std::string_view text, const std::string& root) {
    const std::string_view argument = zp::conf::skipSpace(text.substr(text.find_first_of(" \t")));
    const std::string_view file =
        argument.starts_with('"') ? unquoted(argument) : zp::conf::upTo(argument, " \t");
    if (file.empty() || file.front() == '|' || zp::conf::contains(file, "${") ||
        zp::conf::beginsIgnoringCase(file, "syslog")) {
        return {};
    }
    return file.front() == '/' ? std::string(file) : root + "/" + std::string(file);
}

}  // namespace

std::vector<NamedLog> namedLogs(const Configuration& configuration) {
    std::vector<NamedLog> logs;
    std::string root;
    for (const auto& file : configuration.files()) {
        for (size_t i = 0; i < file->lines().size(); ++i) {
            const std::string_view text = zp::conf::skipSpace(withoutReturn(file->lines()[i]));
            if (text.empty() || zp::conf::lower(text[0]) > 't' || zp::conf::lower(text[0]) < 'c' ||
                !namesLog(text)) {
                continue;
            }
            if (root.empty()) {
                root = configuration.serverRoot();
            }
            if (std::string log = logFile(text, root); !log.empty()) {
                logs.push_back({std::move(log), file.get(), i});
            }
        }
    }
    return logs;
}

std::vector<std::string> missingLogDirectories(const Configuration& configuration) {
    std::vector<std::string> missing;
    std::set<std::string> present;
    for (const NamedLog& log : namedLogs(configuration)) {
        const std::string directory = directoryOf(log.path);
        if (present.contains(directory)) {
            continue;
        }
        if (isDirectory(directory)) {
            present.insert(directory);
        } else {
            missing.push_back(log.file->path() + ":" + std::to_string(log.line + 1) + ": " + directory);
        }
    }
    return missing;
}

}  // namespace zpweb
