// Reload: the running server takes a change up, or is brought back to the old configuration.
#pragma once

#include <functional>
#include <vector>

#include "output/Output.h"
#include "server/Configuration.h"
#include "server/Server.h"
#include "sys/Outcome.h"

namespace zpweb {

struct Reloading {
    const Server& server;
    const Configuration& configuration;
    Output& output;
    bool checked;                                         // the server's check has passed it
    const std::vector<std::function<Outcome()>>& proofs;  // looked at when the server has reloaded
    std::string errorLog;                                 // the server's; empty when it is not known
};

// Done, too, when no server runs with this configuration.
struct Reloaded {
    Outcome outcome{};
    bool asked = false;  // the server was told, and may be in any state where the outcome is bad
};
Reloaded reload(const Reloading& change);

// After the files were put back: the server has the old configuration again. One that has ended serves
// nobody: it is started. One that runs is never restarted. Tells what was done.
std::string bringBack(const Server& server, const std::string& main);

}  // namespace zpweb
