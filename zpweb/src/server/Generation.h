// The processes that the server has made for one reading of its configuration.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace zpweb {

struct Generation {
    struct Written {  // of the PID file, at which the server's reading of its configuration ends
        ino_t inode = 0;
        time_t seconds = 0;
        long nanoseconds = 0;
        bool operator==(const Written&) const = default;
    };
    std::vector<pid_t> children{};
    std::optional<Written> file{};  // absent when it is not there

    static Generation of(pid_t master, const std::string& pidFile);
};

// Tells from looks at a server that was asked to reload when its new generation has come. A further process
// is not enough: the old one may still have made it, or it writes logs. The server makes its PID file anew
// when it has read its configuration, and only then processes for it. Until then it may also pass over
// another request to reload.
class Succession {
public:
    using Time = std::chrono::steady_clock::time_point;

    explicit Succession(Generation old) : old_(std::move(old)) {}
    bool hasCome(const Generation& now, Time at);

private:
    bool isNew(pid_t child) const;

    Generation old_;
    std::optional<Time> further_;  // when a process was first seen that was not there at the start
};

}  // namespace zpweb
