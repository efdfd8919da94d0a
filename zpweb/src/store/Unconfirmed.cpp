#include "store/Unconfirmed.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <sstream>

#include "store/Checkpoints.h"
#include "sys/File.h"

namespace zpweb {

namespace {

Expected<std::vector<Unconfirmed>> entries(const State& state) {
    const auto text = readFile(state.unconfirmed());
    if (!text.ok() && text.outcome().status != Status::NotFound) {
        return text.outcome();
    }
    std::istringstream lines(text.ok() ? *text : "");
    std::vector<Unconfirmed> all;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        Unconfirmed each;
        if (!(words >> each.checkpoint >> each.deadline >> each.check >> each.reload)) {
            break;
        }
        int allows = 0;  // a line of before has no such word
        each.allowLogLinks = (words >> allows) && allows != 0;
        all.push_back(each);
    }
    return all;
}

// One that cannot be read may stand.
bool stands(const State& state, const Unconfirmed& each) {
    const std::string directory = state.checkpoint(each.checkpoint);
    const auto checkpoint = Checkpoint::read(directory);
    return checkpoint ? !checkpoint->undone : listed(directory).outcome().status != Status::NotFound;
}

Outcome writeUnconfirmed(const State& state, const std::vector<Unconfirmed>& all) {
    std::ostringstream text;
    for (const Unconfirmed& each : all) {
        text << each.checkpoint << ' ' << each.deadline << ' ' << each.check << ' ' << each.reload << ' '
             << each.allowLogLinks << '\n';
    }
    if (all.empty()) {
        const bool gone = ::unlink(state.unconfirmed().c_str()) == 0 || errno == ENOENT;
        return gone ? sync(state.directory) : failure(systemError(state.unconfirmed()));
    }
    return replaceFile(state.unconfirmed(), text.str(), 0600);
}

}  // namespace

Expected<std::vector<Unconfirmed>> unconfirmedOf(const State& state) {
    auto all = entries(state);
    if (all.ok()) {
        std::erase_if(*all, [&](const Unconfirmed& each) {
            const auto checkpoint = Checkpoint::read(state.checkpoint(each.checkpoint));
            return checkpoint ? checkpoint->undone || !checkpoint->change.isFor(state.configuration)
                              : !stands(state, each);
        });
    }
    return all;
}

Expected<std::vector<int>> checkpointsAwaited(const State& state) {
    const auto known = entries(state);
    std::vector<int> numbers;
    for (const Unconfirmed& each : known.ok() ? *known : std::vector<Unconfirmed>()) {
        numbers.push_back(each.checkpoint);
    }
    return known.ok() ? Expected(std::move(numbers)) : known.outcome();
}

Outcome addUnconfirmed(const State& state, const Unconfirmed& added) {
    auto all = entries(state);
    if (!all.ok()) {
        return all.outcome();
    }
    std::erase_if(*all, [&](const Unconfirmed& each) { return !stands(state, each); });
    all->push_back(added);
    return writeUnconfirmed(state, *all);
}

Outcome removeUnconfirmed(const State& state, int checkpoint) {
    auto all = entries(state);
    if (!all.ok()) {
        return all.outcome();
    }
    std::erase_if(*all, [&](const Unconfirmed& each) {
        return each.checkpoint == checkpoint || !stands(state, each);
    });
    return writeUnconfirmed(state, *all);
}

}  // namespace zpweb
