// Values of the command line, each of a kind. A value of the wrong kind never reaches an operation.
#pragma once

#include <string>
#include <string_view>

#include "sys/Outcome.h"

namespace zpweb {

enum class Kind {
    Flag,        // no value
    HostName,    // RFC 1123 after IDNA; becomes the ASCII form
    Alias,       // the same, or a pattern of such names
    KnownAlias,  // the same, or another word that stands among a site's names
    Site,        // the host name of a site that is there
    Address,     // IPv4 or IPv6 without brackets
    Listener,    // the same, or "*" for any
    Path,        // absolute, without "." and ".." components; loses a "/" at its end
    InputFile,   // a file that this program reads; "-" is standard input
    Account,     // an account of the host
    Port,        // 1 to 65535
    Number,      // 0 to 2147483647
    Mode,        // octal permission bits
    UserName,    // of a password file: no colon
    Word,        // no white space
    Text,        // one line
    Assignment,  // NAME=VALUE; an empty value removes
    Choice,      // one of the words of the parameter's value text, separated by "|"
    Switch,      // "+" or "-" and an option's name
    UrlPath,     // of a site: "/shop"; loses a "/" at its end
    Url,         // http or https, with a host
    Backend,     // the same, of an application: without a query, and loses slashes at its end
    Network,     // an address, a network such as 192.0.2.0/24, or "all"
    Pool,        // where FPM listens: the path of a socket, or HOST:PORT
    Duration,    // with a unit: "14d"; becomes seconds
    Size,        // with a unit: "100M"
};

// The value in the form in which it is used, or a usage failure.
Expected<std::string> typedValue(Kind kind, std::string_view name, const std::string& value,
                                 std::string_view choices);

}  // namespace zpweb
