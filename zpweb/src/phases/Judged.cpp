#include "phases/Judged.h"

#include <optional>

#include "server/Inspection.h"
#include "server/LiveReading.h"

namespace zpweb {

namespace {

// A file as it is in this change, or as it was before.
std::string judgedFingerprint(const Configuration& configuration,
                              const std::map<std::string, StagedFile>& files, const std::string& path,
                              bool before) {
    if (const auto touched = files.find(path); touched != files.end()) {
        return before ? touched->second.before.hash() : touched->second.after.hash();
    }
    return fingerprintOf(configuration, path);
}

Basis judgedBasis(const Configuration& configuration, const std::map<std::string, StagedFile>& files,
                  bool before) {
    return basisOf(configuration, [&configuration, &files, before](const std::string& path) {
        return judgedFingerprint(configuration, files, path, before);
    });
}

Outcome refusal(const Judging& change, const Program& program, const Inspected& staged) {
    if (!staged.ran) {
        return failure(
            "the server's check cannot be run: apache2 or httpd is neither on PATH nor in the usual "
            "directories; --no-check goes without it");
    }
    const Inspected live = checkOnly(program, change.configuration.main().path(), {});
    return failure(Status::Refused,
                   "refused by the server's check, nothing is changed:\n" +
                       described(staged.words, change.staged, change.configuration) +
                       (live.sound ? "" : "\nIt was broken before, as it stands now: " + live.words));
}

Outcome judgement(const Judging& change, Judged& readings) {
    if (readings.staged == nullptr) {
        change.output.warning(
            "the server has not told what it makes of the configuration: the change is not judged");
        change.output.setJudged(false);
        return done();
    }
    if (readings.live == nullptr) {
        change.output.note(
            "the configuration was broken before: the change is judged by what it leads to alone");
    } else if (!readings.staged->complete()) {
        change.output.note("the server has no mod_info: the change is judged by its name map alone");
    }
    std::vector<Postcondition> expected;
    for (const auto& [about, holds] : change.expectations) {
        expected.push_back(holds);
    }
    Judgement judgement =
        judge(readings.live.get(), *readings.staged, change.asked, expected, change.settings.allowImpact);
    for (const Moved& moved : judgement.impact) {
        if (!moved.asked) {
            change.output.addImpact(moved.name, moved.listener, moved.from, moved.to);
        }
    }
    for (const std::string& note : judgement.outcome.ok() ? judgement.notes : std::vector<std::string>()) {
        change.output.note(note);
    }
    readings.released = std::move(judgement.released);
    return judgement.outcome;
}

}  // namespace

Judged judgeLive(const Judging& change) {
    Judged judged;
    judged.live = liveReading(change.configuration, change.readingFile);
    judged.staged = judged.live;
    if (judged.live == nullptr) {
        change.output.setJudged(false);
        return judged;
    }
    for (const auto& [about, holds] : change.expectations) {
        judged.outcome = judged.outcome.ok() ? holds(*judged.live) : judged.outcome;
    }
    return judged;
}

Judged judgeStaged(const Judging& change) {
    const std::string& main = change.configuration.main().path();
    const Program program(main);
    Judged judged;
    judged.live =
        KeptReading(change.readingFile, program, judgedBasis(change.configuration, change.files, true))
            .load();
    std::optional<ReadingRun> reading;
    if (judged.live == nullptr) {
        reading.emplace(program, main);
    }
    const Inspected staged = inspect(program, change.staged.main,
                                     {change.staged.liveNames.begin(), change.staged.liveNames.end()}, {});
    if (reading) {
        judged.live = reading->end({});
    }
    judged.staged = staged.reading;
    change.output.detail(staged.words);
    judged.outcome = staged.sound ? judgement(change, judged) : refusal(change, program, staged);
    return judged;
}

void keepReading(const Configuration& configuration, const std::map<std::string, StagedFile>& files,
                 const std::string& readingFile, const Reading* reading) {
    if (reading == nullptr) {
        KeptReading::drop(readingFile);
        return;
    }
    const Program program(configuration.main().path());
    KeptReading(readingFile, program, judgedBasis(configuration, files, false)).save(*reading);
}

}  // namespace zpweb
