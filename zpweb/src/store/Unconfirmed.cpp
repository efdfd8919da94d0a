#include "store/Unconfirmed.h"

#include <unistd.h>

#include <algorithm>
#include <sstream>

#include "store/Checkpoints.h"
#include "sys/File.h"

namespace zpweb {

namespace {

std::vector<Unconfirmed> listed(const State& state) {
    const auto text = readFile(state.unconfirmed());
    std::istringstream lines(text.ok() ? *text : "");
    std::vector<Unconfirmed> all;
    for (Unconfirmed each; lines >> each.checkpoint >> each.deadline >> each.check >> each.reload;) {
        all.push_back(each);
    }
    return all;
}

bool stands(const State& state, const Unconfirmed& each) {
    const auto checkpoint = Checkpoint::read(state.checkpoint(each.checkpoint));
    return checkpoint && !checkpoint->undone;
}

Outcome write(const State& state, const std::vector<Unconfirmed>& all) {
    std::ostringstream text;
    for (const Unconfirmed& each : all) {
        text << each.checkpoint << ' ' << each.deadline << ' ' << each.check << ' ' << each.reload << '\n';
    }
    if (all.empty()) {
        ::unlink(state.unconfirmed().c_str());
        return sync(state.folder);
    }
    return replaceFile(state.unconfirmed(), text.str(), 0600);
}

}  // namespace

std::vector<Unconfirmed> unconfirmedOf(const State& state) {
    std::vector<Unconfirmed> all = listed(state);
    std::erase_if(all, [&](const Unconfirmed& each) {
        const auto checkpoint = Checkpoint::read(state.checkpoint(each.checkpoint));
        return !checkpoint || checkpoint->undone || !checkpoint->change.isFor(state.configuration);
    });
    return all;
}

Outcome addUnconfirmed(const State& state, const Unconfirmed& added) {
    std::vector<Unconfirmed> all = listed(state);
    std::erase_if(all, [&](const Unconfirmed& each) { return !stands(state, each); });
    all.push_back(added);
    return write(state, all);
}

Outcome removeUnconfirmed(const State& state, int checkpoint) {
    std::vector<Unconfirmed> all = listed(state);
    std::erase_if(all, [&](const Unconfirmed& each) {
        return each.checkpoint == checkpoint || !stands(state, each);
    });
    return write(state, all);
}

}  // namespace zpweb
