// The line of a web user, "name:password", from the first column on.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "conf/Line.h"

namespace zp::conf {

inline std::string webUserLine(const std::string& name, const std::string& password) {
    return name + ":" + password;
}

// The name on the line; absent when it holds no ":" and so is no user's.
inline std::optional<std::string_view> webUserOn(const Line& line) {
    const size_t colon = line.raw().find(':');
    return colon == std::string_view::npos ? std::nullopt : std::optional(line.raw().substr(0, colon));
}

inline bool isLineOfUser(const Line& line, const std::string& name) {
    return line.raw().starts_with(name + ":");
}

}  // namespace zp::conf
