// Passwords as the server's password files hold them.
#pragma once

#include <string>

#include "sys/Outcome.h"

namespace zpweb {

// By bcrypt, with a salt of its own each time. It takes 72 characters: a longer password is refused.
Expected<std::string> passwordHash(const std::string& password);

}  // namespace zpweb
