// Whether the server looks into a directory's .htaccess file.
#pragma once

#include <string>

#include "server/Configuration.h"
#include "sys/Outcome.h"

namespace zpweb {

// An error, with the way out, for a directory that is served and whose .htaccess says nothing about
// passwords: the <Directory> section of the longest path with an AllowOverride line decides, and without
// one it is None.
Outcome heedsAccessFiles(const Configuration& configuration, const std::string& directory);

// Where the directory's .htaccess says who may see it; empty when it does not.
std::string accessLineIn(const std::string& directory);

}  // namespace zpweb
