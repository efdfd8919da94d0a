// Candidates: what a change makes of its files, whole, with owner, mode, ACL and attributes, ready
// to be put in place by a rename.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "phases/StagedFile.h"
#include "store/State.h"
#include "sys/Descriptor.h"
#include "sys/Outcome.h"

namespace zpweb {

// Where candidates stand: in the stage or, where that is on another mount than the file and the
// configuration is not, in a directory beside the configuration that root alone can enter. That of a file
// on a third mount is made once more when it takes its place, beside it: there its owner may write.
class Candidates {
public:
    explicit Candidates(const State& state) : state_(state) {}

    // Chooses the places; those outside of the stage are told, for the journal.
    std::vector<std::string> place(std::map<std::string, StagedFile>& files);
    Outcome make(std::map<std::string, StagedFile>& files) const;
    static Outcome sync(const std::map<std::string, StagedFile>& files);
    // In the directory of the file, which is held open. The result is its path there.
    static Expected<std::string> bringBeside(const std::string& path, const StagedFile& file,
                                             const Descriptor& directory);

private:
    Outcome makeOne(const std::string& path, const StagedFile& file) const;
    void choosePlace(const std::string& path, StagedFile& file, size_t number) const;

    const State& state_;
};

// The nearest directory above a path that is there.
std::string standingAbove(const std::string& path);

}  // namespace zpweb
