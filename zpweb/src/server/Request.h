// One request to the running server, as one of its visitors makes it.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sys/Connection.h"
#include "sys/Outcome.h"

namespace zpweb {

struct Request {
    Peer server;
    std::string host;        // the name that is asked for: the Host header, and with TLS the SNI
    std::string path = "/";  // as it stands on the wire, with its query
    bool tls = false;
    std::string method = "GET";
    std::vector<std::pair<std::string, std::string>> headers{};  // besides Host and Connection
};

struct Reply {
    int status = 0;
    std::vector<std::pair<std::string, std::string>> headers{};
    std::string body;         // as it came (perhaps chunked), at most 64 KiB
    std::string fingerprint;  // of the server's certificate; empty without TLS

    // The first header of this name, in any letter case; empty when there is none.
    std::string header(std::string_view name) const;
};

// A path of files as it stands on the wire.
std::string pathOnWire(std::string_view path);

// As a load balancer, too, where the server may want that and gives a visitor no answer. A failure tells
// why there is no HTTP answer.
Expected<Reply> ask(const Request& request);
// The certificate alone: a handshake without a request. Its fingerprint.
Expected<std::string> certificateShown(const Peer& server, const std::string& name);

}  // namespace zpweb
