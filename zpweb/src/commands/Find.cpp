#include "commands/Find.h"

#include <algorithm>

#include "input/HostName.h"
#include "input/Quoted.h"

namespace zpweb {

Expected<Places> findSite(const Configuration& configuration, const std::string& name) {
    Places places = configuration.find(name);
    if (places.empty()) {
        return failure(Status::NotFound, "site " + inQuotes(readableHostName(name)) + ": not in " +
                                             configuration.main().path() + " or what it includes");
    }
    return places;
}

Expected<Place> findRunning(const Configuration& configuration, const std::string& name) {
    const auto places = findSite(configuration, name);
    if (!places.ok()) {
        return places.outcome();
    }
    const auto running = std::find_if(places->begin(), places->end(),
                                      [](const Place& place) { return !place.block->stopped; });
    return running != places->end() ? Expected(*running)
                                    : failure("site " + inQuotes(name) + " is stopped: start it first");
}

std::vector<std::string> filesOf(const Places& places) {
    std::vector<std::string> files;
    for (const Place& place : places) {
        if (std::find(files.begin(), files.end(), place.file->path()) == files.end()) {
            files.push_back(place.file->path());
        }
    }
    return files;
}

}  // namespace zpweb
