// Where the server's modules lie.
#pragma once

#include <string>

namespace zp {

inline std::string moduleFile(const std::string& directory, const std::string& moduleName) {
    return directory + "/mod_" + moduleName + ".so";
}

}  // namespace zp
