// Commit: candidates take the places of the live files, all or none.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host/Effect.h"
#include "phases/StagedFile.h"
#include "store/Journal.h"
#include "store/State.h"
#include "sys/Outcome.h"

namespace zpweb {

struct Committing {
    const State& state;
    const std::map<std::string, StagedFile>& files;
    const std::vector<zp::host::Effect>& making;  // directories and files to be made before
    std::function<Outcome()> writeJournal;
    std::function<Outcome()> beforeItStands;          // once there is a checkpoint; none: nothing to do
    const std::vector<std::vector<FileStep>>& steps;  // of the journal's members
};

// Directories and files that the change makes; the journal knows them. They are on the disk then.
Outcome make(const std::vector<zp::host::Effect>& making);

// Gives the change its checkpoint, writes the journal, and puts all files in place. On a failure everything
// is as it was, and the checkpoint is gone; `again` tells that somebody has changed a file meanwhile.
Outcome commit(const Committing& change, Journal& journal, bool& again);

}  // namespace zpweb
