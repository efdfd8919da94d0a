// Commands of the host.
#pragma once

#include <string>
#include <vector>

#include "host/Machine.h"

namespace zp::host {

// The words of a command, joined by blanks. A word of letters, digits and _ @ % + = : , . / - stands as it
// is; any other is put in single quotes, so that no value can become a second command.
std::string commandLine(const std::vector<std::string>& words);

// Runs the command and waits for it. Its exit status is not examined.
inline void run(const std::vector<std::string>& words) { machine().run(words); }

// Runs the command through a pipe, its standard output unseen, and waits for it.
[[nodiscard]] inline Ran runThroughPipe(const std::string& command) { return machine().runUnseen(command); }

// The first line of what the command prints, at most `limit` characters of it, line end included; empty
// when nothing was printed or the command could not be started.
inline std::string firstLine(const std::string& command, size_t limit) {
    return machine().firstLine(command, limit);
}

}  // namespace zp::host
