// What the sections of a reading say about a directory of the disk: who may see it, and what its .htaccess
// file may say.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "server/BlockPostconditions.h"

namespace zpweb {

// Who may see the directory, by the terms in a section, one each: "require ip 10.1.2.3"; those in nested
// sections stand between their tags.
std::vector<std::string> termsOf(const Reading& reading, uint32_t section);

// Every block whose document root the directory is in heeds what its .htaccess says about passwords, and
// no other section lets in who has none.
Postcondition heedsAccessFile(const std::string& directory);
// None of the blocks does; `place` is where the file says something.
Postcondition ignoresAccessFile(const BlocksOf& blocks, const std::string& directory,
                                const std::string& place);

// In each block the directory's section requires just what one of these lists of lines says, and no other
// section lets in whom it keeps out.
Postcondition isRestricted(const BlocksOf& blocks, const std::string& directory,
                           const std::vector<std::vector<std::string>>& lists);
// What another section, or a ProxyPass, of the block lets in whom the directory's section keeps out.
Outcome nothingGoesAround(const Reading& reading, uint32_t block, const std::string& directory);
// Each block's own lines of this directive hold for its document root: none of a section for that, or for a
// directory above it, counts for more. With `first`, as for ErrorDocument, those that begin with this word.
Postcondition holdsAtRoot(const BlocksOf& blocks, const std::string& directive,
                          const std::string& first = "");
// Why a line of the block does not: another one that counts for its document root.
Outcome countsAtRoot(const Reading& reading, const Directive& line, const std::string& root);

}  // namespace zpweb
