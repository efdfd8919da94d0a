// Where a configuration says that the server listens.
#pragma once

#include <string>
#include <vector>

#include "server/Configuration.h"

namespace zpweb {

struct Socket {
    std::string host;  // empty: any; "0.0.0.0" and "::" stay as they are written
    int port = 0;
};

std::vector<Socket> socketsOf(const Configuration& configuration);
// Where the server may be asked: also where it listens on a condition.
std::vector<Socket> askable(const Configuration& configuration);

bool takes(const Socket& socket, const std::string& address);  // requests to it

bool isBusy(const Socket& wanted);  // another program listens there, or the address is not this host's

enum class Answer { Http, Other, Unreachable };
// `proxyLine`: as a load balancer does that tells of its visitor first.
Answer ask(const Socket& server, bool proxyLine = false);

}  // namespace zpweb
