// Candidates: what a change makes of its files, whole, with owner, mode, access list and attributes, ready
// to be put in place by a rename.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "phases/StagedFile.h"
#include "store/State.h"
#include "sys/Outcome.h"

namespace zpweb {

// Where candidates stand: in the stage, where that is on the file's own file system; else in a directory
// beside the configuration that root alone can enter; else beside the file itself.
class Candidates {
public:
    // `note` writes down what is about to be made outside of the stage.
    Candidates(const State& state, std::function<Outcome(const std::string& path)> note)
        : state_(state), note_(std::move(note)) {}

    Outcome make(std::map<std::string, StagedFile>& files);
    static Outcome sync(const std::map<std::string, StagedFile>& files);

private:
    Outcome makeOne(const std::string& path, StagedFile& file, size_t number);
    Expected<std::string> placeOf(const std::string& path, size_t number);

    const State& state_;
    std::function<Outcome(const std::string& path)> note_;
};

// The nearest directory above a path that is there.
std::string standingAbove(const std::string& path);

}  // namespace zpweb
