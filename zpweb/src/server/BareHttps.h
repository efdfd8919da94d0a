// Blocks that switch https on and have no certificate for it: the server ends when it is to use them.
#pragma once

#include <set>
#include <string>
#include <unordered_set>

#include "server/Reading.h"

namespace zpweb {

// Why the change makes such a block of one of these sites; empty when it makes none.
std::string bareHttps(const Reading& live, const Reading& staged, const std::set<std::string>& sites);

// Which blocks with https have a certificate, as far as the reading tells: the server's own level may give
// one to all of them, and mod_md gives one to those of its domains.
class Certified {
public:
    explicit Certified(const Reading& reading);

    bool has(const VirtualHost& host) const;

private:
    bool lookedAfter(const VirtualHost& host) const;

    const Reading& reading_;
    bool all_;
    std::unordered_set<std::string> domains_;
};

}  // namespace zpweb
