#include "phases/Outstanding.h"

#include <sys/stat.h>

#include <cerrno>

#include "phases/AccessBefore.h"
#include "store/Checkpoints.h"

namespace zpweb {

namespace {

using zp::host::Effect;

// One that cannot be looked at is none that is gone.
bool isGone(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) != 0 && errno == ENOENT;
}

Outcome carriedOut(const Effect& effect) {
    const bool removes = effect.step == Effect::Step::RemoveTree;
    // What fails for a moment is tried once more: the change is in place, and this belongs to it.
    if ((removes && isGone(effect.path)) || zp::host::carryOut(effect) || zp::host::carryOut(effect)) {
        return done();
    }
    return failure(effect.path + (removes
                                      ? ": could not be removed"
                                      : ": not all owners and modes could be given (a symbolic link of the "
                                        "owner's is not followed, and what has come into its place or "
                                        "is somebody else's gets none)"));
}

}  // namespace

Outcome doOutstanding(const State& state, const Journal& journal, Output& output) {
    Outcome outcome;
    if (journal.checkpoint != 0) {
        if (Outcome kept = keepAccess(state.checkpoint(journal.checkpoint), journal.outstanding);
            !kept.ok()) {
            output.warning("an undo will not know the owners and modes of before: " + kept.message);
        }
    }
    for (const Effect& effect : journal.outstanding) {
        Outcome carried = carriedOut(effect);
        if (!carried.ok()) {
            output.warning(carried.message);
        }
        outcome = effect.step == Effect::Step::RemoveTree && !carried.ok() ? carried : outcome;
    }
    for (const int number : journal.undoes) {
        if (Outcome marked = markUndone(state, number); !marked.ok()) {
            output.warning(marked.message);
        }
    }
    return outcome;
}

}  // namespace zpweb
