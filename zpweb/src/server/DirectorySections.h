// Which sections of a reading speak about a directory of the disk, and in what order they count:
// <Directory> from the shortest path to the longest, each with the directory's .htaccess, then
// <DirectoryMatch>, <Files>, <Location> and <If> (httpd.apache.org/docs/2.4/sections.html, "How the
// sections are merged").
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "server/Reading.h"

namespace zpweb {

// The <Directory> sections for just this directory that stand directly in a section, or at the server's
// level (Directive::None).
std::vector<uint32_t> directorySections(const Reading& reading, uint32_t section,
                                        const std::string& directory);

// The sections for requests to a block in which something about all of the directory may stand that counts
// beside what its own section says: those for it or a directory above it, in the order in which they count
// ...
std::vector<uint32_t> sectionsAbove(const Reading& reading, uint32_t block, const std::string& directory);
// ... and those that come behind and count for more, the server's first.
std::vector<uint32_t> sectionsBehind(const Reading& reading, uint32_t block, const std::string& directory);

// What the directory's .htaccess may override for requests to a block: the value of the AllowOverride that
// counts ("None" without one).
std::string overridesFor(const Reading& reading, uint32_t block, const std::string& directory);

}  // namespace zpweb
