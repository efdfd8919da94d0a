// Ready-made postconditions about what stands in a site's blocks, or at the server's level.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "server/Postconditions.h"

namespace zpweb {

// The sections of these blocks; Directive::None for the server's level. None in a reading that is not
// complete.
std::vector<uint32_t> sectionsOf(const Reading& reading, const BlocksOf& blocks);

// The last directive of this name that stands directly in the block is `arguments`, word by word, in each
// block that has one; at least one has. Where a variable stands in them, that there is one has to do.
Postcondition inEffect(const BlocksOf& blocks, const std::string& directive, const std::string& arguments);
// Each block has such a directive directly in it.
Postcondition carries(const BlocksOf& blocks, const std::string& directive, const std::string& arguments);
// No block has a directive of this name, and with these arguments, directly in it.
Postcondition carriesNoMore(const BlocksOf& blocks, const std::string& directive,
                            const std::optional<std::string>& arguments);
// Can a reading show the directive? Some do their work while the configuration is read, and are not kept.
bool isShown(const std::string& directive);
// Of several sections for a directory, does the last one count that has such a directive?
bool isReplaced(std::string_view directive);

// Which blocks have a <Directory> section for a directory: all of them, those that had one before the
// change, or those whose document root it is.
enum class Holders : char { All, Some, AtRoot };
// These lines are in the directory's section.
Postcondition directoryHas(const BlocksOf& blocks, const std::string& directory,
                           const std::vector<std::string>& lines, Holders holders);
// In no such section is a line like this.
Postcondition directoryLacks(const BlocksOf& blocks, const std::string& directory, const std::string& line);
// No block has such a section.
Postcondition hasNoDirectory(const BlocksOf& blocks, const std::string& directory);

}  // namespace zpweb
