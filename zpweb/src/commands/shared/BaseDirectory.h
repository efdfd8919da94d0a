// The open_basedir line of a directory of a site.
#pragma once

#include <functional>
#include <string>

#include "CZPWebsite.h"
#include "change/Transaction.h"
#include "commands/table/Arguments.h"
#include "commands/table/Site.h"

namespace zpweb {

inline constexpr auto BaseDirectory = needed("DIRECTORY", Kind::Path, "The directory");

struct BaseDirectoryChange {
    bool on;
    const char* operation;
    std::function<int(CZPWebsite&, const std::string& site, const std::string& directory)> call;
};
Outcome changeBaseDirectory(Transaction& change, const Site& site, const Arguments& given,
                            const BaseDirectoryChange& wanted);

}  // namespace zpweb
