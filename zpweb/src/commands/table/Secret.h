// Passwords.
#pragma once

#include "commands/table/Arguments.h"
#include "output/Output.h"

namespace zpweb {

// Takes the call's own, the first line of --password-file, or of standard input.
Outcome takeSecret(Arguments& arguments, Output& output);

}  // namespace zpweb
