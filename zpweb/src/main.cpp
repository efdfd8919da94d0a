#include "change/Deferred.h"
#include "cli/Program.h"

int main(int argc, char** argv) {
    if (zpweb::takeDeferredCommand(argc, argv)) {
        return 0;
    }
    return zpweb::runCommandLine(argc, argv);
}
