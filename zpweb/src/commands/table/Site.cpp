#include "commands/table/Site.h"

#include <algorithm>

#include "input/HostName.h"
#include "input/Nearest.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

// Asks whether a name that is like this one was meant.
std::string alike(const Configuration& configuration, const std::string& name) {
    Nearest nearest(name);
    for (const auto& file : configuration.files()) {
        for (const Block& block : file->blocks()) {
            nearest.consider(block.name);
        }
    }
    return nearest.question();
}

}  // namespace

const Place& Site::first() const {
    const auto running = std::find_if(places.begin(), places.end(),
                                      [](const Place& place) { return !place.block->stopped; });
    return running == places.end() ? places.front() : *running;
}

std::vector<std::string> Site::files() const {
    std::vector<std::string> files;
    for (const Place& place : places) {
        if (std::find(files.begin(), files.end(), place.file->path()) == files.end()) {
            files.push_back(place.file->path());
        }
    }
    return files;
}

Expected<Site> findSite(const Configuration& configuration, const std::string& name) {
    Site site{configuration.find(name)};
    if (site.places.empty()) {
        return failure(Status::NotFound, "site " + inQuotes(readableHostName(name)) + ": not in " +
                                             configuration.main().path() + " or what it includes" +
                                             alike(configuration, name));
    }
    return site;
}

Expected<Site> findRunning(const Configuration& configuration, const std::string& name) {
    auto site = findSite(configuration, name);
    if (site.ok() && site->isStopped()) {
        return failure("site " + inQuotes(name) + " is stopped: start it first");
    }
    return site;
}

}  // namespace zpweb
