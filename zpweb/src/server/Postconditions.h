// Ready-made postconditions about names: what must hold in the server's reading of the staged
// configuration. Each failure says what does not hold, where, and what to do.
#pragma once

#include <string>
#include <vector>

#include "server/Judge.h"

namespace zpweb {

// The blocks that a postcondition is about. One that the server does not read, for an unmet condition
// around it, is none of them.
struct BlocksOf {
    std::string site{};  // empty: the server's level
    std::string port{};  // only those that listen on it
    bool first = false;  // only the first of them
};
std::vector<const VirtualHost*> hostsOf(const Reading& reading, const BlocksOf& blocks);

// The server has one of these blocks.
Postcondition isServed(const BlocksOf& blocks);
// The site has a block, and the name leads to one of its blocks wherever the site listens.
Postcondition leadsToSite(const std::string& name, const BlocksOf& blocks);
// The site's own name leads to these blocks wherever they listen; also where the server has none of them.
Postcondition leadsToSiteIfServed(const BlocksOf& blocks);
// No block of the site carries the name.
Postcondition leadsThereNoMore(const std::string& name, const BlocksOf& blocks);
// The site's name leads to none of its blocks.
Postcondition servesNothing(const BlocksOf& blocks);
// The server takes requests for one of these blocks, where it has any. `wayOut`: what lets it listen.
Postcondition takesRequests(const BlocksOf& blocks, const std::string& wayOut = "");
// Do others than this host itself get to what is for the endpoint?
bool isReached(const Reading& staged, const Endpoint& endpoint);
// Why nobody gets to the entry.
std::string silenceOf(const Reading& staged, const NameMap::Entry& entry);
// What of a postcondition does not hold.
Outcome notShown(const std::string& what);

// The section answers 503 before any other redirection, or shows the panel's message.
bool answers503(const Reading& reading, uint32_t section);
// Every block of the site answers 503 before any other redirection, or shows the panel's message.
Postcondition isSuspended(const BlocksOf& blocks);

}  // namespace zpweb
