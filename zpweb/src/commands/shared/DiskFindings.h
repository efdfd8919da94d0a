// What lies on the disk about a configuration and sleeps there: files that are included by mistake, links
// without a target, leftovers of runs that were ended.
#pragma once

#include <string>

#include "commands/shared/ReadingFindings.h"
#include "server/Configuration.h"

namespace zpweb {

void findTemporaryIncludes(const Configuration& configuration, Findings& findings);
void findDanglingLinks(const Configuration& configuration, Findings& findings);
void findLeftovers(const std::string& main, Findings& findings);
void noteDisabled(const Configuration& configuration, Findings& notes);

}  // namespace zpweb
