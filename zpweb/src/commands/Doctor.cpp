// doctor: what sleeps in a configuration until the next restart.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>

#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/ReadingFindings.h"
#include "conf/Line.h"
#include "server/Inspection.h"
#include "server/LogLinks.h"
#include "server/Logs.h"
#include "store/Lock.h"
#include "sys/File.h"
#include "sys/Process.h"
#include "sys/Trap.h"

namespace zpweb {

namespace {

// The shortest bound of an operation that everyday commands use.
constexpr size_t ShortestBound = bound::Creation;

constexpr auto Repair = flag(
    "--repair",
    "Remove the links by which sites' owners lead logs that root writes elsewhere, and move aside what is "
    "no log");

std::string placeOf(const ConfigurationFile& file, size_t line) {
    return file.path() + ":" + std::to_string(line + 1);
}

void findMissingRoots(const Configuration& configuration, Findings& findings) {
    for (const auto& file : configuration.files()) {
        for (const Block& block : file->blocks()) {
            const std::string root(block.root);
            if (!block.stopped && !root.empty() && root.front() == '/' && !isDirectory(root)) {
                findings.push_back({"missing document root", placeOf(*file, block.lines.first), root});
            }
            if (!block.closed) {
                findings.push_back(
                    {"block without an end", placeOf(*file, block.lines.first), std::string(block.name)});
            }
        }
    }
}

void findDuplicates(const Configuration& configuration, Findings& findings) {
    std::map<std::string, std::string> claimed;
    for (const auto& file : configuration.files()) {
        for (const Block& block : file->blocks()) {
            if (block.stopped || block.name.empty()) {
                continue;
            }
            std::string key(block.name);
            std::transform(key.begin(), key.end(), key.begin(), zp::conf::lower);
            const auto [first, fresh] =
                claimed.try_emplace(key + " " + std::string(block.address), placeOf(*file, block.nameLine));
            if (!fresh) {
                findings.push_back({"name claimed twice", placeOf(*file, block.nameLine),
                                    std::string(block.name) + ", first at " + first->second});
            }
        }
    }
}

bool looksTemporary(const std::string& name) {
    for (const char* mark : {".zpbackup", "_zpbackup", ".bak", ".orig", ".rej", ".swp", ".tmp", ".dpkg-",
                             ".rpmsave", ".rpmnew", "_temp", ".zpweb"}) {
        if (name.find(mark) != std::string::npos) {
            return true;
        }
    }
    const bool number = name.size() >= 9 &&
                        std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
    return number || name.ends_with('~') || name.starts_with('#') || name.ends_with(".save");
}

void findIncludes(const Configuration& configuration, Findings& findings) {
    for (const auto& file : configuration.files()) {
        for (const IncludeLine& include : file->server().includes) {
            for (const std::string& path : configuration.included(include.pattern)) {
                if (looksTemporary(nameOf(path))) {
                    findings.push_back({"temporary file is included", placeOf(*file, include.line), path});
                }
            }
        }
    }
}

void findDanglingLinks(const std::string& directory, int depth, Findings& findings) {
    constexpr int DeepestDirectory = 4;
    for (const std::string& name :
         depth < DeepestDirectory ? entriesOf(directory) : std::vector<std::string>()) {
        const std::string path = directory + "/" + name;
        struct stat status {};
        const bool link = ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
        if (link && ::access(path.c_str(), F_OK) != 0) {
            findings.push_back({"dangling link", path, "what it points at is gone"});
        } else if (S_ISDIR(status.st_mode) && name != ".zpweb") {
            findDanglingLinks(path, depth + 1, findings);
        }
    }
}

void findDanglingLinks(const Configuration& configuration, Findings& findings) {
    const std::string directory = directoryOf(configuration.main().path());
    findDanglingLinks(directory, 0, findings);
    for (const auto& file : configuration.files()) {
        for (const IncludeLine& include : file->server().includes) {
            for (const std::string& path : configuration.included(include.pattern)) {
                if (!path.starts_with(directory + "/") && exists(path) && !isFile(path)) {
                    findings.push_back(
                        {"dangling link", path, "included at " + placeOf(*file, include.line)});
                }
            }
        }
    }
}

// The account that the server's processes run as; empty when the configuration does not tell.
std::string serverUser(const std::string& main, Output& output) {
    std::string user;
    std::string group;
    CZPWebsite website(nullptr, main.c_str());
    static_cast<void>(quietly(output, [&] { return website.getApacheUserGroup(main, user, group); }));
    return user;
}

void findPasswordFiles(const Configuration& configuration, const std::string& user, Findings& findings) {
    for (const auto& file : configuration.files()) {
        for (size_t i = 0; i < file->lines().size(); ++i) {
            const zp::conf::Line line(withoutReturn(file->lines()[i]));
            if (!line.begins("AuthUserFile")) {
                continue;
            }
            const std::string path(unquoted(line.argumentOf("AuthUserFile")));
            struct stat status {};
            if (::stat(path.c_str(), &status) != 0) {
                findings.push_back({"missing password file", placeOf(*file, i), path});
            } else if (!S_ISREG(status.st_mode) || !isReadableBy(user, path)) {
                findings.push_back({"password file that the server cannot read", placeOf(*file, i), path});
            }
        }
    }
}

void findLongLines(const Configuration& configuration, Findings& findings) {
    for (const auto& file : configuration.files()) {
        for (size_t i = 0; i < file->lines().size(); ++i) {
            if (file->lines()[i].size() > ShortestBound) {
                findings.push_back({"line over the bound", placeOf(*file, i),
                                    std::to_string(file->lines()[i].size()) + " characters, more than " +
                                        std::to_string(ShortestBound)});
            }
        }
    }
}

// While somebody holds the lock, what stands there belongs to a run that is still going on.
void findLeftovers(const std::string& main, Findings& findings) {
    const State state(main);
    const bool busy = Lock::isHeld(state);
    for (const std::string& path : {state.journal(), state.stage()}) {
        if (!busy && exists(path)) {
            findings.push_back({"leftover of a run", path, "the next change clears it up"});
        }
    }
    for (const std::string& name : entriesOf(directoryOf(main))) {
        const bool scratch = name.size() >= 9 && std::all_of(name.begin(), name.end(),
                                                             [](char c) { return c >= '0' && c <= '9'; });
        if (scratch || name.starts_with(nameOf(main) + "_zpbackup") ||
            name.starts_with(nameOf(main) + "_temp")) {
            findings.push_back(
                {"leftover scratch file", directoryOf(main) + "/" + name, "not used by the server"});
        }
    }
}

// What only a configuration that the server takes can tell.
void findByReading(const Reading& reading, Output& output, const std::string& user, Findings& findings,
                   Findings& notes) {
    findUnreachable(reading, findings);
    findCertificates(reading, findings);
    findClosedRoots(reading, user, findings);
    noteMacros(reading, notes);
    List& listeners = output.list("listeners", {"listener", "default"});
    for (const Endpoint& endpoint : reading.endpoints()) {
        listeners.row()
            .add("listener", endpoint.text())
            .add("default", reading.describe(reading.leadsTo("", endpoint)));
    }
}

// Files of sites beside those that are enabled, as Debian keeps them.
void noteDisabled(const Configuration& configuration, Findings& notes) {
    const std::string directory = directoryOf(configuration.main().path()) + "/sites-available";
    for (const std::string& name :
         isDirectory(directory) ? entriesOf(directory) : std::vector<std::string>()) {
        const auto real = realPathOf(directory + "/" + name);
        if (name.ends_with(".conf") && real.ok() && configuration.file(*real) == nullptr) {
            notes.push_back(
                {"not enabled", directory + "/" + name, "a2ensite " + name.substr(0, name.size() - 5)});
        }
    }
}

// One log may go through several links: each is looked at anew.
Outcome repairLogs(const std::vector<OpenedLog>& logs, Output& output, bool dryRun) {
    List& rows = output.list("repaired", {"site", "link"});
    for (const OpenedLog& log : logs) {
        for (auto trap = trapOn(log.path); trap; trap = dryRun ? std::nullopt : trapOn(log.path)) {
            rows.row().add("site", log.site).add("link", trap->path);
            if (Outcome removed = dryRun ? done() : removeTrap(*trap); !removed.ok()) {
                return removed;
            }
        }
    }
    return done();
}

void show(Output& output, std::string_view field, const Findings& findings) {
    List& rows = output.list(field, {"finding", "place", "detail"});
    for (const Finding& finding : findings) {
        rows.row().add("finding", finding.kind).add("place", finding.place).add("detail", finding.text);
    }
}

Outcome doctor(Session& session, const Configuration& configuration, const Arguments& given) {
    const std::string& main = configuration.main().path();
    Findings findings;
    Findings notes;
    session.output.step("asking the server");
    const Inspected server = inspect(Program(main), main, {}, {});
    if (!server.sound) {
        findings.push_back(
            {server.ran ? "the server refuses its configuration" : "the server cannot be asked", main,
             server.ran ? server.words : "apache2 or httpd is not to be found"});
    }
    const std::string user = serverUser(main, session.output);
    const std::vector<OpenedLog> logs = openedLogs(server.reading.get(), configuration);
    Outcome repaired = given[Repair] ? repairLogs(logs, session.output, session.settings.dryRun) : done();
    if (!repaired.ok()) {
        return repaired;
    }
    findRedirectableLogs(logs, findings);
    if (server.reading != nullptr) {
        findByReading(*server.reading, session.output, user, findings, notes);
    } else {
        findDuplicates(configuration, findings);
    }
    for (const std::string& missing : missingLogDirectories(configuration)) {
        const size_t end = missing.rfind(": ");
        findings.push_back({"missing log folder", missing.substr(0, end), missing.substr(end + 2)});
    }
    findMissingRoots(configuration, findings);
    findIncludes(configuration, findings);
    findDanglingLinks(configuration, findings);
    findPasswordFiles(configuration, user, findings);
    findLongLines(configuration, findings);
    findLeftovers(main, findings);
    noteDisabled(configuration, notes);
    show(session.output, "findings", findings);
    if (!notes.empty() || session.settings.json) {
        show(session.output, "notes", notes);
    }
    if (findings.empty()) {
        session.output.note("nothing found");
        return done();
    }
    return failure(std::to_string(findings.size()) + (findings.size() == 1 ? " finding" : " findings"));
}

}  // namespace

Command doctorFindings() {
    return {
        .words = "doctor",
        .summary = "Find what sleeps until the next restart",
        .action = doctor,
        .parameters = {Repair},
        .more =
            "Begins with the server's check. Then: names that nobody can reach, names shadowed by a better "
            "address match, a Listen that is missing, certificates that are missing, run out or do not "
            "match, "
            "logs that an owner can redirect, document roots that are missing or that the server's user "
            "cannot "
            "enter, missing log folders, dangling links, includes that load temporary files, password "
            "files that "
            "cannot be read, lines over the operations' bounds, leftovers of interrupted runs. The exit "
            "status is "
            "1 when something was found. Listed besides: the default site of each listener, and as notes "
            "the "
            "blocks that come from a macro and the files of sites that are not enabled.",
        .examples = {"doctor", "doctor --json", "doctor --repair --dry-run"},
    };
}

}  // namespace zpweb
