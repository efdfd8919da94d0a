// Runs that wait side by side, made as one change by the one that has the lock.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "commands/table/Run.h"
#include "store/Lock.h"
#include "store/Requests.h"

namespace zpweb {

// The lock; or what has become of the run meanwhile, because another one has made it along.
struct Turn {
    std::shared_ptr<Lock> lock;
    std::optional<RunAnswer> answer;
};

// Waits for the lock. `text` is the run, for others: see Handed.
Expected<Turn> waitForTurn(Session& session, const std::string& text);

// Makes the run and those that wait as one change. Absent when it is still to be made, alone: nobody else
// waits, or it cannot be one of several.
std::optional<RunAnswer> runWithOthers(const Session& session, const std::string& text, const Turn& turn);

}  // namespace zpweb
