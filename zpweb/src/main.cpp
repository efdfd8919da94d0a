#include <csignal>

#include "cli/Program.h"
#include "sys/Process.h"

int main(int argc, char** argv) {
    // A reader that has gone ends no change in the middle.
    std::signal(SIGPIPE, SIG_IGN);
    const zp::host::MachineInUse machine(zpweb::withoutShell());
    return zpweb::runCommandLine(argc, argv);
}
