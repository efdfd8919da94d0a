// Commands that operations run through the shell on what stands outside of the stage ("chown -R ...") and
// that must wait until the change is certain.
#pragma once

#include <string>
#include <vector>

#include "sys/Outcome.h"

namespace zpweb {

// While it lives, "chown" and "chmod" of shell commands are written down instead of being run.
class DeferredCommands {
public:
    explicit DeferredCommands(const std::string& folder);  // one of its own
    ~DeferredCommands();
    DeferredCommands(const DeferredCommands&) = delete;
    DeferredCommands& operator=(const DeferredCommands&) = delete;

    std::vector<std::vector<std::string>> taken() const;

private:
    std::string record_, path_;
};

// Does what such a command says, by itself: a name in its path may lead elsewhere by now. What stands
// behind a link that others than root can place stays as it is, and is told.
Outcome carryOut(const std::vector<std::string>& command);

// Called first in main(): true when this process was started in the place of such a command; it has been
// written down.
bool takeDeferredCommand(int argc, char** argv);

}  // namespace zpweb
