// What commands stage.
#include <sys/stat.h>

#include <algorithm>
#include <memory>

#include "change/Transaction.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/Look.h"
#include "text/Keep.h"

namespace zpweb {

namespace {

constexpr mode_t NewFileMode = 0644;
constexpr mode_t NewDirectoryMode = 0755;
constexpr const char* NotAsSpelled =
    ": not found in the form in which the lines are spelled; without --exact any spelling is understood";

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    for (size_t at = 0; !what.empty() && (at = text.find(what, at)) != std::string::npos;
         at += with.size()) {
        text.replace(at, what.size(), with);
    }
    return text;
}

// What an edit is given of its file: all of it, or the part that it is about. What is added to the end of a
// file must know the shared addresses that the file has announced before.
struct Given {
    const ConfigurationFile* file = nullptr;  // what it sees
    const ConfigurationFile* part = nullptr;  // null: all of the file
    std::string announcements{};              // that stand before the part in what it sees
    std::shared_ptr<ConfigurationFile> own{};
};

Given givenTo(const Edit& edit, const Configuration& configuration, bool exact) {
    const bool isGiven = edit.part != nullptr && edit.part->isPart();
    const ConfigurationFile* part = exact          ? nullptr
                                    : edit.appends ? configuration.lastPart(edit.file)
                                    : isGiven      ? edit.part
                                                   : configuration.partOf(edit.file, edit.site);
    if (part == nullptr || !part->isPart()) {
        return {configuration.file(edit.file)};
    }
    Given excerpt{part, part};
    if (edit.appends) {
        excerpt.announcements = configuration.announcements(edit.file);
    }
    if (!excerpt.announcements.empty()) {
        excerpt.own = std::make_shared<ConfigurationFile>(
            edit.file, Content(excerpt.announcements + part->content().text()),
            std::make_shared<Surroundings>());
        excerpt.file = excerpt.own.get();
    }
    return excerpt;
}

Excerpt wholeOf(const Content& content) { return {content.text(), content.text(), {}}; }

Excerpt excerptFrom(const Edit& edit, const ConfigurationFile& file) {
    if (edit.excerpt) {
        return edit.excerpt(file);
    }
    const auto scope = std::make_shared<Scope>(edit.scope(file));
    return {scope->text, scope->partText(), [scope](std::string_view made) { return merged(*scope, made); },
            scope->first};
}

// Has what the operation sees lines that it can read? The place that is named is that of the file.
Outcome isReadable(const Edit& edit, const Excerpt& excerpt, const ConfigurationFile& file) {
    Outcome readable = holdsNoLongLine(edit.file, Lines(excerpt.seen), edit.bound);
    if (readable.ok() || excerpt.seen == file.content().text()) {
        return readable;
    }
    const Lines own(excerpt.of);
    const auto longest = std::max_element(
        own.all.begin(), own.all.end(),
        [](std::string_view one, std::string_view other) { return one.size() < other.size(); });
    const size_t line =
        file.firstLine() + excerpt.line + static_cast<size_t>(longest - own.all.begin()) + 1;
    return failure(edit.file + ":" + std::to_string(line) + ": the line is longer than the " +
                   std::to_string(edit.bound) + " characters that this operation reads; shorten it first");
}

}  // namespace

void Transaction::outstanding(zp::host::Effect effect) {
    struct stat status {};
    const bool isFollowed = effect.step == zp::host::Effect::Step::GiveDirectory;
    const int looked = (isFollowed ? ::stat : ::lstat)(effect.path.c_str(), &status);
    if (looked != 0) {
        zp::host::noteFault(effect.path);
    } else if (!effect.inode && !set_->files().contains(effect.path)) {
        effect.inode = status.st_ino;
    }
    journal_.outstanding.push_back(std::move(effect));
}

void Transaction::takeEffects(StagedRun& run) {
    output_->detail(run.printed);
    std::vector<std::string> made;
    for (zp::host::Effect& effect : run.effects) {
        const bool gives = effect.step == zp::host::Effect::Step::GiveAccess ||
                           effect.step == zp::host::Effect::Step::GiveDirectory ||
                           effect.step == zp::host::Effect::Step::RemoveTree;
        if (!gives) {
            made.push_back(effect.path);
        }
        gives ? outstanding(std::move(effect)) : making_.push_back(std::move(effect));
    }
    planToMake(made);
}

Outcome Transaction::edit(const Edit& edit) {
    const Given given = givenTo(edit, configuration(), settings_->exact);
    if (given.file == nullptr) {
        return failure(Status::NotFound, edit.file + ": not a file of this configuration");
    }
    const ConfigurationFile& current = *given.file;
    planToMake(edit.makes);
    output_->step("staging the change");
    const Content before = current.content();
    const Excerpt excerpt = settings_->exact ? wholeOf(before) : excerptFrom(edit, current);
    const std::string& part = excerpt.seen;
    if (Outcome readable = isReadable(edit, excerpt, current); !readable.ok()) {
        return readable;
    }
    StagedRun run;
    auto after = runOn(edit, part, run);
    if (!after.ok()) {
        output_->detail(run.printed);
        return after.outcome();
    }
    // An excerpt's way back may have something to add where the operation changed nothing.
    const bool unchanged = *after == part && (settings_->exact || !edit.excerpt);
    takeEffects(run);
    if (unchanged) {
        return done();
    }
    Content result =
        settings_->exact ? Content(std::move(*after)) : before.with(excerpt.of, excerpt.back(*after));
    if (given.part == nullptr) {
        set_->set(edit.file, std::move(result));
        return done();
    }
    const std::string& text = result.text();
    if (!text.starts_with(given.announcements)) {
        return failure(edit.file + ": the addition would change what stands before the last sites");
    }
    set_->setPart(*given.part, given.announcements.empty()
                                   ? std::move(result)
                                   : Content(text.substr(given.announcements.size())));
    return done();
}

