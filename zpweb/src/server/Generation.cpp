#include "server/Generation.h"

#include <sys/stat.h>

#include <algorithm>

#include "sys/Look.h"
#include "sys/ProcessTable.h"

namespace zpweb {

namespace {

// For a server that keeps its PID file as it is.
constexpr std::chrono::seconds LongestDoubt{10};

}  // namespace

// The file comes last: where it is the old one, so are all the processes.
Generation Generation::of(pid_t master, const std::string& pidFile) {
    Generation found{childrenOf(master)};
    struct stat status {};
    if (lookAt(pidFile, status)) {
        found.file = {status.st_ino, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
    }
    return found;
}

bool Succession::isNew(pid_t child) const {
    return std::find(old_.children.begin(), old_.children.end(), child) == old_.children.end();
}

bool Succession::hasCome(const Generation& now, Time at) {
    const bool grown =
        std::any_of(now.children.begin(), now.children.end(), [this](pid_t child) { return isNew(child); });
    if (now.file && now.file != old_.file) {
        return grown;
    }
    if (grown) {
        further_ = further_.value_or(at);
        old_.children.insert(old_.children.end(), now.children.begin(), now.children.end());
    }
    return further_ && at - *further_ > LongestDoubt;
}

}  // namespace zpweb
