// What a site's blocks say that settings depend on.
#pragma once

#include <string>
#include <vector>

#include "server/Configuration.h"
#include "server/Reading.h"
#include "sys/Connection.h"

namespace zpweb {

// As in its opening tag: "*:80", "[2001:db8::1]:80".
std::vector<std::string> addressesOf(const Block& block);
// Of "*:80" or "10.0.0.5:80"; the host is "*" for any address, the port 0 where there is none.
struct HostPort {
    std::string host;  // without brackets
    int port = 0;
};
HostPort hostPortOf(const std::string& address);
std::string addressText(const HostPort& address);

// The arguments of the block's lines of this directive, nested ones too.
std::vector<std::string> argumentsIn(const Block& block, std::string_view directive);
// ServerName and aliases of all running blocks, each once, in lower case.
std::vector<std::string> namesOf(const std::vector<Place>& places);
// Whether one of them is the name, or a pattern that takes it in.
bool carry(const std::vector<std::string>& names, const std::string& name);

bool hasPort(const Block& block, int port);  // one of its addresses
// Has it a line that switches TLS on, or an address with this port?
bool speaksTls(const Block& block, int port = 443);
// What a visitor has to speak there: by the server's reading, where there is one.
bool speaksTls(const Place& place, const Peer& peer, const Reading* reading, int port = 443);

// Does it speak TLS without a certificate that the configuration names? Where the server runs, mod_md gives
// it one then. By the server's reading alone.
bool namesNoCertificate(const Place& place, const Reading* reading);

// Does it let in only visitors with a certificate, by a line of its own or, where a path is named, of a
// section that holds for it? By the server's reading alone.
bool asksForCertificates(const Place& place, const Reading* reading, const std::string& path = {});

// The site's blocks that answer by their own lines: they run, and the site is not suspended.
std::vector<Place> answeringBlocks(const Configuration& configuration, const std::string& site);

// The directory from which the block is served, also where a variable, a macro or the server itself names
// it. Empty when that takes a reading, and there is none.
std::string rootInEffect(const Place& place, const Reading* reading);

// Where a visitor of this host can ask for the block: its addresses, where the server listens. What a name
// in them stands for is told by the reading.
std::vector<Peer> peersOf(const Configuration& configuration, const Place& place, const Reading* reading);

}  // namespace zpweb
