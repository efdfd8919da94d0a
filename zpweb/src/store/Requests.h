// Changes that wait for the lock, each as a file in the state directory that root alone can enter, so that
// whoever holds the lock can make them along with its own. Nothing of it outlives the machine.
//
//   ID         waits; its process holds a lock on the file as long as it lives
//   ID.taken   the holder of the lock is making it
//   ID.alone   it was given back: its process makes it by itself
//   ID.answer  it is made, and this is what its process has to tell
//
// Whoever has the lock, and has recovered, finds its request answered, or nothing of it done: answers are
// written before the journal of the change goes, and recovery answers what it completes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "output/Output.h"
#include "store/State.h"
#include "sys/Descriptor.h"
#include "sys/Outcome.h"

namespace zpweb {

struct RunAnswer {
    Outcome outcome;
    Told told;
};

// One's own.
class OwnRequest {
public:
    // None where it cannot be placed: its process just waits, then.
    static std::optional<OwnRequest> place(const State& state, const std::string& text);
    OwnRequest(OwnRequest&&) = default;
    OwnRequest& operator=(OwnRequest&&) = delete;
    ~OwnRequest();  // nothing is left of it

    // Nobody can take it any more. False: somebody has.
    bool withdraw();
    bool isAnswered() const;
    std::optional<RunAnswer> answer() const;  // under the lock

private:
    OwnRequest(std::string path, Descriptor file) : path_(std::move(path)), file_(std::move(file)) {}

    std::string path_;
    Descriptor file_;
};

struct WaitingRequest {
    std::string id, text;
};

// Under the lock. What processes have left that have ended, or another user's, goes.
void removeDeadRequests(const State& state);
// Under the lock: a living process has not come for its answer yet.
bool othersAreAnswered(const State& state);
// Under the lock, and while somebody waits: returns once no more arrive, or it has taken too long.
void letRequestsArrive(const State& state);
// Under the lock: those of living processes of the same user, oldest first.
std::vector<WaitingRequest> waitingRequests(const State& state);
bool takeRequest(const State& state, const std::string& id);
void giveBackRequest(const State& state, const std::string& id);
// Unless it is answered already.
Outcome answerRequest(const State& state, const std::string& id, const RunAnswer& answer);

}  // namespace zpweb
