// "open_basedir" of a directory of a site: the line "php_admin_value" in its <Directory> blocks.
#pragma once

#include <optional>
#include <string>

namespace zp {

// Rewrites the configuration: the restriction takes the place of what each block of the directory sets
// first with "php_admin_value", whatever that is, or stands at the block's end; without one that line goes.
// False when a file cannot be opened, read to its end or written.
[[nodiscard]] bool setOpenBasedir(const std::string& configuration, const std::string& scratch,
                                  const std::string& domain, const std::string& directory,
                                  const std::optional<std::string>& restriction);

}  // namespace zp
