// Parameters that commands of settings share, and values that are read from their text.
#pragma once

#include <string>

#include "commands/table/Arguments.h"
#include "input/Duration.h"

namespace zpweb {

inline constexpr auto Overwrite =
    flag("--overwrite", "Take away what somebody has edited in the setting's file");

constexpr Of<std::string> neededChoice(std::string_view name, std::string_view choices,
                                       std::string_view help) {
    return {{name, Kind::Choice, choices, help, true}};
}
constexpr Of<std::optional<std::string>> durationOption(std::string_view name, std::string_view value,
                                                        std::string_view help) {
    return {{name, Kind::Duration, value, help}};
}

}  // namespace zpweb
