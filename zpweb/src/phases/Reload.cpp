#include "phases/Reload.h"

#include "server/ErrorLog.h"

namespace zpweb {

namespace {

// A running server is never asked to read what it cannot: that would be its end.
Outcome obstacleTo(const Reloading& change, pid_t master) {
    if (!change.checked) {
        if (const auto verdict = change.server.check(change.configuration.main().path()); !verdict.passed) {
            return failure("the server could not reload: " + verdict.output);
        }
    }
    const std::string obstacle = change.server.obstacle(change.configuration, master);
    return obstacle.empty() ? done() : failure("the server could not reload: " + obstacle);
}

}  // namespace

Reloaded reload(const Reloading& change) {
    const auto master = change.server.master(change.configuration);
    if (!master) {
        change.output.note("the server is not running with this configuration; nothing to reload");
        return {};
    }
    change.output.step("reloading the server");
    if (Outcome hindered = obstacleTo(change, *master); !hindered.ok()) {
        return {hindered};
    }
    const ErrorLog log(change.errorLog);
    Outcome outcome = change.server.reload(change.configuration, *master);
    if (const std::string said = outcome.ok() ? "" : log.said(); !said.empty()) {
        outcome.message += "; its error log says: " + said;
    }
    for (const auto& proof : change.proofs) {
        outcome = outcome.ok() ? proof() : outcome;
    }
    return {outcome, true};
}

std::string bringBack(const Server& server, const std::string& main) {
    const auto old = Configuration::load(main);
    if (!old.ok()) {
        return ", but: " + old.outcome().message;
    }
    const auto alive = server.master(*old);
    Outcome repaired = alive ? server.reload(*old, *alive) : server.start(*old);
    const bool ended = alive && !repaired.ok() && !server.master(*old);
    if (ended) {
        repaired = server.start(*old);
    }
    if (!repaired.ok()) {
        return ", but: " + repaired.message;
    }
    return !alive || ended ? ", and the server, which had ended, is started with it"
                           : ", and the server has reloaded it";
}

}  // namespace zpweb
