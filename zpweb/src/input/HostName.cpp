#include "input/HostName.h"

#include <idn2.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "conf/Text.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

constexpr size_t LongestLabel = 63;
constexpr size_t LongestName = 253;
constexpr const char* Expectation =
    "expected a host name: labels of letters, digits and inner hyphens, joined by single dots";

Outcome wrong(const std::string& entered, const std::string& what) {
    return wrongValue("host name", entered, what, Expectation);
}

bool isLetterOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

// What keeps an ASCII name from being one; empty for a good name.
std::string faultOf(std::string_view name) {
    if (name.size() > LongestName) {
        return "it has " + std::to_string(name.size()) + " characters, more than 253";
    }
    for (size_t at = 0; at <= name.size();) {
        const std::string_view label = name.substr(at, name.find('.', at) - at);
        if (label.empty()) {
            return "it has an empty label";
        }
        if (label.size() > LongestLabel) {
            return "it has a label of " + std::to_string(label.size()) + " characters, more than 63";
        }
        if (label.front() == '-' || label.back() == '-') {
            return "a label begins or ends with a hyphen";
        }
        if (!std::all_of(label.begin(), label.end(),
                         [](char c) { return isLetterOrDigit(c) || c == '-'; })) {
            return "it has a character that no host name has";
        }
        at += label.size() + 1;
    }
    const std::string_view last = name.substr(name.rfind('.') + 1);
    return std::all_of(last.begin(), last.end(), [](char c) { return c >= '0' && c <= '9'; })
               ? "its last label is a number"
               : "";
}

bool isPlain(std::string_view name) {
    return std::all_of(name.begin(), name.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 128; });
}

using Converted = std::unique_ptr<char, void (*)(void*)>;

}  // namespace

Expected<std::string> asciiHostName(const std::string& entered) {
    const bool plain = isPlain(entered);
    std::string name = entered;
    if (!plain) {
        char* result = nullptr;
        const int code =
            ::idn2_lookup_u8(reinterpret_cast<const uint8_t*>(entered.c_str()),
                             reinterpret_cast<uint8_t**>(&result), IDN2_NFC_INPUT | IDN2_NONTRANSITIONAL);
        const Converted holder(result, ::idn2_free);
        if (code != IDN2_OK || entered.find('\0') != std::string::npos) {
            return wrong(entered, std::string("IDNA does not take it (") + ::idn2_strerror(code) + ")");
        }
        name = result;
    }
    if (const std::string fault = faultOf(name); !fault.empty()) {
        return wrong(entered, fault);
    }
    // An A-label that was typed in must be one.
    if (plain && zp::conf::contains(name, "xn--") && readableHostName(name).empty()) {
        return wrong(entered, "its \"xn--\" label is not one of IDNA");
    }
    std::transform(name.begin(), name.end(), name.begin(), zp::conf::lower);
    return name;
}

Expected<std::string> asciiAlias(const std::string& entered) {
    if (entered.find_first_of("*?") == std::string::npos) {
        return asciiHostName(entered);
    }
    const std::string subdomains = entered.starts_with("*.") ? "*." : "";
    std::string name = entered.substr(subdomains.size());
    if (isPlain(name)) {  // a pattern of another script would not be one in ASCII
        std::replace_if(
            name.begin(), name.end(), [](char c) { return c == '*' || c == '?'; }, 'x');
    }
    const auto ascii = asciiHostName(name);
    if (!ascii.ok()) {
        return wrong(entered, "it is no pattern of host names");
    }
    std::string pattern = entered;
    std::transform(pattern.begin(), pattern.end(), pattern.begin(), zp::conf::lower);
    return isPlain(entered) ? pattern : subdomains + *ascii;
}

std::string readableHostName(const std::string& ascii) {
    if (!zp::conf::contains(ascii, "xn--")) {
        return ascii;
    }
    char* result = nullptr;
    const int code = ::idn2_to_unicode_8z8z(ascii.c_str(), &result, 0);
    const Converted holder(result, ::idn2_free);
    return code == IDN2_OK ? std::string(result) : std::string();
}

std::string hostNameKey(std::string_view name) {
    std::string key(name);
    std::transform(key.begin(), key.end(), key.begin(), zp::conf::lower);
    const auto ascii = isPlain(key) ? Expected<std::string>(key) : asciiHostName(key);
    return ascii.ok() ? *ascii : key;
}

SameHost::SameHost(std::string_view name) : name_(name), plain_(isPlain(name)) {
    const auto ascii = asciiHostName(name_);
    ascii_ = ascii.ok() ? *ascii : "";
}

bool SameHost::operator()(std::string_view other) const {
    if (zp::conf::equalIgnoringCase(name_, other)) {
        return true;
    }
    if (ascii_.empty() || (plain_ && isPlain(other))) {
        return false;
    }
    const auto ascii = asciiHostName(std::string(other));
    return ascii.ok() && *ascii == ascii_;
}

}  // namespace zpweb
