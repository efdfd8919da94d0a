// Logs that a site's owner leads elsewhere: at its next reload the server, as root, writes where a link of
// the owner's leads.
#pragma once

#include <string>
#include <vector>

#include "server/Configuration.h"
#include "server/Reading.h"
#include "sys/Outcome.h"

namespace zpweb {

// A log file that the server opens as root.
struct OpenedLog {
    std::string site;  // by its ServerName; empty: none of a site
    std::string path;
    std::string place;  // FILE:LINE
};

// Each once; programs and the system's log are no files. Where there is no complete reading, as the text
// names them, but for those that are named by a variable.
std::vector<OpenedLog> openedLogs(const Reading* reading, const Configuration& configuration);

// Refused when one leads elsewhere, or keeps the server waiting.
Outcome areTheServers(const std::vector<OpenedLog>& logs);

}  // namespace zpweb
