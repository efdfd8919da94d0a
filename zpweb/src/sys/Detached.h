// Programs that go on after this one, without its terminal, its locks and its streams.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "sys/Outcome.h"

namespace zpweb {

// The path of this program.
Expected<std::string> ownProgram();

// Starts a program in a session of its own.
Outcome startDetached(const std::vector<std::string>& words);

// Has systemd start it after this time; false where it does not run, or cannot.
bool startBySystemd(const std::vector<std::string>& words, std::chrono::seconds after);

}  // namespace zpweb
