// A change of a long file that stays within one of its blocks.
#pragma once

#include "server/Configuration.h"

namespace zpweb {

// Does the text differ from that of the file within one block only, which stays one block and has the same
// Include lines? Then the change leads to no other files, and nothing of the text need be read for that.
bool staysWithinBlock(const ConfigurationFile& file, const Content& content, const Surroundings& around);

}  // namespace zpweb
