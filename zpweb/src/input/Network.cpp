#include "input/Network.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "input/Quoted.h"

namespace zpweb {

namespace {

struct Bits {
    std::array<unsigned char, 16> bytes{};
    int size = 0;  // 32 or 128
};

std::optional<Bits> bitsOf(const std::string& address) {
    Bits bits;
    if (::inet_pton(AF_INET, address.c_str(), bits.bytes.data()) == 1) {
        bits.size = 32;
    } else if (::inet_pton(AF_INET6, address.c_str(), bits.bytes.data()) == 1) {
        bits.size = 128;
    } else {
        return std::nullopt;
    }
    return bits;
}

// The network's address and the length of its prefix.
struct Network {
    Bits bits;
    int prefix;
};

std::optional<Network> networkOf(const std::string& text) {
    const size_t slash = text.find('/');
    const auto bits = bitsOf(text.substr(0, slash));
    if (!bits) {
        return std::nullopt;
    }
    int prefix = bits->size;
    if (slash != std::string::npos) {
        const char* end = text.data() + text.size();
        const auto [at, error] = std::from_chars(text.data() + slash + 1, end, prefix);
        if (error != std::errc() || at != end || prefix < 0 || prefix > bits->size) {
            return std::nullopt;
        }
    }
    return Network{*bits, prefix};
}

// An address of IPv4 as one of IPv6: the server takes none.
bool isMapped(const Bits& bits) {
    in6_addr address{};
    std::copy(bits.bytes.begin(), bits.bytes.end(), address.s6_addr);
    return bits.size == 128 && IN6_IS_ADDR_V4MAPPED(&address);
}

bool bitAt(const Bits& bits, int number) {
    return (bits.bytes[static_cast<size_t>(number) / 8] >> (7 - number % 8) & 1) != 0;
}

}  // namespace

Expected<std::string> typedNetwork(const std::string& value) {
    const auto network = value.find('\0') == std::string::npos ? networkOf(value) : std::nullopt;
    if (value == "all" || (network && network->prefix > 0 && !isMapped(network->bits))) {
        return value;
    }
    return wrongValue("network", value, "it is no address or network",
                      "expected an address, a network such as 192.0.2.0/24 or 2001:db8::/32, or all");
}

bool holdsAddress(const std::string& network, const std::string& address) {
    const auto whole = networkOf(network);
    const auto one = bitsOf(address);
    if (!whole || !one || whole->bits.size != one->size) {
        return false;
    }
    for (int i = 0; i < whole->prefix; ++i) {
        if (bitAt(whole->bits, i) != bitAt(*one, i)) {
            return false;
        }
    }
    return true;
}

}  // namespace zpweb
