// A file in a directory that others than root may write: one that the administrator names, or a site's own
// ".htaccess" or password file. It is opened once, from a directory that is held open, and what it is is
// asked of that descriptor.
#pragma once

#include <string>

#include "sys/Descriptor.h"
#include "sys/Outcome.h"

namespace zpweb {

inline constexpr size_t LargestOwnersFile = size_t{1024} * 1024;

// Its text; NotFound when there is none. Refused: a link, what is no plain file, one with more than one
// name, one over 1 MiB and, where others than root can write, one that belongs neither to root nor to the
// directory's owner.
Expected<std::string> readOwnersFile(const std::string& path);
// The text of a file that the administrator names, at most 256 MiB; NotFound when there is none. Its
// directory's owner leads it nowhere: a link that others than root can place is refused, and where others
// can write, so is a file with more than one name.
// For all to read it must not be one that its directory's owner could not read.
enum class ReadBy { Root, All };
Expected<std::string> readNamedFile(const std::string& path, ReadBy readers = ReadBy::Root);
// Gives the open `candidate` the owner, mode (without set-ID bits), ACL and attributes of the file, if that
// has this hash: else it is another one by now, and who may read that may not be given the text of this
// one.
Outcome takeOverFromOwnersFile(const std::string& path, const std::string& hash,
                               const Descriptor& candidate);

}  // namespace zpweb
