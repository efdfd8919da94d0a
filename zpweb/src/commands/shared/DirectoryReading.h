// The <Directory> sections of a block as documents tell them.
#pragma once

#include "desired/SettingModel.h"
#include "text/Sites.h"

namespace zpweb {

// One for each directory that is named by its path: what its Options line switches, and who may see it.
SettingEntries directoriesOf(const Block& block);

}  // namespace zpweb
