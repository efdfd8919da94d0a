// What a reloaded server shows to visitors of this host. A proof is tried again for a while: processes of
// the old generation may still answer.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "change/Transaction.h"
#include "server/Configuration.h"
#include "server/Request.h"
#include "sys/Outcome.h"

namespace zpweb {

// Where a visitor of this host can ask what the block answers. Without a certificate nobody is answered
// where one is asked for, with a path also for that alone, nor as long as mod_md has none for the block:
// that is told, and left out.
std::vector<Peer> peersToAsk(Transaction& change, const Place& place, const std::string& path = {});

Outcome shownInTime(const std::function<Outcome()>& proof);

// The handshake for the name shows the certificate with this fingerprint.
Outcome showsCertificate(const Peer& peer, const std::string& name, const std::string& fingerprint);
// The request is answered with a redirect to this address.
Outcome redirects(const Request& request, const std::string& to);

// What is asked of the site is refused where no visitor could ever see it.
void expectVisitors(Transaction& change, const std::string& site);
// The same, and where the server does not read the site, or its name leads to another at one of its
// listeners, or of those on the port.
void expectOwnVisitors(Transaction& change, const std::string& site, const std::string& port = "");

// A request as error messages name it: "http://shop.example/path at 127.0.0.1 port 80".
std::string described(const Request& request);

}  // namespace zpweb
