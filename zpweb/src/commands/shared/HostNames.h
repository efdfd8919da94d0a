// The further names of a site, in its ServerAlias lines.
#pragma once

#include <string>
#include <vector>

#include "commands/table/Parameter.h"
#include "text/Sites.h"

namespace zpweb {

inline constexpr auto Host =
    needed("HOST", Kind::Alias, "A further name of the site, or a pattern of names");
inline constexpr auto ListedHost = needed("HOST", Kind::KnownAlias, "A further name, as the site lists it");

struct ListedName {
    std::string written;  // "www.${SHOP}"
    std::string name;     // the same with what is defined put in
};
std::vector<ListedName> hostNamesOf(const Block& block);
// Is the name among them, in any letter case and either form?
bool listsHost(const Block& block, const std::string& host);
// The one with a wildcard that takes the name in; empty when there is none.
std::string wildcardFor(const Block& block, const std::string& host);

}  // namespace zpweb
