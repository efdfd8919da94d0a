#include "phases/Watch.h"

#include "sys/Detached.h"

namespace zpweb {

Outcome watchFor(const std::string& configuration, std::chrono::seconds within) {
    const auto program = ownProgram();
    if (!program.ok()) {
        return program.outcome();
    }
    std::vector<std::string> words{*program,         "--conf", configuration, "--quiet",
                                   "--lock-timeout", "3600",   "confirm",     "--overdue"};
    constexpr std::chrono::seconds UntilItIsOverdue{2};
    if (startBySystemd(words, within + UntilItIsOverdue)) {
        return done();
    }
    words.emplace_back("--wait");
    Outcome started = startDetached(words);
    return started.ok() ? started : failure("nobody would take the change back: " + started.message);
}

}  // namespace zpweb
