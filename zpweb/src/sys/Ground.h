// Who decides which file lies at a path.
#pragma once

#include <string>

namespace zpweb {

// The first directory or link on the way to a file, by its path or through root's own links, that others
// than root own or can write to; empty when root alone decides where the file is.
std::string othersGround(const std::string& file);
// The same, or the file itself where it is another account's: these can spoil it.
std::string othersPart(const std::string& file);

}  // namespace zpweb
