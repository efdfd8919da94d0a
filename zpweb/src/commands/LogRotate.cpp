// log rotate: packs or deletes a site's access log.
#include <sys/stat.h>

#include <algorithm>

#include "commands/Commands.h"
#include "commands/shared/LogArchive.h"
#include "input/Quoted.h"
#include "settings/LogPolicyChange.h"
#include "settings/SiteLogs.h"
#include "settings/SiteSettings.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/Look.h"

namespace zpweb {

namespace {

constexpr auto Size = numberOption("--size", "MEGABYTES", "Only a log of at least this size (0)");
constexpr auto Delete = flag("--delete", "Delete it without packing it");

constexpr off_t Megabyte = 1048576;
constexpr size_t MostAtOnce = 50;  // each takes its time, and an owner may have made any number

std::string accessLogOf(const Configuration& configuration, const Site& site) {
    const std::vector<SiteLog> logs = logsOf(configuration, site.places);
    const auto log =
        std::find_if(logs.begin(), logs.end(), [](const SiteLog& each) { return !each.errors; });
    return log == logs.end() ? "" : log->path;
}

// Everything that is aside by now, also what an earlier rotation had to leave.
Outcome finishAll(Transaction& change, const std::string& site, const std::string& log, bool packs,
                  const LetGo& letGo) {
    Outcome outcome;
    std::vector<std::string> left = leftAside(change.state(), log);
    if (left.size() > MostAtOnce) {
        change.output().warning(log + ": " + std::to_string(left.size()) + " lie aside; this rotation " +
                                (packs ? "packs " : "deletes ") + std::to_string(MostAtOnce) +
                                " of them, the next ones the others");
    }
    left.resize(std::min(left.size(), MostAtOnce));
    for (const std::string& aside : left) {
        if (!letGo(aside)) {
            change.output().warning(aside + ": the server may still write to it; the next rotation of \"" +
                                    site + "\" with a reload " + (packs ? "packs" : "deletes") + " it");
            continue;
        }
        Outcome finished = packs ? pack(change, site, aside, log) : discard(change, site, aside);
        outcome = finished.ok() ? outcome : finished;
    }
    return outcome.ok() && !change.fault().ok()
               ? failure(log + ": what is aside could not be looked for; the next rotation finishes it")
               : outcome;
}

Outcome rotate(Transaction& change, const Site& found, const Arguments& given) {
    const std::string site = found.name();
    const std::string log = accessLogOf(change.configuration(), found);
    if (Outcome reached = reachedWithoutForeignLink(directoryOf(log)); !reached.ok()) {
        return reached;
    }
    if (nameOf(log).find_first_of(" \t\"\\") != std::string::npos) {
        return failure(Status::Refused, log +
                                            ": a log whose name has a blank, a quote or a backslash "
                                            "cannot be packed; give it another name (CustomLog)");
    }
    struct stat status {};
    const bool isThere = !log.empty() && lookAt(log, status);
    if (!isThere && leftAside(change.state(), log).empty()) {
        return failure(Status::NotFound, "site " + inQuotes(site) + " has no access log to rotate");
    }
    change.output().set("log", log);
    change.output().set("bytes", status.st_size);
    if (status.st_size / Megabyte < given[Size].value_or(0)) {
        return done();  // below the threshold
    }
    const std::string other = rotatedBy(otherRotations(), log);
    if (!other.empty() || policiesIn(change).of(settingName(site)) != nullptr) {
        change.output().note((other.empty() ? std::string(LogPolicyFile) : other) +
                             " rotates it, too: what is packed now is not among the logs that it counts");
    }
    if (Outcome can = given[Delete] ? done() : canBePacked(log); !can.ok()) {
        return can;
    }
    if (isThere) {
        change.afterwards([log] { return putAside(log).outcome(); });
    }
    change.afterReload([=, &change, packs = !given[Delete]](const LetGo& letGo) {
        return finishAll(change, site, log, packs, letGo);
    });
    return done();
}

}  // namespace

Command logRotate() {
    return {
        .words = "log rotate",
        .summary = "Pack or delete a website's access log",
        .action = rotate,
        .parameters = {SiteName, Size, Delete},
        .operations = {"CZPWebsite::rotateLog", "currentTimeStamp"},
        .more =
            "The log is put aside, the server is told by a graceful reload (one for all that \"apply\" "
            "rotates), and when it has let go of the old file that is packed, so that no line is lost. "
            "It is not taken back by \"undo\".",
        .examples = {"log rotate shop.example --size 100"},
    };
}

}  // namespace zpweb
