#include "input/Typed.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>

#include "conf/Text.h"
#include "host/Accounts.h"
#include "input/Duration.h"
#include "input/HostName.h"
#include "input/Network.h"
#include "input/Pool.h"
#include "input/Quoted.h"
#include "input/Url.h"

namespace zpweb {

namespace {

// The longest value that every field of the library's records holds.
constexpr size_t LongestPath = 240;
constexpr size_t LongestText = 900;
constexpr size_t LongestUserName = 255;

using Typed = Expected<std::string>;

// What may stand in one line of a configuration: nothing that ends the line, opens or closes a section, or
// joins the next line to it.
std::string lineFault(const std::string& value) {
    if (value.size() > LongestText) {
        return "it has " + std::to_string(value.size()) + " characters, more than " +
               std::to_string(LongestText);
    }
    const auto control = std::find_if(value.begin(), value.end(), [](char c) {
        return (static_cast<unsigned char>(c) < ' ' && c != '\t') || c == '\x7f';
    });
    if (control != value.end()) {
        return "it has a control character";
    }
    return value.ends_with('\\') ? "it ends with a backslash" : "";
}

Typed line(std::string_view kind, const std::string& value, const std::string& forbidden,
           std::string_view expectation) {
    if (const std::string fault = lineFault(value); !fault.empty()) {
        return wrongValue(kind, value, fault, expectation);
    }
    const size_t at = value.find_first_of(forbidden);
    if (at != std::string::npos) {
        return wrongValue(kind, value, std::string("it has a ") + inQuotes(value.substr(at, 1)),
                          expectation);
    }
    return value;
}

Typed address(const std::string& value) {
    std::array<unsigned char, sizeof(in6_addr)> parsed{};
    if (value.find('\0') == std::string::npos &&
        (::inet_pton(AF_INET, value.c_str(), parsed.data()) == 1 ||
         ::inet_pton(AF_INET6, value.c_str(), parsed.data()) == 1)) {
        return value;
    }
    return wrongValue("address", value, "it is no IP address",
                      "expected IPv4 such as 192.0.2.7 or IPv6 such as 2001:db8::7, without brackets");
}

Typed path(const std::string& value) {
    constexpr const char* Wanted = "expected an absolute path such as /home/web/example";
    if (value.empty() || value.front() != '/') {
        return wrongValue("path", value, "it does not begin with a slash", Wanted);
    }
    if (value.size() > LongestPath) {
        return wrongValue("path", value, "it has more than 240 characters", Wanted);
    }
    for (size_t at = 1; at < value.size();) {
        const std::string_view part = std::string_view(value).substr(at, value.find('/', at) - at);
        if (part == "." || part == "..") {
            return wrongValue("path", value, "it has a relative component", Wanted);
        }
        at += part.size() + 1;
    }
    Typed checked = line("path", value, "<>\"'`$", Wanted);
    if (checked.ok() && checked->size() > 1 && checked->ends_with('/')) {
        checked->pop_back();
    }
    return checked;
}

Typed account(const std::string& value) {
    constexpr const char* Wanted = "expected the name of an account of this host";
    if (value.empty() || value.front() == '-' || value.find_first_of(":/\n") != std::string::npos) {
        return wrongValue("account", value, "it is no account name", Wanted);
    }
    if (value.find('\0') != std::string::npos || !zp::host::findAccount(value)) {
        return wrongValue("account", value, "there is no such account", Wanted);
    }
    return value;
}

Typed number(std::string_view kind, const std::string& value, long least, long most) {
    long parsed = -1;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), parsed);
    if (error != std::errc() || end != value.data() + value.size() || parsed < least || parsed > most) {
        return wrongValue(
            kind, value, "it is out of range or no number",
            "expected a number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return std::to_string(parsed);
}

Typed mode(const std::string& value) {
    unsigned parsed = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), parsed, 8);
    if (error != std::errc() || end != value.data() + value.size() || parsed == 0 || parsed > 07777) {
        return wrongValue("mode", value, "it is out of range or not octal",
                          "expected octal permission bits such as 0755");
    }
    return value;
}

Typed userName(const std::string& value) {
    constexpr const char* Wanted = "expected a user name without blanks and colons";
    if (value.empty() || value.front() == '-' || value.size() > LongestUserName) {
        return wrongValue("user name", value, "it is empty, too long or begins with a hyphen", Wanted);
    }
    return line("user name", value, ": \t\"'\\<>", Wanted);
}

Typed word(const std::string& value) {
    constexpr const char* Wanted = "expected one word";
    if (value.empty() || value.front() == '-') {
        return wrongValue("word", value, "it is empty or begins with a hyphen", Wanted);
    }
    return line("word", value, " \t<>\"", Wanted);
}

