// Passwords.
#pragma once

#include <string>

#include "cli/Command.h"

namespace zpweb {

// The call's own, the first line of --password-file, or of standard input.
Expected<std::string> readSecret(const Arguments& arguments, Output& output);

}  // namespace zpweb
