// What is wrong with a configuration that is sound, by the server's own reading of it.
#pragma once

#include <string>
#include <vector>

#include "server/LogLinks.h"
#include "server/Reading.h"

namespace zpweb {

struct Finding {
    std::string kind, place, text;
};
using Findings = std::vector<Finding>;

// Blocks and names that no request reaches, for want of a Listen, because another block has the name and
// stands first, or because a block that names the address goes before "*".
void findUnreachable(const Reading& reading, Findings& findings);
// Certificates that are missing, have run out, or do not match their key or the names.
void findCertificates(const Reading& reading, Findings& findings);
// Logs that somebody else than root can lead elsewhere: the server opens them as root.
void findRedirectableLogs(const std::vector<OpenedLog>& logs, Findings& findings);
// Document roots that are there and that the server's user cannot enter.
void findClosedRoots(const Reading& reading, const std::string& user, Findings& findings);

// What is no fault and good to know: blocks that come from a macro.
void noteMacros(const Reading& reading, Findings& notes);

}  // namespace zpweb
