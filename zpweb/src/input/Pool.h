// Where a pool of PHP's FPM listens.
#pragma once

#include <string>

#include "sys/Outcome.h"

namespace zpweb {

// "/run/php/php8.2-fpm.sock" or "127.0.0.1:9000"; an IPv6 address stands in brackets.
Expected<std::string> typedPool(const std::string& value);

}  // namespace zpweb
