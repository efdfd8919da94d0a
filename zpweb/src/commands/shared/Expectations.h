// What commands on lines and sections of a site's blocks promise of the staged reading; see
// server/BlockPostconditions.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "change/Transaction.h"
#include "commands/table/Arguments.h"
#include "commands/table/Site.h"
#include "server/BlockPostconditions.h"

namespace zpweb {

// What such promises are about begins so.
inline constexpr const char* AboutBlocks = " blocks: ";

// The blocks that a call is about; absent where it names one by its place, which a reading cannot tell from
// the others of its name.
std::optional<BlocksOf> blocksAskedFor(const Site& site, const Arguments& given);

// A directive has this value now; is there beside others; is there no more (with a value: not with this).
void expectSet(Transaction& change, const BlocksOf& blocks, const std::string& directive,
               const std::string& value);
void expectAdded(Transaction& change, const BlocksOf& blocks, const std::string& directive,
                 const std::string& value);
void expectGone(Transaction& change, const BlocksOf& blocks, const std::string& directive,
                const std::optional<std::string>& value);

// What was promised of a directive is another command's from here on.
void releaseDirective(Transaction& change, const std::string& site, const std::string& directive);

// Something about a <Directory> section; what was promised of it holds no more.
void expectOf(Transaction& change, const std::optional<BlocksOf>& blocks, const std::string& directory,
              const std::string& about, Postcondition holds);
void releaseDirectory(Transaction& change, const std::optional<BlocksOf>& blocks,
                      const std::string& directory);

}  // namespace zpweb
