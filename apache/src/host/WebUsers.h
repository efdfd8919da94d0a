// Where the web users of a site are kept.
#pragma once

#include <string>

#include "host/Fields.h"
#include "host/Paths.h"

namespace zp::host {

// The password file of a domain or, with a directory's name, of that directory alone.
inline std::string webUsersFile(const char* installation, const char* domain, const char* directory) {
    const std::string file = textOf(installation) + path::WebUsers + textOf(domain);
    const std::string name = textOf(directory);
    return name.empty() ? file : file + "_" + name;
}

}  // namespace zp::host
