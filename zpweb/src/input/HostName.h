// Host names, by RFC 1123 after IDNA.
#pragma once

#include <string>
#include <string_view>

#include "sys/Outcome.h"

namespace zpweb {

// The ASCII form in lower case. A usage failure names the value, what is wrong, and what is expected.
Expected<std::string> asciiHostName(const std::string& entered);
// The same for a further name, which may be a pattern: "*.shop.example", "shop?.example".
Expected<std::string> asciiAlias(const std::string& entered);
// The form that people read; the same for a plain name.
std::string readableHostName(const std::string& ascii);

// The same text for the same name, in any letter case and either form.
std::string hostNameKey(std::string_view name);

// Is it the same name, in any letter case and either form?
class SameHost {
public:
    explicit SameHost(std::string_view name);
    bool operator()(std::string_view other) const;

private:
    std::string name_, ascii_;  // the second is empty for what is no host name
    bool plain_;
};
inline bool sameHost(std::string_view a, std::string_view b) { return SameHost(a)(b); }

}  // namespace zpweb
