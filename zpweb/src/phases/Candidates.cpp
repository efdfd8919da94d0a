#include "phases/Candidates.h"

#include <sys/stat.h>
#include <unistd.h>

#include "host/Mount.h"
#include "sys/File.h"
#include "sys/OwnersFile.h"

namespace zpweb {

namespace {

// A directory of this program's alone beside the configuration.
std::string nearStage(const State& state) { return directoryOf(state.configuration) + "/.zpweb-stage"; }

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
    std::string directory = directoryOf(path);
    while (directory.size() > 1 && !isDirectory(directory)) {
        directory = directoryOf(directory);
    }
    return directory;
}

std::string Candidates::placeOf(const std::string& path, size_t number) const {
    const std::string directory = standingAbove(path);
    if (zp::host::onSameMount(directory, state_.stage())) {
        // The server's words about its main file name it as the administrator does.
        return state_.stage() + "/" +
               (path == state_.configuration ? nameOf(path) : std::to_string(number) + "-" + nameOf(path));
    }
    const std::string near = nearStage(state_);
    return zp::host::onSameMount(directory, directoryOf(near))
               ? near + "/.zpweb-" + std::to_string(number)
               : directoryOf(path) + "/.zpweb-" + nameOf(path);
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
        file.candidate = placeOf(path, ++number);
        const std::string directory = directoryOf(file.candidate);
        nearUsed = nearUsed || directory == near;
        if (directory != state_.stage()) {
            outside.push_back(file.candidate);
        }
    }
    if (nearUsed) {
        outside.insert(outside.begin(), near);
    }
    return outside;
}

Outcome Candidates::makeOne(const std::string& path, StagedFile& file) const {
    const std::string near = nearStage(state_);
    Outcome made = directoryOf(file.candidate) == near ? createDirectory(near, 0700) : done();
    ::unlink(file.candidate.c_str());
    if (!made.ok() || !file.after) {  // the place is for what goes
        return made;
    }
    made = writeCandidate(file.candidate, file);
    return made.ok() ? giveAttributes(path, file) : made;
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
        if (file.changed() && file.after && !file.after.isLink()) {
            if (Outcome synced = zpweb::sync(file.candidate); !synced.ok()) {
                return synced;
            }
        }
    }
    return done();
}

}  // namespace zpweb
