#include "CZPWebsite.h"

char CZPWebsite::PauseWebsite(const char* /*Name*/) { return 0; }
