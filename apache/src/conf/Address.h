// Addresses as a configuration file writes them.
#pragma once

#include <string>
#include <string_view>

namespace zp::conf {

inline bool isIPv6(std::string_view address) { return address.find(':') != std::string_view::npos; }

// An IPv6 address in square brackets; any other as it is.
inline std::string inBrackets(const std::string& address) {
    return isIPv6(address) ? "[" + address + "]" : address;
}

}  // namespace zp::conf
