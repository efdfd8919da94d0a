#include "CZPWebsite.h"

char CZPWebsite::ContinueWebsite(const char* /*Name*/) { return 0; }
