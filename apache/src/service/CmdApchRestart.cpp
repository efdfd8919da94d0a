#include <csignal>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/LineReader.h"

namespace result = zp::result;

int CZPWebsite::CmdApchRestart(const char* pidFile) {
    if (pidFile == nullptr) {
        return result::server::RestartNotAsked;
    }
    zp::conf::LineReader reader(pidFile, zp::conf::bound::ProcessId);
    zp::conf::Line line;
    const pid_t server = reader.read(line) ? zp::conf::leadingNumber(line.text()) : 0;
    // SIGUSR1 is Apache's graceful restart (https://httpd.apache.org/docs/2.4/stopping.html).
    return server > 0 && ::kill(server, SIGUSR1) == 0 ? result::server::RestartAsked
                                                      : result::server::RestartNotAsked;
}
