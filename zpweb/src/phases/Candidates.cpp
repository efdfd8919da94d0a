#include "phases/Candidates.h"

#include <sys/stat.h>
#include <unistd.h>

#include "host/Mount.h"
#include "sys/Attributes.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/OwnersFile.h"

namespace zpweb {

namespace {

constexpr mode_t OwnerOnly = 0600;

// A directory of this program's alone beside the configuration.
std::string nearStage(const State& state) { return directoryOf(state.configuration) + "/.zpweb-stage"; }

// What makes a new file its own: of the one that was there, or of the one that it shall be like.
Outcome giveAttributes(const std::string& path, const StagedFile& file, const Descriptor& fresh) {
    if (file.before && file.before.isLink()) {
        return done();
    }
    if (file.before && !file.ofServer) {
        return takeOverFromOwnersFile(path, file.before.hash(), fresh);
    }
    const std::string& from = file.before ? path : file.like;
    return from.empty() ? done() : takeOverAttributes(from, fresh);
}

// What stood at `candidate` goes. Of a file that goes only the place is made free. The result is open where
// it is a file.
Expected<Descriptor> makeWhole(const std::string& path, const StagedFile& file,
                               const std::string& candidate) {
    ::unlink(candidate.c_str());
    if (!file.after) {
        return Descriptor();
    }
    if (file.after.isLink()) {
        return ::symlink(file.after.text().c_str(), candidate.c_str()) == 0
                   ? Expected(Descriptor())
                   : failure(systemError(candidate));
    }
    // It may stand where its owner looks on: until it is as the old one it is closed.
    const bool isLike = (file.before && !file.before.isLink()) || !file.like.empty();
    auto fresh = makeNewFile(candidate, file.after.pieces(), isLike ? OwnerOnly : file.mode);
    const Outcome given = fresh.ok() ? giveAttributes(path, file, *fresh) : done();
    return given.ok() ? std::move(fresh) : given;
}

}  // namespace

std::string standingAbove(const std::string& path) {
    std::string directory = directoryOf(path);
    while (directory.size() > 1 && !isDirectory(directory)) {
        directory = directoryOf(directory);
    }
    return directory;
}

void Candidates::choosePlace(const std::string& path, StagedFile& file, size_t number) const {
    const std::string directory = standingAbove(path);
    const std::string near = nearStage(state_);
    const bool inStage = zp::host::onSameMount(directory, state_.stage());
    if (!inStage && zp::host::onSameMount(directory, directoryOf(near))) {
        file.candidate = near + "/.zpweb-" + std::to_string(number);
        return;
    }
    // The server's words about its main file name it as the administrator does.
    file.candidate =
        state_.stage() + "/" +
        (path == state_.configuration ? nameOf(path) : std::to_string(number) + "-" + nameOf(path));
    file.beside = inStage ? "" : directoryOf(path) + "/.zpweb-" + nameOf(path);
}

std::vector<std::string> Candidates::place(std::map<std::string, StagedFile>& files) {
    std::vector<std::string> outside;
    const std::string near = nearStage(state_);
    bool nearUsed = false;
    size_t number = 0;
    for (auto& [path, file] : files) {
        if (!file.changed()) {
            continue;
        }
        choosePlace(path, file, ++number);
        const bool isNear = directoryOf(file.candidate) == near;
        nearUsed = nearUsed || isNear;
        if (isNear || !file.beside.empty()) {
            outside.push_back(isNear ? file.candidate : file.beside);
        }
    }
    if (nearUsed) {
        outside.insert(outside.begin(), near);
    }
    return outside;
}

Outcome Candidates::makeOne(const std::string& path, const StagedFile& file) const {
    if (!file.beside.empty() && file.after && !file.after.isLink()) {  // for the server's check
        ::unlink(file.candidate.c_str());
        return writeNewFile(file.candidate, file.after.pieces(), file.mode);
    }
    const std::string near = nearStage(state_);
    const Outcome made = directoryOf(file.candidate) == near ? createDirectory(near, 0700) : done();
    return made.ok() ? makeWhole(path, file, file.candidate).outcome() : made;
}

Expected<std::string> Candidates::bringBeside(const std::string& path, const StagedFile& file,
                                              const Descriptor& directory) {
    const std::string place = pathIn(directory, nameOf(file.beside));
    const auto fresh = makeWhole(path, file, place);
    const Outcome synced =
        fresh.ok() && fresh->isOpen() ? zpweb::sync(*fresh, file.beside) : fresh.outcome();
    return synced.ok() ? Expected(place) : toldBy(path, place, synced);
}

Outcome Candidates::make(std::map<std::string, StagedFile>& files) const {
    for (auto& [path, file] : files) {
        if (Outcome made = file.changed() ? makeOne(path, file) : done(); !made.ok()) {
            return made;
        }
    }
    return done();
}

Outcome Candidates::sync(const std::map<std::string, StagedFile>& files) {
    for (const auto& [path, file] : files) {
        if (file.changed() && file.beside.empty() && file.after && !file.after.isLink()) {
            if (Outcome synced = zpweb::sync(file.candidate); !synced.ok()) {
                return synced;
            }
        }
    }
    return done();
}

}  // namespace zpweb
