// Moved to server/Server.h.
#pragma once

#include "server/Server.h"
