// Moved to server/Logs.h.
#pragma once

#include "server/Logs.h"
