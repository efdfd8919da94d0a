// Addresses as a configuration file writes them.
#pragma once

#include <string>
#include <string_view>

#include "conf/Line.h"

namespace zp::conf {

inline bool isIPv6(std::string_view address) { return address.find(':') != std::string_view::npos; }

// An IPv6 address in square brackets; any other as it is.
inline std::string inBrackets(const std::string& address) {
    return isIPv6(address) ? "[" + address + "]" : address;
}

// Which "]" ends an address in brackets, where a line holds several.
enum class Bracket { First, Last };

// The address at the beginning of a text: without its brackets, or up to the first of `ends`. Where nothing
// ends it, it is the whole rest and `ended` is false.
struct LeadingAddress {
    std::string_view text;
    bool ended;
};

inline LeadingAddress leadingAddress(std::string_view text, Bracket closing,
                                     std::string_view ends = ": >") {
    const bool bracketed = text.starts_with('[');
    if (bracketed) {
        text.remove_prefix(1);
    }
    const size_t end = !bracketed                  ? text.find_first_of(ends)
                       : closing == Bracket::First ? text.find(']')
                                                   : text.rfind(']');
    return {text.substr(0, end), end != std::string_view::npos};
}

// The address on the line that opens a <VirtualHost> block.
inline std::string_view blockAddress(const Line& opening, Bracket closing) {
    return leadingAddress(opening.restBehind(keyword::VirtualHost), closing).text;
}

}  // namespace zp::conf
