// A site: its name, and all blocks of that name in all files.
#pragma once

#include <string>
#include <vector>

#include "server/Configuration.h"
#include "sys/Outcome.h"

namespace zpweb {

// The places refer into the files of the configuration: a file that is edited or replaced takes its own
// along.
struct Site {
    std::vector<Place> places{};  // in the order in which the server reads them; never empty

    // The first block that runs; the first of all where none does.
    const Place& first() const;
    bool isStopped() const { return first().block->stopped; }
    std::string name() const;                // its server's; the place of a block that has none
    std::vector<std::string> files() const;  // that hold its blocks, each once
    // An error for a block without one.
    Outcome hasName() const;
    // An error for a site of several blocks: for what can only be done to one.
    Outcome hasOneBlock() const;
};

// Is it no name, but the place of a block: FILE:LINE, or the address of one without a name (*:80)?
bool isPlace(const std::string& name);
// One without places when there is none.
Site knownSite(const Configuration& configuration, const std::string& name);
// The same as NotFound, with what may have been meant.
Expected<Site> findSite(const Configuration& configuration, const std::string& name);
// An error where only the server can tell whether a block of it has the name.
Expected<Site> decided(Expected<Site> site);
// One with a block that runs; an error when the site is stopped.
Expected<Site> findRunning(const Configuration& configuration, const std::string& name);

}  // namespace zpweb
