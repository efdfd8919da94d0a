#include "commands/shared/AskedServer.h"

#include <algorithm>

#include "server/LiveReading.h"
#include "store/State.h"

namespace zpweb {

std::shared_ptr<const Reading> askedServer(Session& session, const Configuration& configuration) {
    if (!session.settings.check) {
        return nullptr;
    }
    session.output.step("asking the server");
    auto reading = liveReading(configuration, State(configuration.main().path()).reading());
    if (reading != nullptr && reading->complete()) {
        return reading;
    }
    session.output.note(reading == nullptr
                            ? "the server refuses the configuration or cannot be asked (see zpweb doctor): "
                              "read from the text"
                            : "the server has no mod_info: read from the text");
    return nullptr;
}

std::vector<const VirtualHost*> servedBlocks(const Reading& reading, const Site& site) {
    const std::string name(site.first().block->name);
    std::vector<const VirtualHost*> blocks;
    for (const VirtualHost& host : reading.hosts()) {
        const Origin origin = reading.originOf(host);
        const bool own = std::any_of(site.places.begin(), site.places.end(), [&](const Place& place) {
            return place.file->path() == origin.file && place.block->lines.first + 1 == origin.line;
        });
        if (own || (!name.empty() && host.names.name == hostNameIn(name))) {
            blocks.push_back(&host);
        }
    }
    return blocks;
}

}  // namespace zpweb
