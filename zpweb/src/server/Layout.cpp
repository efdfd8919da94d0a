#include "server/Layout.h"

#include <algorithm>
#include <array>

#include "sys/File.h"

namespace zpweb {

namespace {

constexpr std::string_view Linked = "sites-enabled";
constexpr std::string_view LinkedFrom = "sites-available";
// In the order in which they are preferred.
constexpr std::array<std::string_view, 5> Directories = {Linked, "vhosts.d", "sites.d", "vhosts", "conf.d"};

// The directory whose files an Include line takes when their names end in ".conf"; empty for another line.
std::string directoryIn(std::string_view pattern, const Configuration& configuration) {
    std::string path(pattern);
    if (path.empty()) {
        return {};
    }
    path = path.front() == '/' ? path : configuration.serverRoot() + "/" + path;
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    if (path.ends_with("/*.conf") || path.ends_with("/*")) {
        path = folderOf(path);
    }
    return isFolder(path) ? path : "";
}

// Its place in the order of preference; their number for one that holds no sites.
size_t rankOf(const std::string& directory) {
    const auto* found = std::find(Directories.begin(), Directories.end(), nameOf(directory));
    return static_cast<size_t>(found - Directories.begin());
}

}  // namespace

std::string Layout::targetOf(const std::string& file) const {
    return folderOf(directory) == folderOf(links) ? "../" + nameOf(directory) + "/" + nameOf(file) : file;
}

std::vector<std::string> Layout::linksTo(const std::string& file) const {
    std::vector<std::string> found;
    for (const std::string& name : hasLinks() ? entriesOf(links) : std::vector<std::string>()) {
        const auto real = realPathOf(links + "/" + name);
        if (real.ok() && *real == file && links + "/" + name != file) {
            found.push_back(links + "/" + name);
        }
    }
    return found;
}

Layout layoutOf(const Configuration& configuration) {
    std::string best;
    for (const auto& file : configuration.files()) {
        for (const IncludeLine& include : file->server().includes) {
            const std::string directory = directoryIn(include.pattern, configuration);
            if (!directory.empty() &&
                rankOf(directory) < (best.empty() ? Directories.size() : rankOf(best))) {
                best = directory;
            }
        }
    }
    const std::string available = folderOf(best) + "/" + std::string(LinkedFrom);
    return nameOf(best) == Linked && isFolder(available) ? Layout{available, best} : Layout{best, ""};
}

}  // namespace zpweb
