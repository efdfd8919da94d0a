// Addresses of the web, as redirects and proxies take them.
#pragma once

#include <string>

#include "sys/Outcome.h"

namespace zpweb {

struct Url {
    std::string scheme;  // "http" or "https"
    std::string host;    // in lower case, without brackets
    int port = 0;        // the scheme's own when none is written
    std::string path;    // with the query; empty when there is none
};

// http or https, with a host; nothing that could end a directive's argument.
Expected<Url> urlFrom(const std::string& value);
// A path of a site: it begins with a slash and holds no "//", "." or ".." component, and no query. It loses
// a slash at its end.
Expected<std::string> typedUrlPath(const std::string& value);

}  // namespace zpweb
