#include "server/Layout.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <unordered_map>

#include "sys/File.h"
#include "sys/Look.h"

namespace zpweb {

namespace {

constexpr std::string_view Linked = "sites-enabled";
constexpr std::string_view LinkedFrom = "sites-available";
// In the order in which they are preferred.
constexpr std::array<std::string_view, 5> Directories = {Linked, "vhosts.d", "sites.d", "vhosts", "conf.d"};

// What may be the directory whose files an Include line takes when their names end in ".conf".
std::string directoryIn(std::string_view pattern, const Configuration& configuration) {
    std::string path(pattern);
    path = path.starts_with('/') ? path : configuration.serverRoot() + "/" + path;
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    if (path.ends_with("/*.conf") || path.ends_with("/*")) {
        path = directoryOf(path);
    }
    return path;
}

// Its place in the order of preference; their number for one that holds no sites.
size_t rankOf(const std::string& directory) {
    const auto* found = std::find(Directories.begin(), Directories.end(), nameOf(directory));
    return static_cast<size_t>(found - Directories.begin());
}

// The links of a directory, by what they lead to, as they were when the directory had this time.
using ByTarget = std::unordered_map<std::string, std::vector<std::string>>;
struct Links {
    std::string directory;
    timespec changed{};
    ByTarget byTarget;
};

ByTarget linksIn(const std::string& directory) {
    ByTarget found;
    for (const std::string& name : entriesOf(directory)) {
        const std::string path = directory + "/" + name;
        if (const auto real = realPathOf(path); real.ok() && *real != path) {
            found[*real].push_back(path);
        }
    }
    return found;
}

}  // namespace

std::string asLinked(const std::string& directory, const std::string& from) {
    const std::string beside = "../" + nameOf(directory);
    const auto reached = realPathOf(from + "/" + beside);
    const auto wanted = realPathOf(directory);
    return reached.ok() && wanted.ok() && *reached == *wanted ? beside : directory;
}

std::string Layout::targetOf(const std::string& file) const {
    return asLinked(directory, links) + "/" + nameOf(file);
}

std::vector<std::string> Layout::linksTo(const std::string& file) const {
    static Links known;  // of many sites, the first one looks
    struct stat status {};
    if (!hasLinks() || !lookAt(links, status)) {
        return {};
    }
    if (known.directory != links || known.changed.tv_sec != status.st_mtim.tv_sec ||
        known.changed.tv_nsec != status.st_mtim.tv_nsec) {
        known = {links, status.st_mtim, linksIn(links)};
    }
    const auto found = known.byTarget.find(file);
    return found == known.byTarget.end() ? std::vector<std::string>() : found->second;
}

Layout layoutOf(const Configuration& configuration) {
    std::string best;
    for (const ConfigurationFile* file : configuration.serverParts()) {
        for (const IncludeLine& include : file->server().includes) {
            const std::string directory = directoryIn(include.pattern, configuration);
            if (rankOf(directory) < (best.empty() ? Directories.size() : rankOf(best)) &&
                file->blockAt(include.line) == nullptr && isDirectory(directory)) {
                best = directory;
            }
        }
    }
    const std::string available = directoryOf(best) + "/" + std::string(LinkedFrom);
    return nameOf(best) == Linked && isDirectory(available) ? Layout{available, best} : Layout{best, ""};
}

}  // namespace zpweb
