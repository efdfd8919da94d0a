// Directories that are opened where a site's owner can write: no step is led elsewhere by a link of the
// owner's.
#pragma once

#include <string>

#include "sys/Descriptor.h"
#include "sys/Outcome.h"

namespace zpweb {

// An existing directory. On the way to it, and in its place, only a link is followed that nobody except the
// administrator can have placed: one of root's, or of this process's account, in a directory that belongs
// to these and that no group and no other account can write.
Expected<Descriptor> openGuarded(const std::string& path);

// Is the directory reached like that? One that does not exist is.
Outcome reachedWithoutForeignLink(const std::string& path);

// Refused: a directory of root's, closed to others and not empty, that these can have moved to where it is.
// Who opens it, or gives it away, opens what it holds.
Outcome isNotMovedThere(const std::string& path);

// The path itself or, where a link stands that only the administrator can have placed, what it leads to.
Expected<std::string> behindGuardedLinks(std::string path);

// A path to an entry of an open directory, good as long as the directory is open and whatever happens to
// the names above it.
std::string pathIn(const Descriptor& directory, const std::string& name);
// How a step at such a path ended, told by the name that the administrator knows.
Outcome toldBy(const std::string& path, const std::string& place, Outcome outcome);

// Removes a file from its directory, which is held meanwhile. One that is not there is no error.
Outcome removeFile(const std::string& path);

}  // namespace zpweb
