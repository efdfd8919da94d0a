#include "input/Pool.h"

#include "input/Quoted.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

Outcome wrongPool(const std::string& value, std::string_view fault) {
    return wrongValue("FPM", value, fault,
                      "expected a socket such as /run/php/php8.2-fpm.sock, or 127.0.0.1:9000");
}

}  // namespace

Expected<std::string> typedPool(const std::string& value) {
    if (value.find_first_of(" \t\"'\\|<>$%") != std::string::npos || value.size() > 240) {
        return wrongPool(value, "it has a character that no such place has, or too many");
    }
    if (value.starts_with('/')) {
        return value;
    }
    const size_t colon = value.rfind(':');
    const int port = colon == std::string::npos ? 0 : leadingNumber(value.substr(colon + 1));
    if (colon == std::string::npos || colon == 0 || std::to_string(port) != value.substr(colon + 1) ||
        port < 1 || port > 65535) {
        return wrongPool(value, "it is neither a path nor an address with a port");
    }
    return value;
}

}  // namespace zpweb
