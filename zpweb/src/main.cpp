#include <csignal>

#include "change/Deferred.h"
#include "cli/Program.h"

int main(int argc, char** argv) {
    if (zpweb::takeDeferredCommand(argc, argv)) {
        return 0;
    }
    // A reader that has gone ends no change in the middle.
    std::signal(SIGPIPE, SIG_IGN);
    return zpweb::runCommandLine(argc, argv);
}
