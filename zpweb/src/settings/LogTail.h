// The ends of log files, in directories where a site's owner may place what he likes: no link is followed
// that others than root can place.
#pragma once

#include <string>
#include <vector>

#include "settings/SiteLogs.h"
#include "sys/Outcome.h"

namespace zpweb {

Expected<std::vector<std::string>> lastLines(const std::string& log, size_t count);
// Prints them, and what is written from then on, on standard output, until this program is interrupted or
// nobody reads it. A log that is rotated is followed into the new file.
Outcome followLogs(const std::vector<SiteLog>& logs, size_t count);

}  // namespace zpweb
