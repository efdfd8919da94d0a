// The server takes a change up, or everything is as it was.
#include "change/Transaction.h"
#include "sys/File.h"

namespace zpweb {

Outcome Transaction::rollBack(const std::string& reason) {
    committed_ = false;
    Outcome back = putBack();
    if (!back.ok()) {
        return {Status::RolledBack, reason + "; " + back.message};
    }
    dropCheckpoint();
    return {Status::RolledBack, reason + "; the old configuration is back"};
}

Outcome Transaction::reload() {
    if (!serverChanged() || !settings_.reload) {
        return done();
    }
    const auto master = server_->master(*configuration_);
    if (!master) {
        output_.note("the server is not running with this configuration; nothing to reload");
        return done();
    }
    output_.step("reloading the server");
    // A running server is never asked to read what it cannot: that would be its end.
    if (!settings_.check) {
        if (const auto verdict = server_->check(configuration_->main().path()); !verdict.passed) {
            return rollBack("the server could not reload: " + verdict.output);
        }
    }
    if (const std::string obstacle = server_->obstacle(*configuration_, *master); !obstacle.empty()) {
        return rollBack("the server could not reload: " + obstacle);
    }
    Outcome reloaded = server_->reload(*configuration_, *master);
    return reloaded.ok() ? reloaded : repair(rollBack(reloaded.message));
}

// Brings the server back to the old configuration. One that has ended serves nobody: it is started. One
// that runs is never restarted.
Outcome Transaction::repair(Outcome rolledBack) {
    const auto old = Configuration::load(configuration_->main().path());
    if (!old.ok()) {
        return rolledBack;
    }
    const auto alive = server_->master(*old);
    Outcome repaired = alive ? server_->reload(*old, *alive) : server_->start();
    const bool ended = alive && !repaired.ok() && !server_->master(*old);
    if (ended) {
        repaired = server_->start();
    }
    if (!repaired.ok()) {
        rolledBack.message += ", but: " + repaired.message;
    } else if (!alive || ended) {
        rolledBack.message += ", and the server, which had ended, is started with it";
    } else {
        rolledBack.message += ", and the server has reloaded it";
    }
    return rolledBack;
}

}  // namespace zpweb