Typed assignment(const std::string& value) {
    constexpr const char* Wanted = "expected NAME=VALUE; an empty value removes NAME";
    const size_t sign = value.find('=');
    if (sign == 0 || sign == std::string::npos) {
        return wrongValue("assignment", value, "it has no name before an equals sign", Wanted);
    }
    if (value.substr(0, sign).find_first_of(" \t") != std::string::npos) {
        return wrongValue("assignment", value, "its name has a blank", Wanted);
    }
    return line("assignment", value, "<>\"", Wanted);
}

bool isAmong(std::string_view choices, std::string_view value) {
    while (!choices.empty()) {
        const std::string_view choice = choices.substr(0, choices.find('|'));
        if (choice == value) {
            return true;
        }
        choices = zp::conf::stepOver(choices, choice.size() + 1);
    }
    return false;
}

Typed choice(std::string_view name, const std::string& value, std::string_view choices) {
    if (isAmong(choices, value)) {
        return value;
    }
    return wrongValue(name, value, "it is none of the choices", "expected " + std::string(choices));
}

Typed optionSwitch(const std::string& value) {
    constexpr std::string_view Options = "Indexes|Includes|FollowSymLinks|MultiViews|ExecCGI";
    if (!value.empty() && (value.front() == '+' || value.front() == '-') &&
        isAmong(Options, std::string_view(value).substr(1))) {
        return value;
    }
    return wrongValue("option", value, "it switches no option",
                      "expected + or - and one of " + std::string(Options));
}

// May it stand as a name in a configuration, though no new one is like this?
bool isWritableName(const std::string& value) {
    constexpr std::string_view More = "._*-:[]";
    return !value.empty() && std::all_of(value.begin(), value.end(), [&](char c) {
        return zp::conf::isLetter(c) || (c >= '0' && c <= '9') || zp::conf::contains(More, {&c, 1});
    });
}

// A variable that is not defined, or what a program that has not run yet was to replace.
bool isPlaceholder(const std::string& value) {
    return value.find_first_of("${}@%#<>[]") != std::string::npos && value.front() != '.' &&
           std::all_of(value.begin(), value.end(), [](char c) {
               return c > ' ' && c < 0x7f && std::string_view("/\\\"'`:").find(c) == std::string_view::npos;
           });
}

// A site that is there may have a name that no new one gets, or none: then it is named by its place.
Typed siteName(const std::string& value) {
    const bool plain = isWritableName(value) || isPlaceholder(value);
    if (value.starts_with('/') && value.find(':') != std::string::npos) {
        return line("site", value, "<>\"'`$", "expected a name, or FILE:LINE");
    }
    Typed ascii = asciiHostName(value);
    return ascii.ok() || !plain ? ascii : value;
}

Typed listedAlias(const std::string& value) {
    Typed ascii = asciiAlias(value);
    return ascii.ok() || !isWritableName(value) ? ascii : value;
}

Typed url(const std::string& value) {
    const auto parsed = urlFrom(value);
    return parsed.ok() ? Typed(value) : parsed.outcome();
}

Typed backend(const std::string& value) {
    const auto parsed = urlFrom(value);
    if (!parsed.ok()) {
        return parsed.outcome();
    }
    if (parsed->path.find_first_of("?#") != std::string::npos) {
        return wrongValue("URL", value, "it has a query", "expected where an application listens");
    }
    return value.substr(0, value.find_last_not_of('/') + 1);
}

Typed duration(const std::string& value) {
    const auto seconds = secondsOf(value);
    return seconds.ok() ? Typed(std::to_string(*seconds)) : seconds.outcome();
}

}  // namespace

Expected<std::string> typedValue(Kind kind, std::string_view name, const std::string& value,
                                 std::string_view choices) {
    switch (kind) {
        case Kind::Flag:
            return value;
        case Kind::HostName:
            return asciiHostName(value);
        case Kind::Alias:
            return asciiAlias(value);
        case Kind::KnownAlias:
            return listedAlias(value);
        case Kind::Site:
            return siteName(value);
        case Kind::Address:
            return address(value);
        case Kind::Listener:
            return value == "*" ? value : address(value);
        case Kind::Path:
            return path(value);
        case Kind::Account:
            return account(value);
        case Kind::Port:
            return number("port", value, 1, 65535);
        case Kind::Number:
            return number("number", value, 0, 2147483647);
        case Kind::Mode:
            return mode(value);
        case Kind::UserName:
            return userName(value);
        case Kind::Word:
            return word(value);
        case Kind::InputFile:
        case Kind::Text:
            return line("text", value, kind == Kind::Text ? "<>" : "", "expected one line of text");
        case Kind::Assignment:
            return assignment(value);
        case Kind::Choice:
            return choice(name, value, choices);
        case Kind::Switch:
            return optionSwitch(value);
        case Kind::UrlPath:
            return typedUrlPath(value);
        case Kind::Url:
            return url(value);
        case Kind::Backend:
            return backend(value);
        case Kind::Network:
            return typedNetwork(value);
        case Kind::Pool:
            return typedPool(value);
        case Kind::Duration:
            return duration(value);
        case Kind::Size:
            return typedSize(value);
    }
    return failure("unknown kind of value");
}

}  // namespace zpweb
