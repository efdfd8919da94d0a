// Names, roots and the switch for TLS that stand in conditions within blocks: whether they count. The text
// cannot tell; the server's reading shows which of them it has read, and what that does not show (of a
// stopped block, say) the server is asked.
#pragma once

#include <string>
#include <vector>

#include "server/Configuration.h"

namespace zpweb {

// Tells the configuration which of these conditions are met, where the server can be asked. `readingFile`
// is where its reading is kept.
void decideConditions(Configuration& configuration, const std::string& readingFile);
// The same of lines in a file that the server does not read: as far as it was asked about the others.
ConditionsMet metFor(const Configuration& configuration, const std::vector<ConditionalLine>& lines);

}  // namespace zpweb
