// Ready-made postconditions: what must hold in the server's reading of the staged configuration. Each
// failure says what does not hold, where, and what to do.
#pragma once

#include <string>
#include <vector>

#include "server/Judge.h"

namespace zpweb {

// The site has a block, and the name leads to one of its blocks wherever the site listens.
Postcondition leadsToSite(const std::string& name, const std::string& site);
// All names of the site lead to it wherever it listens.
Postcondition keepsItsNames(const std::string& site);
// No block of the site carries the name.
Postcondition leadsThereNoMore(const std::string& name, const std::string& site);
// The site's name leads to none of its blocks.
Postcondition servesNothing(const std::string& site);
// Every block of the site answers 503 before any other redirection, or shows the panel's message.
Postcondition isSuspended(const std::string& site);
// The last directive of this name that stands directly in the block is `arguments`, word by word, in each
// block of the site.
Postcondition inEffect(const std::string& site, const std::string& directive, const std::string& arguments);
// Each block of the site has such a directive, at any depth.
Postcondition everyBlockCarries(const std::string& site, const std::string& directive);
// No block of the site has a directive of this name and these arguments directly in it.
Postcondition carriesNoMore(const std::string& site, const std::string& directive,
                            const std::string& arguments);

}  // namespace zpweb
