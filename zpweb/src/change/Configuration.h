// Moved to server/Configuration.h.
#pragma once

#include "server/Configuration.h"
