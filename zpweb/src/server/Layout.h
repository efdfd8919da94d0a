// Where a server keeps its sites: each in a file of its own, in a directory that the configuration
// includes, or all in the main file.
#pragma once

#include <string>
#include <vector>

#include "server/Configuration.h"

namespace zpweb {

// A directory as links in another one name it: as the distribution's own tools do, by the way from there,
// unless that leads elsewhere (the other one may be a link itself).
std::string asLinked(const std::string& directory, const std::string& from);

struct Layout {
    std::string directory;  // of the files; empty: sites are kept in the main file
    std::string links;      // the directory that is included where it holds links to the files; else empty

    bool keepsFiles() const { return !directory.empty(); }
    bool hasLinks() const { return !links.empty(); }
    std::string fileOf(const std::string& site) const { return directory + "/" + site + ".conf"; }
    std::string linkOf(const std::string& site) const { return links + "/" + site + ".conf"; }
    // What the link to a file says.
    std::string targetOf(const std::string& file) const;
    // The links that lead to a file.
    std::vector<std::string> linksTo(const std::string& file) const;
};

// sites-available with its links in sites-enabled, vhosts.d or conf.d, whichever an Include line takes
// whole.
Layout layoutOf(const Configuration& configuration);

}  // namespace zpweb
