#include "change/Settled.h"

#include <sys/stat.h>

#include <chrono>
#include <optional>
#include <thread>
#include <utility>

#include "store/Journal.h"
#include "store/Lock.h"
#include "sys/File.h"

namespace zpweb {

namespace {

using namespace std::chrono_literals;

// Some of its files are the new ones, and some the old ones.
bool isHalfWay(const State& state) {
    const auto text = readFile(state.journal());
    const auto journal = text.ok() ? Journal::from(*text) : std::nullopt;
    return journal &&
           (journal->progress == JournalState::Committing || journal->progress == JournalState::TakingBack);
}

// Another one after each change, which has its checkpoint before it is put in place.
std::pair<time_t, long> lastCheckpoint(const State& state) {
    struct stat status {};
    return ::stat(state.checkpoints().c_str(), &status) == 0
               ? std::pair(status.st_mtim.tv_sec, status.st_mtim.tv_nsec)
               : std::pair<time_t, long>();
}

}  // namespace

Expected<Configuration> loadSettled(const std::string& main, Output& output) {
    constexpr auto LongestCommit = 2s;
    constexpr auto BetweenLooks = 20ms;
    const State state(main);
    const auto until = std::chrono::steady_clock::now() + LongestCommit;
    while (true) {
        const auto before = lastCheckpoint(state);
        auto configuration = Configuration::load(main);
        if (!isHalfWay(state) && before == lastCheckpoint(state)) {
            return configuration;
        }
        const bool isBrokenOff = isHalfWay(state) && !Lock::isHeld(state);
        if (!isBrokenOff && std::chrono::steady_clock::now() < until) {
            std::this_thread::sleep_for(BetweenLooks);
            continue;
        }
        if (isHalfWay(state)) {
            output.warning(isBrokenOff
                               ? "a change was broken off half-way: half of it may be shown; the next "
                                 "change puts that right"
                               : "a change is being put in place: half of it may be shown");
        }
        return configuration;
    }
}

}  // namespace zpweb
