// A certificate that nobody vouches for: for names that no site has, so that the handshake can be answered.
#pragma once

#include <string>

#include "sys/Outcome.h"

namespace zpweb {

struct PemPair {
    std::string certificate, key;
};
// For ten years.
Expected<PemPair> selfSigned(const std::string& name);

}  // namespace zpweb
