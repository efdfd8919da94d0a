// Where the web users of a site are kept.
#pragma once

#include <string>

#include "host/Fields.h"
#include "host/Paths.h"

namespace zp::host {

// The password file of a domain or, with a folder's name, of that folder alone.
inline std::string webUsersFile(const char* installation, const char* domain, const char* folder) {
    const std::string file = textOf(installation) + path::WebUsers + textOf(domain);
    const std::string name = textOf(folder);
    return name.empty() ? file : file + "_" + name;
}

}  // namespace zp::host
