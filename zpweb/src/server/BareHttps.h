// Blocks that switch https on and have no certificate for it: the server ends when it is to use them.
#pragma once

#include <set>
#include <string>

#include "server/Reading.h"

namespace zpweb {

// Why the change makes such a block of one of these sites; empty when it makes none.
std::string bareHttps(const Reading& live, const Reading& staged, const std::set<std::string>& sites);

// Has a block with https a certificate, as far as the reading tells? mod_md gives one to those of its
// domains.
bool hasCertificate(const Reading& reading, const VirtualHost& host);

}  // namespace zpweb
