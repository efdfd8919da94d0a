// Candidates: what a change makes of its files, whole, with owner, mode, ACL and attributes, ready
// to be put in place by a rename.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "phases/StagedFile.h"
#include "store/State.h"
#include "sys/Outcome.h"

namespace zpweb {

// Where candidates stand: in the stage, where that is on the file's own file system; else in a directory
// beside the configuration that root alone can enter; else beside the file itself.
class Candidates {
public:
    explicit Candidates(const State& state) : state_(state) {}

    // Chooses the places; those outside of the stage are told, for the journal.
    std::vector<std::string> place(std::map<std::string, StagedFile>& files);
    Outcome make(std::map<std::string, StagedFile>& files) const;
    static Outcome sync(const std::map<std::string, StagedFile>& files);

private:
    Outcome makeOne(const std::string& path, StagedFile& file) const;
    std::string placeOf(const std::string& path, size_t number) const;

    const State& state_;
};

// The nearest directory above a path that is there.
std::string standingAbove(const std::string& path);

}  // namespace zpweb
