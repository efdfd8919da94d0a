// The options of a folder, by their names.
#pragma once

#include <array>
#include <string_view>

#include "CZPVirtualDirectory.h"

namespace zpweb {

inline constexpr std::array FolderOptions = {"Indexes", "Includes", "FollowSymLinks", "MultiViews",
                                             "ExecCGI"};

inline char& switchFor(SOptions& options, std::string_view name) {
    return name == "Indexes"          ? options.Indexes
           : name == "Includes"       ? options.Includes
           : name == "FollowSymLinks" ? options.FollowSymLinks
           : name == "MultiViews"     ? options.MultiViews
                                      : options.ExecCGI;
}

}  // namespace zpweb
