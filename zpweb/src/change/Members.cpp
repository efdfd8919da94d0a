// Changes of several runs, made as one: one check, one commit, one reload. Each stays a change of its own
// in the log and for an undo.
#include <algorithm>
#include <iterator>
#include <utility>

#include "change/Transaction.h"
#include "phases/Outstanding.h"
#include "text/Words.h"

namespace zpweb {

Transaction::Mark Transaction::mark() const {
    const size_t special = afterwards_.size() + afterReload_.size() + proofs_.size() + takingBack_.size() +
                           journal_.temporary.size() + journal_.undoes.size();
    return {set_->edits(),
            making_.size(),
            journal_.made.size(),
            journal_.emptied.size(),
            journal_.outstanding.size(),
            special,
            shared_.changes(),
            asked_,
            expectations_};
}

void Transaction::beginMember(Member member) {
    mark_ = mark();
    settings_ = &member.settings;
    output_ = &member.output;
    members_.push_back(std::move(member));
    steps_.emplace_back();
}

// Sites whose answers it may change are not watched; those of the others are.
bool Transaction::endMember() {
    if (!shared_.end().ok()) {
        return false;
    }
    if (mark().special != mark_.special || asked_.everything || asked_.anyName) {
        return false;
    }
    if (std::exchange(asked_.answersMayChange, false)) {
        std::set_difference(asked_.sites.begin(), asked_.sites.end(), mark_.asked.sites.begin(),
                            mark_.asked.sites.end(), std::inserter(unwatched_, unwatched_.end()));
    }
    steps_.back() = set_->takeStep();
    const Member& member = members_.back();
    Journal journal;
    journal.configuration = state_->configuration;
    journal.words = member.words;
    journal.command = joinedWords(member.words);
    journal.label = member.settings.label;
    journal.login = member.login;
    journal.request = member.request;
    journal.fields = member.output.told().fields;
    for (const FileStep& step : steps_.back()) {
        journal.files.push_back({step.path, step.before.hash(), step.after.hash()});
    }
    const auto since = [](const auto& all, size_t first, auto& part) {
        part.assign(all.begin() + static_cast<long>(first), all.end());
    };
    since(journal_.made, mark_.made, journal.made);
    since(journal_.emptied, mark_.emptied, journal.emptied);
    since(journal_.outstanding, mark_.outstanding, journal.outstanding);
    journal_.members.push_back(std::move(journal));
    return true;
}

bool Transaction::dropMember() {
    members_.pop_back();
    steps_.pop_back();
    asked_ = mark_.asked;
    expectations_ = mark_.expectations;
    shared_.forget();
    return !shared_.waits() && mark().isAt(mark_) && fault().ok();
}

Outcome Transaction::doOutstandingOfAll() {
    Outcome outcome;
    for (size_t i = 0; i < journal_.each().size(); ++i) {
        const bool isMember = !members_.empty();
        Output& output = isMember ? members_[i].output : *output_;
        Outcome one = doOutstanding(*state_, journal_.each()[i], output);
        if (isMember) {
            members_[i].outcome = one;
        }
        outcome = one.ok() ? outcome : one;
    }
    return outcome;
}

// One that takes back what another has made has a change of its own alone.
bool Transaction::isEachSeen() const {
    const auto changed = [this](const ChangedFile& file) { return set_->files().at(file.path).changed(); };
    return std::all_of(journal_.members.begin(), journal_.members.end(), [&](const Journal& member) {
        return std::all_of(member.files.begin(), member.files.end(), changed);
    });
}

void Transaction::tellMembers(const Outcome& outcome) {
    for (size_t i = 0; i < members_.size() && (inPlace_ || outcome.ok()); ++i) {
        const Journal& journal = journal_.members[i];
        Output& output = members_[i].output;
        output.setChanged(inPlace_ && journal.changes());
        output.setCheckpoint(inPlace_ ? journal.checkpoint : 0);
        members_[i].tell(members_[i].outcome);
    }
}

}  // namespace zpweb
