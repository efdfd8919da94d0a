// What the commands of one change see and edit: the configuration, and other files, as the change has made
// them so far.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "phases/StagedFile.h"
#include "server/Configuration.h"
#include "store/Journal.h"
#include "sys/Content.h"
#include "sys/Outcome.h"

namespace zpweb {

class WorkingSet {
public:
    explicit WorkingSet(Configuration configuration) : configuration_(std::move(configuration)) {}

    // A file or block of it that a command holds is gone once the file is edited.
    const Configuration& configuration() const { return configuration_; }
    const std::map<std::string, StagedFile>& files() const { return files_; }
    std::map<std::string, StagedFile>& files() { return files_; }

    // A file as it is in this change so far; absent when there is none. One that is there and cannot be
    // read is no absent one: the change fails with `fault`, whatever its commands make of the answer.
    Content contentOf(const std::string& path) const;
    const Outcome& fault() const { return fault_; }

    StagedFile& fileAt(const std::string& path);
    // What the file is from now on; what says the same is no change.
    void set(const std::string& path, Content content);

    // The same for a part of a file of the configuration.
    void setPart(const ConfigurationFile& part, Content content);
    // Between two commands: what the first has got is gone.
    void next() { configuration_.index(); }
    // The files that have changed since this was last asked, and what they were then.
    std::vector<FileStep> takeStep();
    // Puts files that were changed by parts together.
    void settle();

    size_t edits() const { return edits_; }  // that have changed something
    bool changed() const;
    bool serverChanged() const;  // something that the server reads
    std::vector<ChangedFile> changedFiles() const;

private:
    Content contentOnDisk(const std::string& path) const;

    Configuration configuration_;
    std::map<std::string, StagedFile> files_;
    std::map<std::string, Content> stepped_;  // as they were when the last step was taken
    std::set<std::string> inParts_;  // files that were changed by parts since they were put together
    size_t edits_ = 0;
    mutable Outcome fault_;
};

}  // namespace zpweb
