// Lines that are added to a domain's blocks.
#pragma once

#include <string>

#include "ApacheHelper.h"

namespace zp {

std::string directiveLine(const std::string& directive, const std::string& value, bool quoted);

enum class Blocks { First, All };

// Writes `added` before the closing line of the domain's first block, or of each.
int appendToBlock(const std::string& file, const std::string& backupSuffix, const std::string& domain,
                  const StringVector& added, Blocks blocks);

}  // namespace zp
