// The https blocks of a site: those that are there, and those that are made beside its http blocks.
#pragma once

#include <string>
#include <vector>

#include "change/Transaction.h"

namespace zpweb {

// Makes an https block beside each running http block of the site that has none at its address: the same
// lines with the other port. `made` gets the addresses of new ones.
Outcome makeHttpsBlocks(Transaction& change, const std::string& site, int port,
                        std::vector<std::string>& made);
// Removes the blocks at these addresses. Refused when one has lines that its http block has not, unless
// they may go too.
Outcome dropHttpsBlocks(Transaction& change, const std::string& site, const std::vector<std::string>& made,
                        bool overwrite);

}  // namespace zpweb