// What the operation makes of its part.
Expected<std::string> Transaction::runOn(const Edit& edit, const std::string& part, StagedRun& run) {
    const std::string staged = work() + "/" + nameOf(edit.file);
    int result = 0;
    Outcome outcome = emptyDirectory(work());
    outcome = outcome.ok() ? writeNewFile(staged, part, 0600) : outcome;
    const auto operation = [&] {
        result = edit.operation(staged);
        return done();
    };
    outcome = outcome.ok() ? runStaged(work(), operation, run) : outcome;
    if (!outcome.ok()) {
        return outcome;
    }
    if (outcome = edit.meaning(result); !outcome.ok()) {
        const bool bare = outcome.message.find_last_of("0123456789") + 1 == outcome.message.size();
        outcome.message += settings_->exact && bare ? NotAsSpelled : "";
        return outcome;
    }
    auto after = readFile(staged);
    outcome = after.ok() && edit.look ? edit.look(*after) : after.outcome();
    return outcome.ok() ? std::move(after) : Expected<std::string>(outcome);
}

Outcome Transaction::stageOthers(const OtherEdit& edit) {
    for (const std::string& path : edit.files) {
        if (linkTarget(path)) {
            return failure(path + ": a symbolic link; it is not followed");
        }
        if (Outcome reached = reachedWithoutForeignLink(directoryOf(path)); !reached.ok()) {
            return reached;
        }
        StagedFile& file = set_->fileAt(path);
        file.mode = edit.mode;
        if (!set_->fault().ok()) {
            return set_->fault();
        }
        if (!file.after && !edit.createEmpty) {
            continue;
        }
        const std::string text = replaced(file.after.text(), edit.directoryInText, work());
        if (Outcome written = writeNewFile(work() + "/" + nameOf(path), text, 0600); !written.ok()) {
            return written;
        }
    }
    return done();
}

Outcome Transaction::takeOthers(const OtherEdit& edit) {
    for (const std::string& path : edit.files) {
        const std::string staged = work() + "/" + nameOf(path);
        StagedFile& file = set_->fileAt(path);
        auto text = readFile(staged);
        if (!text.ok() && text.outcome().status != Status::NotFound) {
            return text.outcome();
        }
        struct stat status {};
        if (!file.before && lookAt(staged, status)) {
            file.mode = std::max<mode_t>(status.st_mode & 0777, edit.mode);
        }
        set_->set(path, text.ok() ? Content(replaced(std::move(*text), work(), edit.directoryInText))
                                  : Content());
    }
    return done();
}

Outcome Transaction::edit(const OtherEdit& edit) {
    StagedRun run;
    Outcome outcome = emptyDirectory(work());
    outcome = outcome.ok() ? stageOthers(edit) : outcome;
    outcome = outcome.ok() ? runStaged(
                                 work(), [&] { return edit.operation(work()); }, run)
                           : outcome;
    output_->detail(run.printed);
    run.printed.clear();
    outcome = outcome.ok() ? takeOthers(edit) : outcome;
    if (outcome.ok()) {
        takeEffects(run);
    }
    return outcome;
}

Outcome Transaction::replace(const std::string& path, std::optional<std::string> text,
                             const std::string& like) {
    StagedFile& file = set_->fileAt(path);
    file.like = like;
    file.mode = NewFileMode;
    Outcome outcome = text ? makeAbove(path) : done();
    set_->set(path, text ? Content(std::move(*text)) : Content());
    return outcome.ok() ? set_->fault() : outcome;
}

Outcome Transaction::rewrite(const ConfigurationFile& file, std::string text) {
    if (file.isPart()) {
        set_->setPart(file, Content(std::move(text)));
    } else {
        set_->set(std::string(file.path()), Content(std::move(text)));  // the file goes meanwhile
    }
    return set_->fault();
}

Outcome Transaction::link(const std::string& path, const std::string& target) {
    Outcome outcome = makeAbove(path);
    set_->set(path, Content::linkTo(target));
    return outcome.ok() ? set_->fault() : outcome;
}

Outcome Transaction::makeAbove(const std::string& path) {
    const std::string directory = directoryOf(path);
    if (isDirectory(directory)) {
        return done();
    }
    Outcome above = makeAbove(directory);
    return above.ok() ? makeDirectory(directory, NewDirectoryMode) : above;
}

Outcome Transaction::makeDirectory(const std::string& path, mode_t mode, std::optional<uid_t> user,
                                   std::optional<gid_t> group) {
    if (isDirectory(path) || !directories_.insert(path).second) {
        return done();
    }
    making_.push_back({zp::host::Effect::Step::MakeDirectory, path, user, group, mode});
    planToMake({path});
    return done();
}

}  // namespace zpweb
