// The configuration of suPHP, as the panel's template has it.
#pragma once

#include <optional>
#include <string>

namespace zp::conf {

// With its placeholders filled in; that of an empty user stays. Absent when the template cannot be read, or
// a value would begin a line of its own.
std::optional<std::string> suPhpConfiguration(const std::string& user, const std::string& webspace,
                                              const std::string& php);

}  // namespace zp::conf
