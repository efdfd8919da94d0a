// What the text of a configuration tells of what sleeps in it.
#pragma once

#include <string>

#include "commands/shared/ReadingFindings.h"
#include "server/Configuration.h"

namespace zpweb {

std::string placeOf(const ConfigurationFile& file, size_t line);  // FILE:LINE of a line counted from 0

void findMissingRoots(const Configuration& configuration, Findings& findings);  // and blocks without an end
void findDuplicates(const Configuration& configuration, Findings& findings);    // names claimed twice
void findPasswordFiles(const Configuration& configuration, const std::string& user, Findings& findings);
void findLongLines(const Configuration& configuration, Findings& findings);

}  // namespace zpweb
