// Which handler answers for files of a name.
#pragma once

#include <string>

#include "server/Reading.h"

namespace zpweb {

// The line, with its place, of the site's blocks that names a handler for such files in this document root:
// in <Files> or <FilesMatch>, which come behind all that is said of directories. None of the settings of
// this program's own; empty when there is none.
std::string ownHandler(const Reading& reading, const std::string& site, const std::string& root,
                       const std::string& file);

}  // namespace zpweb
