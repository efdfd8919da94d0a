// Moved to server/Sockets.h.
#pragma once

#include "server/Sockets.h"
