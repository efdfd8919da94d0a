// The log files that a site's blocks name.
#pragma once

#include <string>
#include <vector>

#include "server/Configuration.h"

namespace zpweb {

struct SiteLog {
    std::string path;  // absolute, with the variables of the server's environment replaced
    bool errors = false;
    std::string place;  // where it is named: FILE:LINE
};

// Of those blocks of a site that run; each file once. Programs and the system's log are no files.
std::vector<SiteLog> logsOf(const Configuration& configuration, const std::vector<Place>& places);

}  // namespace zpweb
