// Parameters of commands, as constants of the files that declare them:
//
//     constexpr auto Host = needed("HOST", Kind::HostName, "A further name of the site");
//
// Each knows what type of value it stands for: `given[Host]` is a std::string; see Arguments.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "input/Typed.h"

namespace zpweb {

// A positional ("SITE") or an option ("--address") of a command.
struct Parameter {
    std::string_view name;
    Kind kind;
    std::string_view value;  // the placeholder of an option's value, or the choices
    std::string_view help;
    bool required = false, many = false;

    constexpr bool isOption() const { return name.starts_with("--"); }
};

template <class Value>
struct Of {
    Parameter parameter;
    constexpr operator const Parameter&() const {  // NOLINT(google-explicit-constructor)
        return parameter;
    }
};

constexpr Of<std::string> needed(std::string_view name, Kind kind, std::string_view help) {
    return {{name, kind, "", help, true}};
}
constexpr Of<std::optional<std::string>> maybe(std::string_view name, Kind kind, std::string_view help) {
    return {{name, kind, "", help}};
}
constexpr Of<std::optional<int>> maybeNumber(std::string_view name, std::string_view help) {
    return {{name, Kind::Number, "", help}};
}
constexpr Of<bool> flag(std::string_view name, std::string_view help) {
    return {{name, Kind::Flag, "", help}};
}
constexpr Of<std::optional<std::string>> option(std::string_view name, Kind kind, std::string_view value,
                                                std::string_view help) {
    return {{name, kind, value, help}};
}
constexpr Of<std::optional<int>> numberOption(std::string_view name, std::string_view value,
                                              std::string_view help) {
    return {{name, Kind::Number, value, help}};
}
// One that must be given.
constexpr Of<std::string> neededOption(std::string_view name, Kind kind, std::string_view value,
                                       std::string_view help) {
    return {{name, kind, value, help, true}};
}
// One that may be given several times.
constexpr Of<std::vector<std::string>> options(std::string_view name, Kind kind, std::string_view value,
                                               std::string_view help) {
    return {{name, kind, value, help, false, true}};
}

// A positional that may be given several times, or not at all.
constexpr Of<std::vector<std::string>> maybeMany(std::string_view name, Kind kind, std::string_view help) {
    return {{name, kind, "", help, false, true}};
}

inline constexpr auto SiteName =
    needed("SITE", Kind::Site, "The site's name; FILE:LINE or --block ADDRESS for a block without one");
inline constexpr auto InSite = option("--site", Kind::Site, "SITE", "In this website's block");
inline constexpr auto PasswordFile =
    option("--password-file", Kind::InputFile, "FILE",
           "Take the password from this file's first line (default: from standard input)");

}  // namespace zpweb
