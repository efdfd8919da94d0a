#include "input/Url.h"

#include <algorithm>

#include "conf/Text.h"
#include "input/Quoted.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

constexpr size_t Longest = 900;

// Printable ASCII without what would end a quoted argument or stand for a variable of the configuration.
bool isPlain(const std::string& value) {
    return value.size() <= Longest && std::all_of(value.begin(), value.end(), [](char c) {
               return c > ' ' && c < '\x7f' &&
                      std::string_view("\"'\\<>`{}|^").find(c) == std::string_view::npos;
           });
}

Outcome wrongUrl(const std::string& value, std::string_view fault) {
    return wrongValue("URL", value, fault, "expected one such as https://shop.example/path");
}

bool isHost(const std::string& host) {
    return !host.empty() && std::all_of(host.begin(), host.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '-' || c == ':' ||
               c == '_';
    });
}

// Splits HOST[:PORT]; false when it is neither.
bool takeAuthority(Url& url, std::string authority) {
    const size_t bracket = authority.find(']');
    const size_t colon =
        authority.find(':', authority.starts_with('[') && bracket != authority.npos ? bracket : 0);
    url.port = url.scheme == "https" ? 443 : 80;
    if (colon != std::string::npos) {
        url.port = leadingNumber(authority.substr(colon + 1));
        if (std::to_string(url.port) != authority.substr(colon + 1) || url.port < 1 || url.port > 65535) {
            return false;
        }
        authority.erase(colon);
    }
    if (authority.starts_with('[') && authority.ends_with(']')) {
        authority = authority.substr(1, authority.size() - 2);
    }
    std::transform(authority.begin(), authority.end(), authority.begin(), zp::conf::lower);
    url.host = authority;
    return isHost(url.host);
}

}  // namespace

Expected<Url> urlFrom(const std::string& value) {
    const size_t begin = value.find("://");
    if (!isPlain(value) || begin == std::string::npos) {
        return wrongUrl(value, "it is none, or it has a character that none has");
    }
    Url url;
    url.scheme = value.substr(0, begin);
    if (url.scheme != "http" && url.scheme != "https") {
        return wrongUrl(value, "its scheme is neither http nor https");
    }
    const size_t path = value.find_first_of("/?#", begin + 3);
    url.path = path == std::string::npos ? "" : value.substr(path);
    if (!takeAuthority(url, value.substr(begin + 3, path == std::string::npos ? path : path - begin - 3))) {
        return wrongUrl(value, "it names no host, or a wrong port");
    }
    return url;
}

Expected<std::string> typedUrlPath(const std::string& value) {
    constexpr const char* Expectation = "expected a path of the site such as /shop";
    if (!value.starts_with('/') || !isPlain(value) || value.find_first_of("?#%*[]$") != std::string::npos) {
        return wrongValue("path", value, "it does not begin with a slash, or has a character that none has",
                          Expectation);
    }
    const std::string closed = value + "/";
    for (const char* part : {"//", "/./", "/../"}) {
        if (value != "/" && (value.ends_with('/') ? value : closed).find(part) != std::string::npos) {
            return wrongValue("path", value, "it has an empty or relative component", Expectation);
        }
    }
    return value.size() > 1 && value.ends_with('/') ? value.substr(0, value.size() - 1) : value;
}

}  // namespace zpweb
