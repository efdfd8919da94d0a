#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include "cli/Program.h"
#include "sys/Process.h"

namespace {

// Where a stream is closed, the next file that is opened would take its number, and what is told would be
// written into that file. What stands there instead can be used for nothing.
void closeGaps() {
    int opened = STDIN_FILENO;
    while (opened >= 0 && opened <= STDERR_FILENO) {
        opened = ::open("/", O_PATH);
    }
    ::close(opened);
}

}  // namespace

int main(int argc, char** argv) {
    closeGaps();
    // A reader that has gone, or a limit of how large a file may be, ends no change in the middle.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    const zp::host::MachineInUse machine(zpweb::withoutShell());
    return zpweb::runCommandLine(argc, argv);
}
