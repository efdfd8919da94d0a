#include "CZPWebsite.h"
#include "host/Accounts.h"

std::string GetPathOwner(std::string path) { return zp::host::ownerOf(path); }
