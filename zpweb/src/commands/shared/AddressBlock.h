// The block of an address without a site's name, which a new site can take over.
#pragma once

#include <string>

#include "change/Transaction.h"

namespace zpweb {

// The file of the address's own block.
std::string fileOfAddress(const Configuration& configuration, const std::string& address);

// The operation takes the first block whose address begins like the one that is meant.
Outcome canTakeBlock(const ConfigurationFile& file, const std::string& address);

// The block that is taken has the address as its name: the operation takes no other.
void askForBlock(Transaction& change, const std::string& address);

// Without the line before the new block that announces the address, which no server since 2.4 reads.
std::string withoutAnnouncement(std::string before, const std::string& address);

}  // namespace zpweb
