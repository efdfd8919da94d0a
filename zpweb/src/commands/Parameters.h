// Parameters, as the tables of commands declare them.
#pragma once

#include <string>
#include <utility>

#include "cli/Command.h"

namespace zpweb {

inline Parameter needed(std::string name, Kind kind, std::string help) {
    return {std::move(name), kind, "", std::move(help), true};
}
inline Parameter maybe(std::string name, Kind kind, std::string help) {
    return {std::move(name), kind, "", std::move(help)};
}
inline Parameter flag(std::string name, std::string help) {
    return {std::move(name), Kind::Flag, "", std::move(help)};
}
inline Parameter option(std::string name, Kind kind, std::string value, std::string help) {
    return {std::move(name), kind, std::move(value), std::move(help)};
}
// One that must be given.
inline Parameter neededOption(std::string name, Kind kind, std::string value, std::string help) {
    return {std::move(name), kind, std::move(value), std::move(help), true};
}
// One that may be given several times.
inline Parameter options(std::string name, Kind kind, std::string value, std::string help) {
    return {std::move(name), kind, std::move(value), std::move(help), false, true};
}

inline Parameter siteName() { return needed("SITE", Kind::HostName, "The site's name"); }
inline Parameter passwordFile() {
    return option("--password-file", Kind::InputFile, "FILE",
                  "Take the password from this file's first line (default: from standard input)");
}

}  // namespace zpweb
