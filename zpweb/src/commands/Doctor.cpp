// doctor: what sleeps in a configuration until the next restart.
#include "commands/Commands.h"
#include "commands/shared/DiskFindings.h"
#include "commands/shared/ReadingFindings.h"
#include "commands/shared/TextFindings.h"
#include "server/Inspection.h"
#include "server/LogLinks.h"
#include "server/Logs.h"
#include "server/ServerUser.h"
#include "sys/File.h"
#include "sys/Process.h"
#include "sys/Trap.h"

namespace zpweb {

namespace {

constexpr auto Repair = flag(
    "--repair",
    "Remove the links by which sites' owners lead logs that root writes elsewhere, and move aside what is "
    "no log");

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

// One log may go through several links: each is looked at anew. Its owner can place them as fast as they
// are removed.
Outcome repairLog(const OpenedLog& log, List& rows, bool dryRun) {
    constexpr int MostTraps = 100;
    int traps = 0;
    for (auto trap = trapOn(log.path); trap; trap = dryRun ? std::nullopt : trapOn(log.path)) {
        if (++traps > MostTraps) {
            return failure(trap->path + ": it comes back as often as it is removed");
        }
        rows.row().add("site", log.site).add("link", trap->path);
        if (Outcome removed = dryRun ? done() : removeTrap(*trap); !removed.ok()) {
            return removed;
        }
    }
    return done();
}

// What cannot be mended of one log keeps no other from it.
Outcome repairLogs(const std::vector<OpenedLog>& logs, Output& output, bool dryRun) {
    List& rows = output.list("repaired", {"site", "link"});
    Outcome outcome;
    for (const OpenedLog& log : logs) {
        const Outcome repaired = repairLog(log, rows, dryRun);
        outcome = outcome.ok() ? repaired : outcome;
    }
    return outcome;
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
    const std::string user = serverAccount(configuration, server.reading.get()).user;
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
    findTemporaryIncludes(configuration, findings);
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
            "Begins with the server's check. Then: names that nobody can reach, names shadowed by a "
            "better address match, a Listen that is missing, certificates that are missing, run out, do "
            "not match or are not root's alone, logs that an owner can redirect, document roots that are "
            "missing or that the "
            "server's user cannot enter, missing log folders, dangling links, includes that load "
            "temporary files, password files that cannot be read, lines over the operations' bounds, "
            "leftovers of interrupted runs. The exit status is 1 when something was found. Listed "
            "besides: the default site of each listener, and as notes the blocks that come from a macro "
            "and the files of sites that are not enabled.",
        .examples = {"doctor", "doctor --json", "doctor --repair --dry-run"},
    };
}

}  // namespace zpweb
