// The Alias lines of one site.
#pragma once

#include <string_view>

#include "conf/DomainScope.h"

namespace zp::conf {

// `Alias /name "target"`: the name ends at the first blank, and without one there is no target.
struct Alias {
    std::string_view name, target;
    bool hasTarget;
};

inline Alias aliasOn(const Line& line) {
    const auto [name, rest] = splitAtBlank(line.argumentOf(keyword::Alias));
    const std::string_view target = skipSpace(rest);
    return {name, leadingValue(target).text, !target.empty()};
}

// Takes the lines of a file in order: is this one an Alias line of the site? The end of a block is not
// looked for; what follows up to the next <VirtualHost counts as the site's.
inline bool isAliasIn(FirstNameScope& site, const Line& line) {
    return !site.enters(line) && site.inDomain() && line.begins(keyword::Alias);
}

}  // namespace zp::conf
