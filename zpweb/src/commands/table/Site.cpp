#include "commands/table/Site.h"

#include <algorithm>
#include <optional>

#include "commands/shared/MacroSites.h"
#include "input/HostName.h"
#include "input/Nearest.h"
#include "input/Quoted.h"
#include "sys/File.h"
#include "sys/Number.h"
#include "text/Statements.h"
#include "text/Words.h"

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

Outcome Site::hasName() const {
    return !first().block->name.empty()
               ? done()
               : failure(Status::Refused, name() +
                                              ": the block has no name; give it one (zpweb directive add "
                                              "ServerName NAME --block " +
                                              name() + ")");
}

Outcome Site::hasOneBlock() const {
    return places.size() == 1
               ? done()
               : failure(Status::Refused, "site " + inQuotes(name()) + " has several blocks (" +
                                              places[0].text() + ", " + places[1].text() +
                                              "); this can be done to a site of one block only");
}

namespace {

// A block by its place, FILE:LINE: for one that has no name, or shares it.
std::vector<Place> blockAt(const Configuration& configuration, const std::string& place) {
    const size_t colon = place.rfind(':');
    const auto path = realPathOf(place.substr(0, colon));
    const int line = leadingNumber(std::string_view(place).substr(colon + 1));
    const auto number = static_cast<size_t>(std::max(line, 1) - 1);
    const ConfigurationFile* file = path.ok() ? configuration.partAt(*path, number) : nullptr;
    const Block* block = file == nullptr || line < 1 ? nullptr : file->blockAt(number - file->firstLine());
    return block == nullptr ? std::vector<Place>() : std::vector<Place>{{file, block}};
}

// The blocks at an address: those without a name, or else the one that has one.
std::vector<Place> blocksAtAddress(const Configuration& configuration, const std::string& address) {
    std::vector<Place> named;
    std::vector<Place> nameless;
    for (const ConfigurationFile* file : configuration.parts()) {
        for (const Block& block : file->blocks()) {
            const std::vector<Word> words = writtenWords(block.addresses);
            if (!block.stopped && std::any_of(words.begin(), words.end(),
                                              [&](const Word& word) { return word.value() == address; })) {
                (block.name.empty() ? nameless : named).push_back({file, &block});
            }
        }
    }
    return nameless.empty() ? named : nameless;
}

Expected<Site> siteAt(const Configuration& configuration, const std::string& place) {
    Site site{place.starts_with('/') ? blockAt(configuration, place)
                                     : blocksAtAddress(configuration, place)};
    if (site.places.size() > 1) {
        return failure(Status::Usage, "address " + inQuotes(place) + ": several blocks have it (" +
                                          site.places[0].text() + ", " + site.places[1].text() +
                                          "); name one by its FILE:LINE");
    }
    return site.places.empty() ? failure(Status::NotFound, "block " + inQuotes(place) + ": there is none")
                               : Expected(std::move(site));
}

Outcome onlyServerKnows(const Place& place) {
    return failure(
        Status::Refused,
        place.text() +
            ": which name the block has depends on a condition within it, and only the server can "
            "tell; its word is missing with --no-check, while it refuses its configuration, or "
            "where the same condition is met in one place and not in another");
}

// A block that may have the name, for all that the text can tell.
std::optional<Place> perhapsNamed(const Configuration& configuration, const std::string& name) {
    const SameHost matches(name);
    for (const Place& place : configuration.undecided()) {
        const Statements statements(*place.block);
        if (std::any_of(statements.begin(), statements.end(), [&](const Statement& each) {
                return each.is("ServerName") && matches(hostOf(each.argument(0)));
            })) {
            return place;
        }
    }
    return std::nullopt;
}

}  // namespace

bool isPlace(const std::string& name) { return name.find(':') != std::string::npos; }

std::string Site::name() const {
    const Place& place = first();
    return place.block->name.empty() ? place.text() : std::string(place.block->name);
}

Site knownSite(const Configuration& configuration, const std::string& name) {
    return {name.starts_with('/') && name.find(':') != std::string::npos ? blockAt(configuration, name)
                                                                         : configuration.find(name)};
}

Expected<Site> findSite(const Configuration& configuration, const std::string& name) {
    Site site = knownSite(configuration, name);
    if (site.places.empty() && isPlace(name)) {
        return siteAt(configuration, name);
    }
    if (const auto perhaps = site.places.empty() ? perhapsNamed(configuration, name) : std::nullopt) {
        return onlyServerKnows(*perhaps);
    }
    if (site.places.empty()) {
        if (const auto made = macroSites(configuration, name); !made.empty()) {
            return failure(Status::Refused, "site " + inQuotes(name) + " is made by the macro at " +
                                                made[0].made + ", used at " + made[0].file + ":" +
                                                std::to_string(made[0].line) + ": change it there");
        }
        return failure(Status::NotFound, "site " + inQuotes(readableHostName(name)) + ": not in " +
                                             configuration.main().path() + " or what it includes" +
                                             alike(configuration, name));
    }
    return site;
}

Expected<Site> decided(Expected<Site> site) {
    for (const Place& place : site.ok() ? site->places : std::vector<Place>()) {
        if (place.block->undecided) {
            return onlyServerKnows(place);
        }
    }
    return site;
}

Expected<Site> findRunning(const Configuration& configuration, const std::string& name) {
    auto site = decided(findSite(configuration, name));
    if (site.ok() && site->isStopped()) {
        return failure("site " + inQuotes(name) + " is stopped: start it first");
    }
    return site;
}

}  // namespace zpweb
