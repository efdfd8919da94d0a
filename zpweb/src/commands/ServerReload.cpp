// server reload: reloads the server, and sees that it answers.
#include "commands/Commands.h"
#include "server/Inspection.h"
#include "server/LogLinks.h"
#include "server/SpoiltCertificates.h"

namespace zpweb {

namespace {

Outcome reload(Session& session, const Configuration& configuration, const Arguments&) {
    const std::string main = configuration.main().path();
    const Server server(main, {});
    if (session.settings.check) {
        session.output.step("checking the configuration");
        const Server::Verdict verdict = server.check(main);
        if (!verdict.passed) {
            return failure(Status::Refused,
                           "refused by the server's check, not reloaded:\n" + verdict.output);
        }
    }
    const auto reading = inspect(Program(main), main, {}, {}).reading;
    Outcome ours =
        reading == nullptr ? done() : certificatesAreSound(*reading, server.pidFile(configuration));
    if (ours.ok() && !session.settings.allowLogLinks) {
        ours = areTheServers(openedLogs(reading.get(), configuration));
    }
    if (!ours.ok()) {
        return ours;
    }
    const auto master = server.master(configuration);
    if (!master) {
        return failure(Status::NotFound, "the server is not running with " + main);
    }
    if (const std::string obstacle = server.obstacle(configuration, *master); !obstacle.empty()) {
        return failure(Status::Refused, "not reloaded, the server would end: " + obstacle);
    }
    session.output.set("pid", *master);
    if (session.settings.dryRun || !session.settings.reload) {
        return done();
    }
    session.output.step("reloading the server");
    return server.reload(configuration, *master);
}

}  // namespace

Command serverReload() {
    return {
        .words = "server reload",
        .summary = "Reload the server, and see that it answers",
        .action = reload,
        .operations = {"CZPWebsite::CmdApchRestart"},
        .examples = {"server reload"},
    };
}

}  // namespace zpweb
