// Commands of the host, run through the shell.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace zp::host {

// The words of a command, joined by blanks. A word of letters, digits and _ @ % + = : , . / - stands as it
// is; any other is put in single quotes, so that no value can become a second command.
std::string commandLine(std::initializer_list<std::string_view> words);

// Runs the command and waits for it. Its exit status is not examined.
void run(std::initializer_list<std::string_view> words);

// Runs the command through a pipe, its standard output unseen, and waits for it. False when it could not be
// started; its exit status is not examined.
[[nodiscard]] bool runThroughPipe(const std::string& command);

// The first line of what the command prints, at most `limit` characters of it, line end included; empty
// when nothing was printed or the command could not be started.
std::string firstLine(const std::string& command, size_t limit);

}  // namespace zp::host
