// What a change says of itself, to the one who asked for it and to the log.
#include <array>
#include <cstdio>

#include "change/Transaction.h"
#include "store/AuditLog.h"
#include "text/Difference.h"

namespace zpweb {

void Transaction::recordAs(const Outcome& outcome) {
    const std::span<const Journal> journals = journal_.each();
    for (size_t i = 0; i < journals.size(); ++i) {
        const bool changes = members_.empty() || journals[i].changes();
        const Outcome& own = members_.empty() ? outcome : members_[i].outcome;
        const Outcome written = changes ? record(*state_, journals[i], own, inPlace_) : done();
        if (!written.ok()) {
            output_->warning("the change is not in the log: " + written.message);
        }
    }
}

// What a diff does not show.
void Transaction::tellOutstanding() {
    for (const zp::host::Effect& effect : journal_.outstanding) {
        const auto octal = [](mode_t mode) {
            std::array<char, 8> text{};
            std::snprintf(text.data(), text.size(), "%04o", mode);
            return std::string(text.data());
        };
        if (effect.step == zp::host::Effect::Step::RemoveTree) {
            output_->note("would remove " + effect.path + " and all that it holds");
        } else {
            output_->note("would give " + effect.path + (effect.deep ? " and all that it holds" : "") +
                          (effect.user ? " the owner " + std::to_string(*effect.user) : "") +
                          (effect.group ? " the group " + std::to_string(*effect.group) : "") +
                          (effect.mode ? " the mode " + octal(*effect.mode) : ""));
        }
    }
}

void Transaction::tellConfirmation() {
    if (!inPlace_ || settings_->confirmWithin.count() == 0) {
        return;
    }
    if (journal_.checkpoint == 0) {
        output_->warning("the change made nothing that could be taken back: it stands");
        return;
    }
    const std::string number = std::to_string(journal_.checkpoint);
    output_->setConfirmWithin(settings_->confirmWithin.count());
    output_->note("the change is taken back in " + std::to_string(settings_->confirmWithin.count()) +
                  " s unless it is confirmed: zpweb confirm " + number);
}

void Transaction::showDiff() {
    if (!settings_->diff) {
        return;
    }
    for (const auto& [path, file] : set_->files()) {
        if (file.changed()) {
            output_->addDiff(shownDiff(path, file.before.text(), file.after.text()));
        }
    }
}

}  // namespace zpweb
