#include "phases/Candidates.h"

#include <sys/stat.h>
#include <unistd.h>

#include "sys/File.h"
#include "sys/Look.h"
#include "sys/OwnersFile.h"

namespace zpweb {

namespace {

bool onSameFileSystem(const std::string& a, const std::string& b) {
    struct stat first {};
    struct stat second {};
    return lookAt(a, first) && lookAt(b, second) && first.st_dev == second.st_dev;
}

// A directory of this program's alone beside the configuration.
std::string nearStage(const State& state) { return folderOf(state.configuration) + "/.zpweb-stage"; }

Outcome writeCandidate(const std::string& candidate, const StagedFile& file) {
    if (file.after.isLink()) {
        return ::symlink(file.after.text().c_str(), candidate.c_str()) == 0
                   ? done()
                   : failure(systemError(candidate));
    }
    return writeNewFile(candidate, file.after.pieces(), file.mode);
}

Outcome giveAttributes(const std::string& path, const StagedFile& file) {
    if (file.after.isLink() || (file.before && file.before.isLink())) {
        return done();
    }
    if (file.before && !file.ofServer) {
        return takeOverFromOwnersFile(path, file.candidate);
    }
    const std::string& from = file.before ? path : file.like;
    return from.empty() ? done() : takeOverAttributes(from, file.candidate);
}

}  // namespace

std::string standingAbove(const std::string& path) {
    std::string directory = folderOf(path);
    while (directory.size() > 1 && !isFolder(directory)) {
        directory = folderOf(directory);
    }
    return directory;
}

Expected<std::string> Candidates::placeOf(const std::string& path, size_t number) {
    const std::string directory = standingAbove(path);
    if (onSameFileSystem(directory, state_.stage())) {
        // The server's words about its main file name it as the administrator does.
        return state_.stage() + "/" +
               (path == state_.configuration ? nameOf(path) : std::to_string(number) + "-" + nameOf(path));
    }
    const std::string near = nearStage(state_);
    if (onSameFileSystem(directory, folderOf(near))) {
        Outcome made = exists(near) ? done() : note_(near);
        made = made.ok() ? makeFolder(near, 0700) : made;
        const std::string candidate = near + "/.zpweb-" + std::to_string(number);
        made = made.ok() ? note_(candidate) : made;
        return made.ok() ? Expected(candidate) : Expected<std::string>(made);
    }
    const std::string beside = folderOf(path) + "/.zpweb-" + nameOf(path);
    Outcome noted = note_(beside);
    return noted.ok() ? Expected(beside) : Expected<std::string>(noted);
}

Outcome Candidates::makeOne(const std::string& path, StagedFile& file, size_t number) {
    const auto place = placeOf(path, number);
    if (!place.ok()) {
        return place.outcome();
    }
    file.candidate = *place;
    ::unlink(place->c_str());
    if (!file.after) {
        return done();  // the place is for what goes
    }
    Outcome made = writeCandidate(file.candidate, file);
    return made.ok() ? giveAttributes(path, file) : made;
}

Outcome Candidates::make(std::map<std::string, StagedFile>& files) {
    size_t number = 0;
    for (auto& [path, file] : files) {
        if (Outcome made = file.changed() ? makeOne(path, file, ++number) : done(); !made.ok()) {
            return made;
        }
    }
    return done();
}

Outcome Candidates::sync(const std::map<std::string, StagedFile>& files) {
    for (const auto& [path, file] : files) {
        if (file.changed() && file.after && !file.after.isLink()) {
            if (Outcome synced = zpweb::sync(file.candidate); !synced.ok()) {
                return synced;
            }
        }
    }
    return done();
}

}  // namespace zpweb
