// What the server makes of the live configuration, for commands that read.
#pragma once

#include <memory>

#include "commands/table/Command.h"
#include "server/Reading.h"

namespace zpweb {

// Null with --no-check and, with a note that the text is read instead, where the server refuses the
// configuration, cannot be asked or does not tell of directives.
std::shared_ptr<const Reading> askedServer(Session& session, const Configuration& configuration);

// The blocks of a site as the server has them; for one that is named by its place the one that stands
// there.
std::vector<const VirtualHost*> servedBlocks(const Reading& reading, const Site& site);

}  // namespace zpweb
