// The running server: its check of a configuration, its reload.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "server/Configuration.h"
#include "server/Generation.h"
#include "sys/Outcome.h"

namespace zpweb {

class Server {
public:
    // `main` is the path of the main configuration file, without links.
    Server(std::string main, std::function<void()> waiting)
        : main_(std::move(main)), waiting_(std::move(waiting)) {}

    // What the server's own check of a configuration file says; nothing is changed by it.
    struct Verdict {
        bool ran = false, passed = false;
        std::string output;
    };
    Verdict check(const std::string& file) const;

    // The master process that runs with this configuration; absent when there is none.
    std::optional<pid_t> master(const Configuration& configuration) const;
    std::string pidFile(const Configuration& configuration) const;

    // What would make the server end while it reloads, though its check passes; empty when nothing would.
    std::string obstacle(const Configuration& configuration, pid_t master) const;
    // Asks the master to reload and waits until its new generation answers.
    Outcome reload(const Configuration& configuration, pid_t master) const;
    // Waits until no process of the server has the file open; false when one has it still at that moment.
    bool letsGoOf(const std::string& path, pid_t master, std::chrono::steady_clock::time_point until) const;
    // Starts a server that is not running.
    Outcome start(const Configuration& configuration) const;

private:
    std::string runningPidFile(const std::string& name) const;
    Outcome awaitGeneration(pid_t master, const std::string& pidFile, Generation old) const;
    void awaitDeparture(const std::vector<pid_t>& processes) const;
    Outcome probe(const Configuration& configuration, pid_t master) const;

    std::string main_;
    std::function<void()> waiting_;
};

}  // namespace zpweb
